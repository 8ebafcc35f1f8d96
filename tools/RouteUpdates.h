#pragma once

#include <tools/LineReader.h>
#include <tools/MrtReader.h>
#include <tools/PathTable.h>
#include <tools/TableReader.h>

#include <memory>
#include <optional>
#include <string>

namespace LpmTools {

/** What one line or event of an input means for the route to a prefix. */
struct RouteUpdate {
    Nimbal::IpGenPrefix prefix;
    RouteChange change = RouteChange::none;
    bool isWithdrawal = false;
    bool isFromDump = false;
};

/** What has been read of a text. */
struct TextCounts {
    U64 lines = 0;  // all lines, comments and blank ones too
    U64 hostBitsCleared = 0;
    U64 badLines = 0;  // skipped
    std::string firstBadLine;

    bool operator==(TextCounts const&) const = default;
};

/**
 * Tables and streams of updates, MRT or text, as the changes that they make to a table of paths:
 *
 *     MrtPeers peers;
 *     PathTable table(peers);
 *     RouteUpdates updates(path, {}, peers, table);
 *     for (RouteUpdate update; updates.next(update);) { ... }
 *
 * A line of text is "A 10.0.0.0/8" or "A 10.0.0.0/8 192.0.2.1", a prefix announced, with a next
 * hop or without; "W 10.0.0.0/8", withdrawn; or a prefix alone, announced, so that tables are
 * read too. Comments and blanks are as in a table. All text comes from one peer of its own.
 */
class RouteUpdates {
public:
    /** Begins to read, and tells by the first bytes what it is. Throws InputError. */
    RouteUpdates(std::string const& path, TableOptions const& options, MrtPeers& peers,
                 PathTable& table);

    /**
     * Carries out the next update, whether it changes a route or not; false at the end. Throws
     * InputError, of which MrtError is one, and BadLine.
     */
    bool next(RouteUpdate& update);

    /** Null for a text. */
    MrtReader const* mrt() const noexcept { return mrt_ ? &*mrt_ : nullptr; }
    /** All zero for MRT. */
    TextCounts const& text() const noexcept { return text_; }

private:
    bool nextOfMrt(RouteUpdate& update);
    bool nextOfText(RouteUpdate& update);
    void takeLine(std::string_view text, RouteUpdate& update);
    Nimbal::IpGenPrefix readPrefix(std::string_view text);
    void addBadLine(std::string message);

    std::string const name_;
    TableOptions const options_;
    PathTable& table_;
    std::optional<MrtReader> mrt_;
    std::optional<LineReader> lines_;
    U32 textPeer_ = 0;
    TextCounts text_;
};

}  // namespace LpmTools
