#include <benchmarks/Table.h>

#include <array>
#include <bit>
#include <unordered_set>

namespace LpmBenchmarks {

namespace {

/** A hash set for each prefix length; a longest match tries those in use, the longest first. */
class HashTable : public Table {
public:
    void insert(std::span<IpGenPrefix const> routes) override {
        for (IpGenPrefix const& route : routes) {
            byLen_.at(route.len()).insert(route);
        }
    }
    U64 find(std::span<IpGenPrefix const> queries) override {
        U64 sum = 0;
        for (IpGenPrefix const& query : queries) {
            sum += longestMatch(query) != none ? 1U : 0U;
        }
        return sum;
    }
    Answers answers(std::span<IpGenPrefix const> queries) override {
        Answers answers;
        for (IpGenPrefix const& query : queries) {
            U32 const len = longestMatch(query);
            len != none ? answers.add(len) : answers.addNone();
        }
        return answers;
    }
    U64 walk() override { return 0; }
    U64 replay(std::span<Update const> updates) override {
        U64 changes = 0;
        for (Update const& update : updates) {
            auto& set = byLen_.at(update.prefix.len());
            if (set.contains(update.prefix) == update.announced) {
                continue;
            }
            ++changes;
            if (update.announced) {
                set.insert(update.prefix);
            } else {
                set.erase(update.prefix);
            }
        }
        return changes;
    }
    void remove(std::span<IpGenPrefix const> routes) override {
        for (IpGenPrefix const& route : routes) {
            byLen_.at(route.len()).erase(route);
        }
    }
    /** As the C library hands it out: an entry of 48 bytes with its hash, a slot in the table. */
    U64 bytes() const override {
        U64 bytes = 0;
        for (auto const& set : byLen_) {
            bytes += set.size() * 48 + set.bucket_count() * 8;
        }
        return bytes;
    }

private:
    static constexpr U32 none = 255;

    U32 longestMatch(IpGenPrefix const& query) const {
        for (U32 len = query.len() + 1; len-- > 0;) {
            auto const& set = byLen_[len];
            if (!set.empty() && set.contains(shortened(query, len))) {
                return len;
            }
        }
        return none;
    }
    static IpGenPrefix shortened(IpGenPrefix const& prefix, U32 len) noexcept {
        return IpGenPrefix(prefix.af(), prefix.address(), len).hostBitsCleared();
    }

    std::array<std::unordered_set<IpGenPrefix>, 129> byLen_;
};

}  // namespace

std::unique_ptr<Table> hashTable(Nimbal::AddressFamily /*af*/) {
    return std::make_unique<HashTable>();
}

}  // namespace LpmBenchmarks
