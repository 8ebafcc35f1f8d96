#include <tests/client/Space.h>

#include <algorithm>
#include <cstdlib>

namespace ClientTest {

Space::Space(AddressFamily af) : af_(af) {
    for (U32 low = 0; low < 4096; ++low) {
        if (low < 256 || low % 256 == 0 || low % 256 == 77 || low % 256 == 255) {
            addresses_.push_back(at(low, 12));
        }
    }
    addresses_.emplace_back(af, std::array<U8, 2>{0xc0, 7}, maxPrefixLen(af));
}

IpGenPrefix Space::at(U32 low, U32 len) const {
    std::array<U8, 16> address{0x20, 1};
    std::size_t const last = maxPrefixLen(af_) / 8 - 1;
    address[last - 1] = static_cast<U8>(low >> 8);
    address[last] = static_cast<U8>(low & 255);
    return IpGenPrefix(af_, address, maxPrefixLen(af_) - 12 + len).hostBitsCleared();
}

IpGenPrefix Space::randomPrefix(Random& random) const {
    IpGenPrefix const address = at(random.below(random.below(8) == 0 ? 4096 : 256), 12);
    U32 const most = maxPrefixLen(af_);
    U32 len = most - random.below(9);
    switch (random.below(16)) {
    case 0:
        len = random.below(most + 1);
        break;
    case 1:
        len = most - random.below(14);
        break;
    case 2:
        len = random.below(4) == 0 ? 0 : most;
        break;
    default:
        break;
    }
    return IpGenPrefix(af_, address.address(), len).hostBitsCleared();
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

void apply(Table& table, Update const& update) {
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
