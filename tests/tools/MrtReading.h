#pragma once

#include <tools/MrtReader.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace ToolsTest {

/** Bytes that outlive it, handed out in pieces of at most `piece`. */
class MemorySource final : public LpmTools::ByteSource {
public:
    explicit MemorySource(std::string_view bytes, std::size_t piece = ~std::size_t{0})
        : rest_(bytes), piece_(piece) {}

    std::size_t read(std::span<char> buffer) override {
        std::size_t const count = std::min({buffer.size(), piece_, rest_.size()});
        std::copy_n(rest_.begin(), count, buffer.begin());
        rest_.remove_prefix(count);
        return count;
    }

private:
    std::string_view rest_;
    std::size_t piece_;
};

/** All that came out of a stream. */
struct Reading {
    std::vector<LpmTools::MrtEvent> events;
    LpmTools::MrtCounts counts;
    std::map<LpmTools::MrtKind, LpmTools::U64> unknown;
    std::string error;            // empty where there was none
    LpmTools::U64 badRecord = 0;  // 0 where there was none
    LpmTools::U64 badOffset = 0;
};

inline Reading readMrt(std::unique_ptr<LpmTools::ByteSource> source, LpmTools::MrtPeers& peers,
                       bool strict = false) {
    Reading reading;
    LpmTools::MrtReader reader(std::move(source), "file", peers, strict);
    try {
        for (LpmTools::MrtEvent event; reader.next(event);) {
            reading.events.push_back(event);
        }
    } catch (LpmTools::MrtError const& error) {
        reading.error = error.what();
        reading.badRecord = error.record();
        reading.badOffset = error.offset();
    } catch (LpmTools::InputError const& error) {
        reading.error = error.what();
    }
    reading.counts = reader.counts();
    reading.unknown = reader.unknownKinds();
    return reading;
}
inline Reading readMrt(std::string_view stream, LpmTools::MrtPeers& peers, bool strict = false) {
    return readMrt(std::make_unique<MemorySource>(stream), peers, strict);
}
inline Reading readMrt(std::string_view stream, bool strict = false) {
    LpmTools::MrtPeers peers;
    return readMrt(stream, peers, strict);
}

/** "A 10.0.0.0/8 peer 0 path 7 via c0000201", "W …", "D …" for an entry of a dump. */
inline std::string told(LpmTools::MrtEvent const& event) {
    std::string text = event.isFromDump ? "D " : event.isWithdrawal ? "W " : "A ";
    text += event.prefix.stringValue() + " peer " + std::to_string(event.peer);
    if (event.pathId != 0) {
        text += " path " + std::to_string(event.pathId);
    }
    if (event.nextHop.size != 0) {
        text += " via ";
    }
    for (std::size_t i = 0; i < event.nextHop.size; ++i) {
        constexpr char const* digits = "0123456789abcdef";
        text += digits[event.nextHop.bytes[i] >> 4];
        text += digits[event.nextHop.bytes[i] & 15];
    }
    return text;
}
inline std::vector<std::string> told(Reading const& reading) {
    std::vector<std::string> texts;
    for (LpmTools::MrtEvent const& event : reading.events) {
        texts.push_back(told(event));
    }
    return texts;
}

}  // namespace ToolsTest
