#include <client/ChipWriter.h>

#include <algorithm>

namespace LpmClient {

using LpmTrie::PartitionId;
using Nimbal::IpGenPrefix;

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

void ChipWriter::note(Write const& write) {
    switch (write.kind) {
    case WriteKind::bind:
        bindings_[write.route.prefix] = write.bucket;
        break;
    case WriteKind::unbind:
        bindings_.erase(write.route.prefix);
        break;
    case WriteKind::writeCover:
        learnCover(write.bucket, write.empty ? std::optional<Route>() : write.route);
        break;
    case WriteKind::free:
        covers_.erase(write.bucket);
        break;
    default:
        break;
    }
}

void ChipWriter::write(Write const& write, Write const& inverse, PartitionId::Ptr id) {
    // Room first: once the chip has changed, nothing may throw before the inverse is kept.
    journal_.push_back(Owed{inverse, std::move(id)});
    WriteStatus const status = hardware_.write(write);
    if (status != WriteStatus::done) {
        journal_.pop_back();
        throw RefusedWrite{write, status};
    }
    note(write);
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
    auto const bound = bindings_.find(prefix);
    if (bound == bindings_.end()) {
        write(makeBinding(WriteKind::bind, prefix, bucket),
              makeBinding(WriteKind::unbind, prefix, bucket));
    } else if (bound->second != bucket) {
        write(makeBinding(WriteKind::bind, prefix, bucket),
              makeBinding(WriteKind::bind, prefix, bound->second));
    }
}

void ChipWriter::unbind(IpGenPrefix const& prefix) {
    auto const bound = bindings_.find(prefix);
    if (bound != bindings_.end()) {
        Bucket const bucket = bound->second;
        write(makeBinding(WriteKind::unbind, prefix, bucket),
              makeBinding(WriteKind::bind, prefix, bucket));
    }
}

void ChipWriter::commit() {
    owed_.reserve(owed_.size() + freeLater_.size());  // nothing throws after this
    journal_.clear();
    for (PartitionId::Ptr const& id : freeLater_) {
        owed_.push_back(Owed{make(WriteKind::free, id->id().value()), id});
    }
    freeLater_.clear();
    settle();
}

void ChipWriter::undo() {
    freeLater_.clear();
    std::reverse(journal_.begin(), journal_.end());
    owed_.insert(owed_.end(), journal_.begin(), journal_.end());
    journal_.clear();
    settle();
}

bool ChipWriter::settle() {
    auto const refused = std::find_if(owed_.begin(), owed_.end(), [&](Owed const& owed) {
        WriteStatus const status = hardware_.write(owed.write);
        // What is to be freed may be gone already: a repair may have come first.
        bool const gone =
            owed.write.kind == WriteKind::free && status == WriteStatus::unknownBucket;
        if (status != WriteStatus::done && !gone) {
            return true;
        }
        note(owed.write);
        return false;
    });
    owed_.erase(owed_.begin(), refused);
    return owed_.empty();
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

void ChipWriter::learnBinding(IpGenPrefix const& prefix, std::optional<Bucket> bucket) {
    if (bucket) {
        bindings_[prefix] = *bucket;
    } else {
        bindings_.erase(prefix);
    }
}

void ChipWriter::learnCover(Bucket bucket, std::optional<Route> const& cover) {
    if (cover) {
        covers_[bucket] = *cover;
    } else {
        covers_.erase(bucket);
    }
}

}  // namespace LpmClient
