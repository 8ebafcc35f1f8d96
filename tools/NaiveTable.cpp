#include <tools/NaiveTable.h>

namespace LpmTools {

using LpmClient::Route;
using Nimbal::IpGenPrefix;

void NaiveTable::announce(Route const& route) {
    U32 const number = entries_.find(route.prefix);
    if (number != entries_.none) {
        entries_[number].nextHop = route.nextHop;
        return;
    }
    entries_.add({route.prefix, route.nextHop, 0});
    ++lengths_[route.prefix.len()];
    seen_[markOf(route.prefix)] = true;
}

void NaiveTable::withdraw(IpGenPrefix const& prefix) {
    U32 const number = entries_.find(prefix);
    if (number != entries_.none) {
        entries_.remove(number);
        --lengths_[prefix.len()];
    }
}

std::optional<Route> NaiveTable::match(IpGenPrefix const& address) const {
    for (U32 len = address.len() + 1; len-- > 0;) {
        if (lengths_[len] == 0) {
            continue;
        }
        auto const key = IpGenPrefix(address.af(), address.address(), len).hostBitsCleared();
        U32 const number = seen_[markOf(key)] ? entries_.find(key) : entries_.none;
        if (number != entries_.none) {
            return Route{key, entries_[number].nextHop};
        }
    }
    return std::nullopt;
}

}  // namespace LpmTools
