#include <benchmarks/Results.h>

#include <algorithm>

namespace LpmBenchmarks {

PeerFigures const* figuresOf(std::vector<PeerFigures> const& peers, std::string_view name) {
    auto const at = std::find_if(peers.begin(), peers.end(),
                                 [&](PeerFigures const& peer) { return peer.name == name; });
    return at == peers.end() ? nullptr : &*at;
}

TableResult const* mainTable(Results const& results, Nimbal::AddressFamily af) {
    auto const at =
        std::find_if(results.tables.begin(), results.tables.end(), [&](TableResult const& table) {
            return table.af == af && table.pages == Pages::huge;
        });
    return at == results.tables.end() ? nullptr : &*at;
}

char const* nameOf(Nimbal::AddressFamily af) noexcept {
    return af == Nimbal::AddressFamily::ipv6 ? "IPv6" : "IPv4";
}

}  // namespace LpmBenchmarks
