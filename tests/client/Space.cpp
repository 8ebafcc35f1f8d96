#include <tests/client/Space.h>

#include <algorithm>
#include <cstdlib>

namespace ClientTest {

Space::Space(AddressFamily af, U32 bits) : af_(af), bits_(bits) {
    U32 const dense = 1U << bits;
    for (U32 low = 0; low < 16 * dense; ++low) {
        U32 const place = low % dense;
        if (bits <= allUpTo || low < dense || place == 0 || place == dense / 3 ||
            place == dense - 1) {
            addresses_.push_back(at(low));
        }
    }
    addresses_.emplace_back(af, std::array<U8, 2>{0xc0, 7}, maxPrefixLen(af));
}

IpGenPrefix Space::at(U32 low, U32 shorter) const {
    std::array<U8, 16> address{0x20, 1};
    std::size_t const last = maxPrefixLen(af_) / 8 - 1;
    address[last - 1] = static_cast<U8>(low >> 8);
    address[last] = static_cast<U8>(low & 255);
    return IpGenPrefix(af_, address, maxPrefixLen(af_) - shorter).hostBitsCleared();
}

IpGenPrefix Space::randomPrefix(Random& random) const {
    U32 const dense = 1U << bits_;
    U32 const low = random.below(random.below(8) == 0 ? 16 * dense : dense);
    U32 const most = maxPrefixLen(af_);
    switch (random.below(16)) {
    case 0:
        return at(low, random.below(most + 1));
    case 1:
        return at(low, random.below(bits_ + 6));
    case 2:
        return at(low, random.below(4) == 0 ? most : 0);
    default:
        return at(low, random.below(bits_ + 1));
    }
}

// In the order of a table, which is pre-order, longer matches come after shorter ones.
Answers Space::answers(Table const& table) const {
    Answers answers(addresses_.size());
    for (auto const& [prefix, nextHop] : table) {
        for (std::size_t i = 0; i < addresses_.size(); ++i) {
            if (prefix.overlaps(addresses_[i])) {
                answers[i] = Route{prefix, nextHop};
            }
        }
    }
    return answers;
}

std::vector<IpGenPrefix> randomPrefixes(Space const& space, Order order, U32 count,
                                        Random& random) {
    std::vector<IpGenPrefix> prefixes;
    while (prefixes.size() < count) {
        IpGenPrefix const prefix = space.randomPrefix(random);
        if (std::find(prefixes.begin(), prefixes.end(), prefix) == prefixes.end()) {
            prefixes.push_back(prefix);
        }
    }
    if (order != Order::random) {
        std::sort(prefixes.begin(), prefixes.end());
    }
    if (order == Order::descending) {
        std::reverse(prefixes.begin(), prefixes.end());
    }
    return prefixes;
}

std::vector<Update> history(Space const& space, Order order, U32 routes, Random& random) {
    auto const prefixes = randomPrefixes(space, order, routes, random);
    std::vector<Update> updates;
    auto const announce = [&](IpGenPrefix const& prefix) {
        updates.push_back({prefix, random.below(1000)});
    };
    for (std::size_t i = 0; i < prefixes.size(); ++i) {
        announce(prefixes[i]);
        IpGenPrefix const& earlier = prefixes[random.below(static_cast<U32>(i + 1))];
        if (random.below(6) == 0) {
            announce(earlier);
        } else if (random.below(8) == 0) {
            updates.push_back({earlier, {}});
        }
    }
    for (U32 i = 0; i < 2 * routes; ++i) {
        IpGenPrefix const& prefix = prefixes[random.below(routes)];
        if (random.below(2) == 0) {
            announce(prefix);
        } else {
            updates.push_back({prefix, {}});
        }
    }
    for (IpGenPrefix const& prefix : prefixes) {
        updates.push_back({prefix, {}});
    }
    return updates;
}

void takeInto(Table& table, Update const& update) {
    if (update.nextHop) {
        table[update.prefix] = *update.nextHop;
    } else {
        table.erase(update.prefix);
    }
}

U64 fromEnvironment(char const* name, U64 fallback) {
    char const* const text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : fallback;
}

}  // namespace ClientTest
