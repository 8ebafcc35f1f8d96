#include <client/Hardware.h>

#include <numeric>
#include <ostream>

namespace LpmClient {

namespace {

constexpr std::array<std::string_view, writeKinds> kindTexts{
    "allocate", "write route", "erase route", "write cover", "bind", "unbind", "free"};

constexpr std::array<std::string_view, 10> statusTexts{
    "done",          "no buckets",      "bucket full",   "table full",   "unknown bucket",
    "unknown route", "unknown binding", "bucket in use", "wrong family", "transient error"};

U64 sum(std::array<U64, writeKinds> const& counts) noexcept {
    return std::accumulate(counts.begin(), counts.end(), U64{0});
}

}  // namespace

std::string_view text(WriteKind kind) noexcept {
    return kindTexts[static_cast<std::size_t>(kind)];
}

std::string_view text(WriteStatus status) noexcept {
    return statusTexts[static_cast<std::size_t>(status)];
}

std::ostream& operator<<(std::ostream& out, Route const& route) {
    return out << route.prefix << " to " << route.nextHop;
}

std::ostream& operator<<(std::ostream& out, Write const& write) {
    out << text(write.kind);
    switch (write.kind) {
    case WriteKind::allocate:
    case WriteKind::free:
        return out << " bucket " << write.bucket;
    case WriteKind::writeRoute:
        return out << ' ' << write.route << " in bucket " << write.bucket;
    case WriteKind::eraseRoute:
        return out << ' ' << write.route.prefix << " in bucket " << write.bucket;
    case WriteKind::writeCover:
        out << ' ';
        return (write.empty ? out << "none" : out << write.route) << " in bucket " << write.bucket;
    case WriteKind::bind:
        return out << ' ' << write.route.prefix << " of instance " << write.vrfId << " to bucket "
                   << write.bucket;
    case WriteKind::unbind:
        return out << ' ' << write.route.prefix << " of instance " << write.vrfId;
    }
    return out;
}

U64 WriteCounts::total() const noexcept {
    return sum(done);
}

U64 WriteCounts::totalRefused() const noexcept {
    return sum(refused);
}

Hardware::~Hardware() = default;

WriteStatus Hardware::write(Write const& write) noexcept {
    std::lock_guard const lock(mutex_);
    WriteStatus status = WriteStatus::transientError;
    try {
        status = apply(write);
    } catch (...) {
        // A write is refused or done: who undoes an update must not be interrupted in that.
    }
    auto& counts = status == WriteStatus::done ? counts_.done : counts_.refused;
    ++counts[static_cast<std::size_t>(write.kind)];
    return status;
}

WriteCounts Hardware::counts() const {
    std::lock_guard const lock(mutex_);
    return counts_;
}

std::vector<Binding> Hardware::bindings(U32 vrfId, Nimbal::AddressFamily af) const {
    std::lock_guard const lock(mutex_);
    return readBindings(vrfId, af);
}

std::vector<Bucket> Hardware::buckets(U32 vrfId, Nimbal::AddressFamily af) const {
    std::lock_guard const lock(mutex_);
    return readBuckets(vrfId, af);
}

std::optional<BucketContents> Hardware::contents(Bucket bucket) const {
    std::lock_guard const lock(mutex_);
    return readContents(bucket);
}

}  // namespace LpmClient
