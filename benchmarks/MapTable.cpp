#include <benchmarks/Table.h>

#include <map>

namespace LpmBenchmarks {

namespace {

/**
 * std::map in the prefixes' own order, in which a covering prefix comes before all that it covers.
 * A longest match is the last entry not after the query, or else what covers both that and it.
 */
class MapTable : public Table {
public:
    void insert(std::span<IpGenPrefix const> routes) override {
        for (IpGenPrefix const& route : routes) {
            routes_.emplace(route, 1U);
        }
    }
    U64 find(std::span<IpGenPrefix const> queries) override {
        U64 sum = 0;
        for (IpGenPrefix const& query : queries) {
            sum += longestMatch(query) != routes_.end() ? 1U : 0U;
        }
        return sum;
    }
    Answers answers(std::span<IpGenPrefix const> queries) override {
        Answers answers;
        for (IpGenPrefix const& query : queries) {
            auto const match = longestMatch(query);
            match != routes_.end() ? answers.add(match->first.len()) : answers.addNone();
        }
        return answers;
    }
    U64 walk() override {
        U64 count = 0;
        for (auto const& route : routes_) {
            count += route.second;
        }
        return count;
    }
    U64 replay(std::span<Update const> updates) override {
        U64 changes = 0;
        for (Update const& update : updates) {
            auto const place = routes_.find(update.prefix);
            if ((place != routes_.end()) == update.announced) {
                continue;
            }
            ++changes;
            if (update.announced) {
                routes_.emplace(update.prefix, 1U);
            } else {
                routes_.erase(place);
            }
        }
        return changes;
    }
    void remove(std::span<IpGenPrefix const> routes) override {
        for (IpGenPrefix const& route : routes) {
            routes_.erase(route);
        }
    }
    /** As the C library hands it out: 32 bytes of tree, 28 of entry, 8 of its own. */
    U64 bytes() const override { return routes_.size() * 80; }

private:
    using Routes = std::map<IpGenPrefix, U32>;

    Routes::const_iterator longestMatch(IpGenPrefix const& query) const {
        auto place = routes_.upper_bound(query);
        IpGenPrefix key = query;
        while (place != routes_.begin()) {
            --place;
            if (place->first.overlaps(query) && place->first.len() <= query.len()) {
                return place;
            }
            // Nothing longer than what the two have in common can cover the query.
            U32 const common = commonLen(place->first, key);
            key = shortened(query, common);
            place = routes_.upper_bound(key);
        }
        return routes_.end();
    }
    static U32 commonLen(IpGenPrefix const& a, IpGenPrefix const& b) noexcept {
        U32 len = 0;
        U32 const bound = std::min(a.len(), b.len());
        while (len < bound && a.bit(len) == b.bit(len)) {
            ++len;
        }
        return len;
    }
    static IpGenPrefix shortened(IpGenPrefix const& prefix, U32 len) noexcept {
        return IpGenPrefix(prefix.af(), prefix.address(), len).hostBitsCleared();
    }

    Routes routes_;
};

}  // namespace

std::unique_ptr<Table> mapTable(Nimbal::AddressFamily /*af*/) {
    return std::make_unique<MapTable>();
}

}  // namespace LpmBenchmarks
