#pragma once

#include <Vexo/RangeException.h>
#include <Vexo/Trace.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <ostream>
#include <string_view>
#include <vector>

namespace TestSupport {

struct CapturedLine {
    Vexo::String handle;
    Vexo::U32 level;
    Vexo::String source;
    Vexo::String text;

    bool operator==(CapturedLine const&) const = default;
};

/** "LpmTrie/8 LpmTrie/LpmTrieTypes: text" for the handle LpmTrie, level 8. */
inline std::ostream& operator<<(std::ostream& stream, CapturedLine const& line) {
    return stream << line.handle << '/' << line.level << ' ' << line.source << ": " << line.text;
}

/**
 * Switches trace levels on, by the text that `traceLevelsIs` takes, and collects all lines instead
 * of having them written. Its end brings the sink back, and the levels of the handles it named to
 * what the environment and the captures that still live have asked for. Captures may be nested: the
 * innermost receives. Several threads may trace; captures are made and ended by one thread.
 */
class TraceCapture {
public:
    explicit TraceCapture(Vexo::String settings = "*/0-9") : settings_(std::move(settings)) {
        Vexo::traceLevelsIs(settings_);  // first: it throws when the text is wrong
        active().push_back(this);
        previous_ = Vexo::traceSinkIs([this](Vexo::TraceLine const& line) { add(line); });
    }
    ~TraceCapture() {
        Vexo::traceSinkIs(std::move(previous_));
        std::erase(active(), this);
        switchOff();
        if (char const* const environment = std::getenv("VEXO_TRACE")) {
            try {
                Vexo::traceLevelsIs(environment);
            } catch (Vexo::RangeException const&) {
                // Has had no effect at the start of the process either.
            }
        }
        for (TraceCapture const* capture : active()) {
            Vexo::traceLevelsIs(capture->settings_);
        }
    }
    TraceCapture(TraceCapture const&) = delete;
    TraceCapture& operator=(TraceCapture const&) = delete;

    std::vector<CapturedLine> lines() const {
        std::lock_guard const lock(mutex_);
        return lines_;
    }
    /** The texts alone, without handle, level and source. */
    std::vector<Vexo::String> texts() const {
        return textsOf([](CapturedLine const&) { return true; });
    }
    std::vector<Vexo::String> texts(std::string_view handle) const {
        return textsOf([&](CapturedLine const& line) { return line.handle == handle; });
    }
    std::vector<Vexo::String> texts(std::string_view handle, Vexo::U32 level) const {
        return textsOf(
            [&](CapturedLine const& line) { return line.handle == handle && line.level == level; });
    }
    /** Forgets the lines collected so far. */
    void clear() {
        std::lock_guard const lock(mutex_);
        lines_.clear();
    }

private:
    static std::vector<TraceCapture*>& active() {
        static std::vector<TraceCapture*> captures;
        return captures;
    }

    void add(Vexo::TraceLine const& line) {
        std::lock_guard const lock(mutex_);
        lines_.push_back({Vexo::String(line.handle), line.level, Vexo::String(line.source),
                          Vexo::String(line.text)});
    }

    template <class Predicate>
    std::vector<Vexo::String> textsOf(Predicate const& predicate) const {
        std::lock_guard const lock(mutex_);
        std::vector<Vexo::String> texts;
        for (CapturedLine const& line : lines_) {
            if (predicate(line)) {
                texts.push_back(line.text);
            }
        }
        return texts;
    }

    void switchOff() const {
        std::string_view rest = settings_;
        while (!rest.empty()) {
            Vexo::traceLevelsIs(Vexo::String(rest.substr(0, rest.find('/'))) + "/off");
            rest.remove_prefix(std::min(rest.find(','), rest.size() - 1) + 1);
        }
    }

    Vexo::String settings_;
    Vexo::TraceSink previous_;
    mutable std::mutex mutex_;
    std::vector<CapturedLine> lines_;
};

}  // namespace TestSupport
