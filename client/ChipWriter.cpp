#include <client/ChipWriter.h>

#include <algorithm>

namespace LpmClient {

using LpmTrie::PartitionId;
using Nimbal::IpGenPrefix;

namespace {

/** Lets a vector grow by so many elements without a failure. Throws std::bad_alloc. */
template <class Element>
void makeRoom(std::vector<Element>& elements, std::size_t more) {
    std::size_t const size = elements.size() + more;
    if (size > elements.capacity()) {
        elements.reserve(std::max(size, 2 * elements.capacity()));
    }
}

}  // namespace

Write ChipWriter::make(WriteKind kind, Bucket bucket) const {
    Write write;
    write.kind = kind;
    write.bucket = bucket;
    write.vrfId = vrfId_;
    write.route.prefix = IpGenPrefix(af_, {}, 0);
    return write;
}

Write ChipWriter::makeCover(Bucket bucket, std::optional<Route> const& cover) const {
    Write write = make(WriteKind::writeCover, bucket);
    write.empty = !cover.has_value();
    write.route = cover.value_or(write.route);
    return write;
}

Write ChipWriter::makeBinding(WriteKind kind, IpGenPrefix const& prefix, Bucket bucket) const {
    Write write = make(kind, bucket);
    write.route.prefix = prefix;
    return write;
}

void ChipWriter::prepare(Write const& write) {
    if (write.kind == WriteKind::bind) {
        bindings_.try_emplace(write.route.prefix, noBucket);
    } else if (write.kind == WriteKind::writeCover) {
        covers_.try_emplace(write.bucket);
    }
}

void ChipWriter::note(Write const& write) noexcept {
    switch (write.kind) {
    case WriteKind::bind:
        bindings_.find(write.route.prefix)->second = write.bucket;
        break;
    case WriteKind::unbind:
        bindings_.erase(write.route.prefix);
        break;
    case WriteKind::writeCover:
        covers_.find(write.bucket)->second =
            write.empty ? std::optional<Route>() : std::optional(write.route);
        break;
    case WriteKind::free:
        covers_.erase(write.bucket);
        break;
    default:
        break;
    }
}

void ChipWriter::noteRefusal(Write const& write, WriteStatus status) noexcept {
    lastRefusal_ = RefusedWrite{write, status};
    if (write.kind == WriteKind::bind && bucketBoundTo(write.route.prefix) == noBucket) {
        bindings_.erase(write.route.prefix);
    }
}

void ChipWriter::write(Write const& write, Write const& inverse, PartitionId::Ptr id) {
    // Room first: once the chip has changed, nothing may throw.
    if (!owed_.empty()) {
        makeRoom(owed_, journal_.size() + 1);
    }
    makeRoom(journal_, 1);
    prepare(write);
    WriteStatus const status = hardware_.write(write);
    if (status != WriteStatus::done) {
        noteRefusal(write, status);
        throw RefusedWrite{write, status};
    }
    note(write);
    journal_.push_back(Owed{inverse, std::move(id)});
}

void ChipWriter::allocate(PartitionId::Ptr const& id) {
    Bucket const bucket = id->id().value();
    write(make(WriteKind::allocate, bucket), make(WriteKind::free, bucket), id);
}

void ChipWriter::writeRoute(Bucket bucket, Route const& route, std::optional<NextHop> before) {
    Write forward = make(WriteKind::writeRoute, bucket);
    forward.route = route;
    Write inverse = forward;
    inverse.kind = before ? WriteKind::writeRoute : WriteKind::eraseRoute;
    inverse.route.nextHop = before.value_or(0);
    write(forward, inverse);
}

void ChipWriter::eraseRoute(Bucket bucket, Route const& route) {
    Write forward = make(WriteKind::eraseRoute, bucket);
    forward.route = route;
    Write inverse = forward;
    inverse.kind = WriteKind::writeRoute;
    write(forward, inverse);
}

void ChipWriter::writeCover(Bucket bucket, std::optional<Route> const& cover) {
    auto const before = this->cover(bucket);
    if (before != cover) {
        write(makeCover(bucket, cover), makeCover(bucket, before));
    }
}

void ChipWriter::bind(IpGenPrefix const& prefix, Bucket bucket) {
    Bucket const before = bucketBoundTo(prefix);
    if (before == noBucket) {
        write(makeBinding(WriteKind::bind, prefix, bucket),
              makeBinding(WriteKind::unbind, prefix, bucket));
    } else if (before != bucket) {
        write(makeBinding(WriteKind::bind, prefix, bucket),
              makeBinding(WriteKind::bind, prefix, before));
    }
}

void ChipWriter::unbind(IpGenPrefix const& prefix) {
    Bucket const bucket = bucketBoundTo(prefix);
    if (bucket != noBucket) {
        write(makeBinding(WriteKind::unbind, prefix, bucket),
              makeBinding(WriteKind::bind, prefix, bucket));
    }
}

void ChipWriter::freeLater(PartitionId::Ptr const& id) {
    makeRoom(owed_, freeLater_.size() + 1);
    freeLater_.push_back(id);
}

void ChipWriter::commit() noexcept {
    journal_.clear();
    for (PartitionId::Ptr const& id : freeLater_) {
        owed_.push_back(Owed{make(WriteKind::free, id->id().value()), id});
    }
    freeLater_.clear();
    settle();
}

void ChipWriter::undo() noexcept {
    freeLater_.clear();
    std::reverse(journal_.begin(), journal_.end());
    if (owed_.empty()) {
        owed_.swap(journal_);
    } else {
        owed_.insert(owed_.end(), journal_.begin(), journal_.end());
    }
    journal_.clear();
    settle();
}

bool ChipWriter::settle() noexcept {
    auto const refused = std::find_if_not(owed_.begin(), owed_.end(),
                                          [&](Owed const& owed) { return settle(owed); });
    owed_.erase(owed_.begin(), refused);
    return owed_.empty();
}

bool ChipWriter::settle(Owed const& owed) noexcept {
    try {
        prepare(owed.write);
    } catch (std::bad_alloc const&) {
        return false;
    }
    WriteStatus const status = hardware_.write(owed.write);
    // What is to be freed may be gone already: a repair may have come first.
    bool const gone = owed.write.kind == WriteKind::free && status == WriteStatus::unknownBucket;
    if (status != WriteStatus::done && !gone) {
        noteRefusal(owed.write, status);
        return false;
    }
    note(owed.write);
    return true;
}

std::vector<PartitionId::Ptr> ChipWriter::abandonOwed() {
    std::vector<PartitionId::Ptr> ids;
    for (Owed const& owed : owed_) {
        if (owed.id) {
            ids.push_back(owed.id);
        }
    }
    owed_.clear();
    return ids;
}

void ChipWriter::forget() {
    journal_.clear();
    owed_.clear();
    freeLater_.clear();
    bindings_.clear();
    covers_.clear();
}

std::optional<Route> ChipWriter::cover(Bucket bucket) const {
    auto const found = covers_.find(bucket);
    return found == covers_.end() ? std::optional<Route>() : found->second;
}

Bucket ChipWriter::bucketBoundTo(IpGenPrefix const& prefix) const noexcept {
    auto const bound = bindings_.find(prefix);
    return bound == bindings_.end() ? noBucket : bound->second;
}

void ChipWriter::learnBinding(IpGenPrefix const& prefix, std::optional<Bucket> bucket) {
    if (bucket) {
        bindings_[prefix] = *bucket;
    } else {
        bindings_.erase(prefix);
    }
}

void ChipWriter::learnCover(Bucket bucket, std::optional<Route> const& cover) {
    if (cover) {
        covers_[bucket] = cover;
    } else {
        covers_.erase(bucket);
    }
}

}  // namespace LpmClient
