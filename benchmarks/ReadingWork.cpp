#include <tests/tools/MrtBytes.h>
#include <tools/RouteUpdates.h>
#include <benchmarks/ReadingWork.h>

#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace LpmBenchmarks {

namespace {

using Nimbal::IpGenPrefix;

std::string textOf(std::span<IpGenPrefix const> routes) {
    std::string text;
    for (IpGenPrefix const& route : routes) {
        text += route.stringValue() + '\n';
    }
    return text;
}

/** A dump of one peer's table, each route with the attributes that it must have. */
std::string mrtOf(std::span<IpGenPrefix const> routes) {
    using namespace ToolsTest;
    bool const isIpv6 = routes.front().af() == Nimbal::AddressFamily::ipv6;
    std::string const hop = isIpv6 ? reach(2, 1, address("2001:db8::1"), "") : nextHop("192.0.2.1");
    std::string const entry = u16(1) + ribEntry(0, origin() + hop);
    std::string dump = peerTable({{"192.0.2.1", 65001}});
    for (IpGenPrefix const& route : routes) {
        std::string const prefix = u8(route.len()) + leadingBytes(route, route.len());
        dump += record(13, isIpv6 ? 4 : 2, u32(0) + prefix + entry);
    }
    return dump;
}

}  // namespace

TableFile::TableFile(Form form, std::span<IpGenPrefix const> routes)
    : path_((std::filesystem::temp_directory_path() / "lpmtrie-XXXXXX").string()) {
    int const file = ::mkstemp(path_.data());
    if (file < 0) {
        throw std::runtime_error("cannot make a file like " + path_);
    }
    ::close(file);
    std::ofstream out(path_, std::ios::binary);
    out << (form == Form::text ? textOf(routes) : mrtOf(routes));
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + path_);
    }
}

TableFile::~TableFile() {
    ::unlink(path_.c_str());
}

Vexo::U64 TableFile::read() const {
    LpmTools::MrtPeers peers;
    LpmTools::PathTable table(peers);
    LpmTools::RouteUpdates updates(path_, {}, peers, table);
    Vexo::U64 routes = 0;
    for (LpmTools::RouteUpdate update; updates.next(update);) {
        routes += update.change == LpmTools::RouteChange::added ? 1U : 0U;
    }
    return routes;
}

}  // namespace LpmBenchmarks
