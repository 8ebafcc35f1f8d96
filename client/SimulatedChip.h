#pragma once

#include <client/Hardware.h>

#include <Vexo/HashMap.h>

#include <unordered_map>

namespace LpmClient {

/** How large a simulated chip is. */
struct ChipSize {
    U32 buckets = 0;       // as many as can be allocated
    U32 bucketRoutes = 0;  // routes of a bucket, its covering route not counted
    U32 bindings = 0;      // prefixes that can be bound, over all instances and families
};

/** The chip's answer for an address, and how it came by it. */
struct ChipAnswer {
    std::optional<Nimbal::IpGenPrefix> binding;  // the partition that answers
    Bucket bucket = noBucket;                    // that it is bound to
    std::optional<Route> route;                  // none: no route covers the address
    bool fromCover = false;                      // the covering route answered

    bool operator==(ChipAnswer const&) const noexcept = default;
};

/**
 * A chip in memory. It knows bindings and buckets and nothing of tries, refuses what a chip would
 * refuse, and looks addresses up in two stages. A prefix may be bound or written whatever nests in
 * it; several prefixes may be bound to one bucket. Memory: what is written, and one entry for each
 * bucket up to the highest ever allocated.
 */
class SimulatedChip : public Hardware {
public:
    /** An empty chip. */
    explicit SimulatedChip(ChipSize const& size);

    U32 bucketRoutes() const noexcept override { return size_.bucketRoutes; }
    U32 bucketLimit() const noexcept override { return size_.buckets; }

    /**
     * What a packet to `address`, a prefix of its family's full length, meets. One hash look-up for
     * each length in use, in each of the two stages.
     */
    ChipAnswer lookup(U32 vrfId, Nimbal::IpGenPrefix const& address) const;

    /** Buckets that are allocated. */
    U32 bucketsUsed() const;
    /** Prefixes that are bound. */
    U32 bindingsUsed() const;

protected:
    WriteStatus apply(Write const& write) override;
    std::vector<Binding> readBindings(U32 vrfId, Nimbal::AddressFamily af) const override;
    std::vector<Bucket> readBuckets(U32 vrfId, Nimbal::AddressFamily af) const override;
    std::optional<BucketContents> readContents(Bucket bucket) const override;

private:
    struct RouteKeys {
        using Key = Nimbal::IpGenPrefix;
        static U32 hash(Key const& key) noexcept { return key.hash(); }
        static Key const& key(Route const& route) noexcept { return route.prefix; }
        static bool matches(Route const& route, Key const& key) noexcept {
            return route.prefix == key;
        }
    };
    struct BindingKeys {
        using Key = Nimbal::IpGenPrefix;
        static U32 hash(Key const& key) noexcept { return key.hash(); }
        static Key const& key(Binding const& binding) noexcept { return binding.prefix; }
        static bool matches(Binding const& binding, Key const& key) noexcept {
            return binding.prefix == key;
        }
    };
    /** How many prefixes of each length there are: lengths with none need no look-up. */
    using Lengths = std::array<U32, 129>;

    struct Cell {
        bool allocated = false;
        U32 vrfId = 0;
        Nimbal::AddressFamily af = Nimbal::AddressFamily::none;
        U32 timesBound = 0;
        Vexo::HashMap<Route, RouteKeys> routes;
        std::optional<Route> cover;
        Lengths lengths{};
    };
    /** The bindings of a routing instance, both families. */
    struct Instance {
        Vexo::HashMap<Binding, BindingKeys> bindings;
        std::array<Lengths, 2> lengths{};  // IPv4, IPv6
    };

    Cell* find(Bucket bucket) noexcept;
    Cell const* find(Bucket bucket) const noexcept;
    WriteStatus allocate(Write const& write);
    WriteStatus release(Cell& cell);
    WriteStatus writeRoute(Cell& cell, Route const& route) const;
    WriteStatus bind(Cell& cell, Write const& write);
    WriteStatus unbind(Write const& write);

    ChipSize const size_;
    std::vector<Cell> cells_;
    std::unordered_map<U32, Instance> instances_;
    U32 bucketsUsed_ = 0;
    U32 bindingsUsed_ = 0;
};

}  // namespace LpmClient
