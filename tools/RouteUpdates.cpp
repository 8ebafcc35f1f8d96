#include <tools/RouteUpdates.h>

#include <Vexo/CharRange.h>
#include <Vexo/RangeException.h>
#include <tools/InputKind.h>

#include <utility>

namespace LpmTools {

using Nimbal::IpGenPrefix;

namespace {

/** Takes a word from the front of a text, and the blanks behind it. */
std::string_view takeWord(std::string_view& text) {
    std::string_view const word = text.substr(0, text.find_first_of(lineBlanks));
    text.remove_prefix(word.size());
    text.remove_prefix(std::min(text.find_first_not_of(lineBlanks), text.size()));
    return word;
}

NextHop readNextHop(std::string_view text) {
    if (text.find(':') != std::string_view::npos) {
        return NextHop(Nimbal::Ip6Addr::fromString(text).bytes());
    }
    return NextHop(Nimbal::IpAddr::fromString(text).bytes());
}

}  // namespace

RouteUpdates::RouteUpdates(std::string const& path, TableOptions const& options, MrtPeers& peers,
                           PathTable& table)
    : name_(inputName(path)), options_(options), table_(table) {
    auto source = openUnpacked(path);
    if (looksLikeMrt(source->head())) {
        mrt_.emplace(std::move(source), name_, peers, options.strict);
    } else {
        lines_.emplace(std::move(source));
        textPeer_ = peers.number({});
    }
}

bool RouteUpdates::next(RouteUpdate& update) {
    return mrt_ ? nextOfMrt(update) : nextOfText(update);
}

bool RouteUpdates::nextOfMrt(RouteUpdate& update) {
    MrtEvent event;
    if (!mrt_->next(event)) {
        return false;
    }
    update.prefix = event.prefix;
    update.isWithdrawal = event.isWithdrawal;
    update.isFromDump = event.isFromDump;
    update.change = event.isWithdrawal
                        ? table_.withdraw(event.peer, event.pathId, event.prefix)
                        : table_.announce(event.peer, event.pathId, event.prefix, event.nextHop);
    return true;
}

bool RouteUpdates::nextOfText(RouteUpdate& update) {
    while (lines_->next()) {
        ++text_.lines;
        try {
            std::string_view const text = lines_->text();
            if (!text.empty()) {
                takeLine(text, update);
                return true;
            }
        } catch (Vexo::RangeException const& error) {
            addBadLine(name_ + ":" + std::to_string(lines_->number()) + ": " + error.what());
        }
    }
    return false;
}

/** Tells what is wrong with a line that goes on behind `word`. */
static std::string leftOver(std::string_view rest, std::string_view word, bool isVerbose) {
    bool const isPrefix = word.find('/') != std::string_view::npos;
    if (!isVerbose && !isPrefix) {
        return Vexo::quotedForMessage(word) + " is neither a prefix nor A or W before one";
    }
    return Vexo::quotedForMessage(rest) + " is left over behind " + Vexo::quotedForMessage(word) +
           (isVerbose ? "" : "; with a next hop, the line begins with A");
}

void RouteUpdates::takeLine(std::string_view text, RouteUpdate& update) {
    std::string_view rest = text;
    std::string_view word = takeWord(rest);
    bool const isWithdrawal = word == "W";
    bool const isVerbose = isWithdrawal || word == "A";
    if (isVerbose) {
        word = takeWord(rest);
    }
    NextHop nextHop;
    if (isVerbose && !isWithdrawal && !rest.empty()) {
        nextHop = readNextHop(takeWord(rest));
    }
    if (!rest.empty()) {
        throw Vexo::RangeException(leftOver(rest, word, isVerbose));
    }
    update.prefix = readPrefix(word);
    update.isWithdrawal = isWithdrawal;
    update.isFromDump = false;
    update.change = isWithdrawal ? table_.withdraw(textPeer_, 0, update.prefix)
                                 : table_.announce(textPeer_, 0, update.prefix, nextHop);
}

IpGenPrefix RouteUpdates::readPrefix(std::string_view text) {
    bool cleared = false;
    IpGenPrefix const prefix = options_.strict
                                   ? IpGenPrefix::fromString(text)
                                   : IpGenPrefix::fromStringClearingHostBits(text, &cleared);
    text_.hostBitsCleared += cleared ? U64{1} : U64{0};
    return prefix;
}

void RouteUpdates::addBadLine(std::string message) {
    if (!options_.keepGoing) {
        throw BadLine(message);
    }
    if (text_.badLines++ == 0) {
        text_.firstBadLine = std::move(message);
    }
}

}  // namespace LpmTools
