#pragma once

#include <Nimbal/IpGenPrefix.h>

#include <array>
#include <iosfwd>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

/*
 * What a two-stage forwarding chip understands. Its first stage holds bindings: prefixes of
 * partitions, each with the number of a bucket. Its second stage holds buckets: a bounded number of
 * routes and one covering route. An address is looked up among the bindings of its routing
 * instance, longest match first; the bucket of the binding found answers with its own longest
 * match, or else with its covering route.
 *
 * A bucket that is bound answers packets. One that is not can be filled in peace.
 */

namespace LpmClient {

using Vexo::U32;
using Vexo::U64;
using Vexo::U8;

/** The number of a bucket; the client chooses it. */
using Bucket = U32;
/** No bucket's number. */
constexpr Bucket noBucket = ~U32{0};

/** What a packet that meets a route is to do. The number's meaning is the caller's. */
using NextHop = U64;

/** A route as the chip holds it. */
struct Route {
    Nimbal::IpGenPrefix prefix;  // host bits clear
    NextHop nextHop = 0;         // what packets are to do

    bool operator==(Route const&) const noexcept = default;
};

std::ostream& operator<<(std::ostream& out, Route const& route);

/** Kinds of writes, and the fields of `Write` that each takes. */
enum class WriteKind : U8 {
    allocate,    // bucket, vrfId, and the family of route.prefix: whose bucket it is
    writeRoute,  // bucket, route: adds it, or replaces the next hop of that very prefix
    eraseRoute,  // bucket, route.prefix
    writeCover,  // bucket, route; or no covering route when `empty`
    bind,        // vrfId, route.prefix, bucket: also moves a binding to another bucket
    unbind,      // vrfId, route.prefix
    free         // bucket, with what it holds; it must not be bound
};
/** As many as there are. */
constexpr std::size_t writeKinds = 7;

/** "allocate", "write route" and so on. */
std::string_view text(WriteKind kind) noexcept;

/** One hardware write. Fields that its kind does not name are ignored. */
struct Write {
    WriteKind kind = WriteKind::allocate;  // what is to be done
    Bucket bucket = noBucket;              // to which bucket
    U32 vrfId = 0;                         // for which routing instance
    Route route;                           // or, where its kind says so, only a prefix
    bool empty = false;                    // `writeCover`: take the covering route away

    bool operator==(Write const&) const noexcept = default;
};

std::ostream& operator<<(std::ostream& out, Write const& write);

/** What became of a write. All but `done` are refusals: the chip is as it was before. */
enum class WriteStatus : U8 {
    done,
    noBuckets,       // as many buckets are allocated as there are, or the number is too large
    bucketFull,      // a bucket holds its bound of routes
    tableFull,       // as many prefixes are bound as there is room for
    unknownBucket,   // not allocated
    unknownRoute,    // not in that bucket
    unknownBinding,  // not bound
    bucketInUse,     // to be allocated again, or freed while a prefix is bound to it
    wrongFamily,     // of route and bucket, or the prefix is longer than its addresses
    transientError   // may succeed when tried again
};

/** "done", "bucket full" and so on. */
std::string_view text(WriteStatus status) noexcept;

/** Writes by kind, refused ones apart. */
struct WriteCounts {
    std::array<U64, writeKinds> done{};     // by the number of the kind
    std::array<U64, writeKinds> refused{};  // likewise

    /** @{ The writes of a kind, or all, that the chip has carried out or refused. */
    U64 of(WriteKind kind) const noexcept { return done[static_cast<std::size_t>(kind)]; }
    U64 refusedOf(WriteKind kind) const noexcept { return refused[static_cast<std::size_t>(kind)]; }
    U64 total() const noexcept;
    U64 totalRefused() const noexcept;
    /** @} */
};

/** A prefix of a routing instance that is bound, and to which bucket. */
struct Binding {
    Nimbal::IpGenPrefix prefix;  // of a partition's root
    Bucket bucket = noBucket;    // that answers for it

    bool operator==(Binding const&) const noexcept = default;
};

/** What a bucket holds. Routes are in no particular order. */
struct BucketContents {
    std::vector<Route> routes;   // at most `Hardware::bucketRoutes`
    std::optional<Route> cover;  // none: an address that no route covers has no answer
};

/**
 * The chip as the client sees it: derive from it to put a chip of your own behind a client. Threads
 * may share one: a write, or a question, is one step. A write either succeeds or is refused and
 * changes nothing. The client owns no hardware: it must outlive its managers.
 */
class Hardware {
public:
    Hardware() = default;
    Hardware(Hardware const&) = delete;
    Hardware& operator=(Hardware const&) = delete;
    virtual ~Hardware();

    /** Carries out one write, by `apply`, and counts it. What that throws is a `transientError`. */
    WriteStatus write(Write const& write) noexcept;
    /** The writes since this object was made. */
    WriteCounts counts() const;

    /** Most routes that a bucket holds, its covering route not counted. */
    virtual U32 bucketRoutes() const noexcept = 0;
    /** Buckets are numbered from 0 to this number - 1. */
    virtual U32 bucketLimit() const noexcept = 0;

    // Reading back what stands in the chip, for a restart and for audits: time and memory are those
    // of what is returned, or of more where a chip has to look for it.

    /** All bindings of a routing instance's family, in no particular order. */
    std::vector<Binding> bindings(U32 vrfId, Nimbal::AddressFamily af) const;
    /** The buckets allocated to a routing instance's family. */
    std::vector<Bucket> buckets(U32 vrfId, Nimbal::AddressFamily af) const;
    /** None for a bucket that is not allocated. */
    std::optional<BucketContents> contents(Bucket bucket) const;

protected:
    /**
     * @{ What a chip implements: the public operations call these, one at a time, with the lock
     * held. `apply` changes nothing where it refuses or throws.
     */
    virtual WriteStatus apply(Write const& write) = 0;
    virtual std::vector<Binding> readBindings(U32 vrfId, Nimbal::AddressFamily af) const = 0;
    virtual std::vector<Bucket> readBuckets(U32 vrfId, Nimbal::AddressFamily af) const = 0;
    virtual std::optional<BucketContents> readContents(Bucket bucket) const = 0;
    /** @} */

    /** The lock, for further questions of a chip's own. */
    std::mutex& mutex() const noexcept { return mutex_; }

private:
    mutable std::mutex mutex_;
    WriteCounts counts_;
};

}  // namespace LpmClient
