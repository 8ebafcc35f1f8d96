#include <fuzz/Fuzz.h>

#include <tests/tools/MrtReading.h>

#include <algorithm>

/*
 * Bytes as an MRT file, which may lie about all its lengths. What comes of it must not depend on
 * the pieces in which the bytes come; and strict reading ends sooner or gives the same.
 */

namespace {

using namespace LpmTools;
using namespace ToolsTest;
using Fuzz::require;

Reading read(std::string_view bytes, std::size_t piece, bool strict) {
    MrtPeers peers;
    return readMrt(std::make_unique<MemorySource>(bytes, piece), peers, strict);
}

void checkEvent(MrtEvent const& event) {
    Nimbal::IpGenPrefix const& prefix = event.prefix;
    require(prefix.hostBitsCleared() == prefix, "no host bit is left");
    require(prefix.len() <= (prefix.af() == Nimbal::AddressFamily::ipv4 ? 32U : 128U),
            "a length is within its family");
    require(event.nextHop.size <= NextHop::longest, "a next hop has its room");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const bytes(reinterpret_cast<char const*>(data), size);
    Reading const whole = read(bytes, bytes.size() + 1, false);
    std::ranges::for_each(whole.events, checkEvent);

    Reading const pieces = read(bytes, 3, false);
    require(told(pieces) == told(whole), "pieces give the same events");
    require(pieces.error == whole.error, "pieces give the same error");
    require(pieces.unknown == whole.unknown, "pieces give the same unknown kinds");

    Reading const strict = read(bytes, bytes.size() + 1, true);
    auto const events = told(whole);
    auto const first = told(strict);
    require(first.size() <= events.size() && std::equal(first.begin(), first.end(), events.begin()),
            "strict reading gives the same events up to its end");
    require(whole.error.empty() || !strict.error.empty(), "strict reading refuses no less");
    return 0;
}
