#include <client/SimulatedChip.h>

namespace LpmClient {

using Nimbal::IpGenPrefix;

namespace {

std::size_t familyIndex(Nimbal::AddressFamily af) noexcept {
    return af == Nimbal::AddressFamily::ipv6 ? 1 : 0;
}

IpGenPrefix truncated(IpGenPrefix const& address, U32 len) {
    return IpGenPrefix(address.af(), address.address(), len).hostBitsCleared();
}

}  // namespace

SimulatedChip::SimulatedChip(ChipSize const& size) : size_(size) {}

SimulatedChip::Cell* SimulatedChip::find(Bucket bucket) noexcept {
    return const_cast<Cell*>(std::as_const(*this).find(bucket));
}

SimulatedChip::Cell const* SimulatedChip::find(Bucket bucket) const noexcept {
    return bucket < cells_.size() && cells_[bucket].allocated ? &cells_[bucket] : nullptr;
}

/** May find no memory, before anything has changed: then the write is refused for now. */
WriteStatus SimulatedChip::apply(Write const& write) {
    if (write.kind == WriteKind::allocate) {
        return allocate(write);
    }
    if (write.kind == WriteKind::unbind) {
        return unbind(write);
    }
    Cell* const cell = find(write.bucket);
    if (cell == nullptr) {
        return WriteStatus::unknownBucket;
    }
    if (write.kind == WriteKind::free) {
        return release(*cell);
    }
    bool const names = write.kind != WriteKind::writeCover || !write.empty;
    IpGenPrefix const& prefix = write.route.prefix;
    if (names && (prefix.af() != cell->af || prefix.len() > maxPrefixLen(prefix.af()))) {
        return WriteStatus::wrongFamily;
    }
    switch (write.kind) {
    case WriteKind::writeRoute:
        return writeRoute(*cell, write.route);
    case WriteKind::eraseRoute:
        if (!cell->routes.erase(write.route.prefix)) {
            return WriteStatus::unknownRoute;
        }
        --cell->lengths[write.route.prefix.len()];
        return WriteStatus::done;
    case WriteKind::writeCover:
        cell->cover = write.empty ? std::optional<Route>() : write.route;
        return WriteStatus::done;
    default:
        return bind(*cell, write);
    }
}

WriteStatus SimulatedChip::allocate(Write const& write) {
    if (find(write.bucket) != nullptr) {
        return WriteStatus::bucketInUse;
    }
    if (write.bucket >= size_.buckets || bucketsUsed_ == size_.buckets) {
        return WriteStatus::noBuckets;
    }
    if (write.bucket >= cells_.size()) {
        cells_.resize(std::size_t{write.bucket} + 1);
    }
    Cell& cell = cells_[write.bucket];
    cell.allocated = true;
    cell.vrfId = write.vrfId;
    cell.af = write.route.prefix.af();
    ++bucketsUsed_;
    return WriteStatus::done;
}

WriteStatus SimulatedChip::release(Cell& cell) {
    if (cell.timesBound != 0) {
        return WriteStatus::bucketInUse;
    }
    cell = Cell();
    --bucketsUsed_;
    return WriteStatus::done;
}

WriteStatus SimulatedChip::writeRoute(Cell& cell, Route const& route) const {
    if (Route* const written = cell.routes.find(route.prefix); written != nullptr) {
        written->nextHop = route.nextHop;
        return WriteStatus::done;
    }
    if (cell.routes.size() >= size_.bucketRoutes) {
        return WriteStatus::bucketFull;
    }
    cell.routes.insert(route.prefix, route);
    ++cell.lengths[route.prefix.len()];
    return WriteStatus::done;
}

WriteStatus SimulatedChip::bind(Cell& cell, Write const& write) {
    if (cell.vrfId != write.vrfId) {
        return WriteStatus::unknownBucket;
    }
    IpGenPrefix const& prefix = write.route.prefix;
    Instance& instance = instances_[write.vrfId];
    if (Binding* const bound = instance.bindings.find(prefix); bound != nullptr) {
        --find(bound->bucket)->timesBound;
        bound->bucket = write.bucket;
        ++cell.timesBound;
        return WriteStatus::done;
    }
    if (bindingsUsed_ == size_.bindings) {
        return WriteStatus::tableFull;
    }
    instance.bindings.insert(prefix, Binding{prefix, write.bucket});
    ++instance.lengths[familyIndex(prefix.af())][prefix.len()];
    ++cell.timesBound;
    ++bindingsUsed_;
    return WriteStatus::done;
}

WriteStatus SimulatedChip::unbind(Write const& write) {
    IpGenPrefix const& prefix = write.route.prefix;
    Instance& instance = instances_[write.vrfId];
    Binding const* const bound = instance.bindings.find(prefix);
    if (bound == nullptr) {
        return WriteStatus::unknownBinding;
    }
    --find(bound->bucket)->timesBound;
    instance.bindings.erase(prefix);
    --instance.lengths[familyIndex(prefix.af())][prefix.len()];
    --bindingsUsed_;
    return WriteStatus::done;
}

ChipAnswer SimulatedChip::lookup(U32 vrfId, IpGenPrefix const& address) const {
    std::lock_guard const lock(mutex());
    ChipAnswer answer;
    auto const instance = instances_.find(vrfId);
    if (instance == instances_.end()) {
        return answer;
    }
    Lengths const& lengths = instance->second.lengths[familyIndex(address.af())];
    Binding const* binding = nullptr;
    for (U32 len = address.len() + 1; binding == nullptr && len-- > 0;) {
        if (lengths[len] != 0) {
            binding = instance->second.bindings.find(truncated(address, len));
        }
    }
    if (binding == nullptr) {
        return answer;
    }
    answer.binding = binding->prefix;
    answer.bucket = binding->bucket;
    Cell const& cell = *find(binding->bucket);
    for (U32 len = address.len() + 1; len-- > 0;) {
        Route const* const route =
            cell.lengths[len] == 0 ? nullptr : cell.routes.find(truncated(address, len));
        if (route != nullptr) {
            answer.route = *route;
            return answer;
        }
    }
    answer.route = cell.cover;
    answer.fromCover = cell.cover.has_value();
    return answer;
}

U32 SimulatedChip::bucketsUsed() const {
    std::lock_guard const lock(mutex());
    return bucketsUsed_;
}

U32 SimulatedChip::bindingsUsed() const {
    std::lock_guard const lock(mutex());
    return bindingsUsed_;
}

std::vector<Binding> SimulatedChip::readBindings(U32 vrfId, Nimbal::AddressFamily af) const {
    std::vector<Binding> bindings;
    if (auto const instance = instances_.find(vrfId); instance != instances_.end()) {
        for (Binding const& binding : instance->second.bindings) {
            if (binding.prefix.af() == af) {
                bindings.push_back(binding);
            }
        }
    }
    return bindings;
}

std::vector<Bucket> SimulatedChip::readBuckets(U32 vrfId, Nimbal::AddressFamily af) const {
    std::vector<Bucket> buckets;
    for (std::size_t i = 0; i < cells_.size(); ++i) {
        Cell const& cell = cells_[i];
        if (cell.allocated && cell.vrfId == vrfId && cell.af == af) {
            buckets.push_back(static_cast<Bucket>(i));
        }
    }
    return buckets;
}

std::optional<BucketContents> SimulatedChip::readContents(Bucket bucket) const {
    Cell const* const cell = find(bucket);
    if (cell == nullptr) {
        return std::nullopt;
    }
    return BucketContents{{cell->routes.begin(), cell->routes.end()}, cell->cover};
}

}  // namespace LpmClient
