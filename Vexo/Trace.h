#pragma once

#include <Vexo/Guards.h>
#include <Vexo/Types.h>

#include <atomic>
#include <functional>
#include <sstream>
#include <string_view>
#include <type_traits>

namespace Vexo {

/** A finished trace line. The views are valid during the call that hands it over. */
struct TraceLine {
    std::string_view handle;  // whose line it is
    U32 level;                // 0 to 9
    /** The module's source name, the same for every file of the module. */
    std::string_view source;
    std::string_view text;  // without a line feed
};

/**
 * Receives trace lines, one at a time: a call ends before the next thread's begins. An exception
 * that leaves it is caught and forgotten.
 */
using TraceSink = std::function<void(TraceLine const&)>;

/**
 * A switchable source of trace lines with levels 0 to 9. A static constant of its module, entered
 * into the process's list of handles on first use. Levels may be switched at any time by any
 * thread; an operation that has begun may leave out lines of a level that comes on meanwhile.
 */
class LPMTRIE_API TraceHandle {
public:
    /** The most detailed level. */
    static constexpr U32 highestLevel_ = 9;

    /** Keeps the name, which must live as long: a literal. */
    explicit constexpr TraceHandle(char const* name) noexcept : name_(name) {}
    TraceHandle(TraceHandle const&) = delete;
    TraceHandle& operator=(TraceHandle const&) = delete;

    /** By which levels are switched. */
    char const* name() const noexcept { return name_; }

    /** Whether lines of that level, 0 to 9, are wanted. */
    bool levelOn(U32 level) noexcept {
        if constexpr (!guardsOn) {
            return false;
        }
        return !allOff(1U << level) && levelOnSlowly(level);
    }
    /**
     * Whether lines of one of two levels may be wanted: true at least when `levelOn` is for one of
     * them. An operation asks when it begins; where the answer is false, it need not ask for lines.
     */
    bool mayBeOn(U32 level, U32 other) const noexcept {
        return guardsOn && !allOff(1U << level | 1U << other);
    }
    /** Ignores a level above `highestLevel_`. */
    void levelIs(U32 level, bool on) noexcept;

    /** Builds the line from the pieces, each through its operator<<, and hands it to the sink. */
    template <class... Pieces>
    [[gnu::always_inline]] void line(U32 level, char const* source,
                                     Pieces const&... pieces) noexcept {
        build<Passed<Pieces>...>(level, source, pieces...);
    }

private:
    friend class TraceHandles;
    static constexpr U32 unlisted_ = 1U << 31;

    // By value what can be: whose address is taken would lie in memory while no line is wanted,
    // too.
    template <class Piece>
    using Passed = std::conditional_t<std::is_scalar_v<Piece>, Piece, Piece const&>;

    template <class... Pieces>
    [[gnu::cold, gnu::noinline]] void build(U32 level, char const* source,
                                            Pieces... pieces) noexcept {
        try {
            std::ostringstream text;
            (text << ... << pieces);
            emit(level, source, text.str());
        } catch (...) {
            // A trace must never change what the traced operation does.
        }
    }

    /** Certainly none of the levels whose bits are set is on. */
    bool allOff(U32 levels) const noexcept {
        return (levels_.load(std::memory_order_relaxed) & (unlisted_ | levels)) == 0;
    }
    [[gnu::cold, gnu::noinline]] bool levelOnSlowly(U32 level) noexcept;
    void emit(U32 level, char const* source, String const& text);

    char const* name_;
    TraceHandle* next_ = nullptr;
    std::atomic<U32> levels_{unlisted_};
};

/**
 * Switches levels by text: "LpmTrie/7-9,LpmTrieTypes/9", a handle's name or "*", then "/" and a
 * level or a range; "Name/off" switches all off. Handles that are not there yet find their levels
 * when they come. The environment variable VEXO_TRACE is read so before the first line; a text
 * there that is not right is told on standard error and ignored. Throws RangeException, with
 * nothing switched.
 */
LPMTRIE_API void traceLevelsIs(String const& settings);

/**
 * Replaces the sink and returns the old one, which no other thread is calling any more; an empty
 * one restores the writer to standard error.
 */
LPMTRIE_API TraceSink traceSinkIs(TraceSink sink);

}  // namespace Vexo

/** One trace line. Nothing but the level's test runs while the level is off. */
#define VEXO_TRACE_LINE(handle, level, source, ...)                                                \
    do {                                                                                           \
        if ((handle).levelOn(level)) [[unlikely]] {                                                \
            (handle).line(level, source, __VA_ARGS__);                                             \
        }                                                                                          \
    } while (false)
