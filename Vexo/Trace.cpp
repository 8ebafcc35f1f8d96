#include <Vexo/RangeException.h>
#include <Vexo/Strep.h>
#include <Vexo/Trace.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <vector>

namespace Vexo {

namespace {

struct Setting {
    String handle;  // "*" for every handle
    U32 levels;     // bit set
    bool on;
};

/** "7", "7-9" or "off" as a bit set of levels; "off" names all of them. */
Setting readSetting(CharRange& range) {
    Setting setting{{}, 0, true};
    auto const isOfName = [](char c) { return c > ' ' && c <= '~' && c != '/' && c != ','; };
    for (; isOfName(range.front()); range.advance(1)) {
        setting.handle += range.front();
    }
    if (setting.handle.empty()) {
        range.fail("a trace handle's name, a slash and levels");
    }
    range.needString("/");
    if (range.consume("off")) {
        return {setting.handle, (1U << (TraceHandle::highestLevel_ + 1)) - 1, false};
    }
    auto const first = static_cast<U32>(sequenceToNumber(range, TraceHandle::highestLevel_));
    U32 last = first;
    if (range.consume("-")) {
        last = static_cast<U32>(sequenceToNumber(range, TraceHandle::highestLevel_));
    }
    if (last < first) {
        range.fail("a last level that is not below the first");
    }
    setting.levels = ((1U << (last + 1)) - 1) & ~((1U << first) - 1);
    return setting;
}

std::vector<Setting> readSettings(String const& text) {
    std::vector<Setting> settings;
    CharRange range(text);
    for (bool more = !range.empty(); more;) {
        settings.push_back(readSetting(range));
        more = !range.empty();
        if (more) {
            range.needString(",");
        }
    }
    return settings;
}

void writeToStandardError(TraceLine const& line) {
    String text(line.source);
    text += formatString(" %.*s/%u: ", static_cast<int>(line.handle.size()), line.handle.data(),
                         line.level);
    text += line.text;
    text += '\n';
    std::fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace

/** The list of handles, the settings made so far and the sink; one for the process. */
class TraceHandles {
public:
    static TraceHandles& instance() {
        // Deliberate: never destroyed, other statics may trace while the process ends.
        static auto& handles = *new TraceHandles;
        return handles;
    }

    void list(TraceHandle& handle) {
        std::lock_guard const lock(mutex_);
        if ((handle.levels_.load(std::memory_order_relaxed) & TraceHandle::unlisted_) == 0) {
            return;
        }
        handle.next_ = first_;
        first_ = &handle;
        U32 levels = 0;
        for (Setting const& setting : settings_) {
            if (concerns(setting, handle)) {
                levels = setting.on ? levels | setting.levels : levels & ~setting.levels;
            }
        }
        // At once: a thread that finds the handle listed must find all of its levels.
        handle.levels_.store(levels, std::memory_order_relaxed);
    }

    void settingsAre(std::vector<Setting> settings) {
        std::lock_guard const lock(mutex_);
        settings_.reserve(settings_.size() + settings.size());
        for (Setting& setting : settings) {
            for (TraceHandle* handle = first_; handle != nullptr; handle = handle->next_) {
                apply(setting, *handle);
            }
            std::erase_if(settings_, [&](Setting const& old) {
                return old.handle == setting.handle && old.levels == setting.levels;
            });
            settings_.push_back(std::move(setting));
        }
    }

    void deliver(TraceLine const& line) {
        std::lock_guard const lock(sinkMutex_);
        auto const sink = sink_;  // kept, should it replace itself
        (*sink)(line);
    }

    TraceSink sinkIs(TraceSink sink) {
        if (!sink) {
            sink = writeToStandardError;
        }
        auto next = std::make_shared<TraceSink const>(std::move(sink));
        std::lock_guard const lock(sinkMutex_);
        sink_.swap(next);
        return *next;
    }

private:
    TraceHandles() : sink_(std::make_shared<TraceSink const>(writeToStandardError)) {
        char const* const text = std::getenv("VEXO_TRACE");
        if (text == nullptr) {
            return;
        }
        try {
            settings_ = readSettings(text);
        } catch (RangeException const& error) {
            std::fprintf(stderr, "VEXO_TRACE: %s\n", error.what());
        }
    }

    static bool concerns(Setting const& setting, TraceHandle const& handle) noexcept {
        return setting.handle == "*" || setting.handle == handle.name();
    }

    static void apply(Setting const& setting, TraceHandle& handle) noexcept {
        if (concerns(setting, handle)) {
            if (setting.on) {
                handle.levels_.fetch_or(setting.levels, std::memory_order_relaxed);
            } else {
                handle.levels_.fetch_and(~setting.levels, std::memory_order_relaxed);
            }
        }
    }

    std::mutex mutex_;
    TraceHandle* first_ = nullptr;
    std::vector<Setting> settings_;
    std::recursive_mutex sinkMutex_;  // recursive: a sink may trace, and may replace itself
    std::shared_ptr<TraceSink const> sink_;
};

bool TraceHandle::levelOnSlowly(U32 level) noexcept {
    if ((levels_.load(std::memory_order_relaxed) & unlisted_) != 0) {
        try {
            TraceHandles::instance().list(*this);
        } catch (...) {
            return false;
        }
    }
    return (levels_.load(std::memory_order_relaxed) & (1U << level)) != 0;
}

void TraceHandle::levelIs(U32 level, bool on) noexcept {
    if (level > highestLevel_) {
        return;
    }
    levelOn(level);  // enters the handle into the list, so that later settings do not undo this one
    if (on) {
        levels_.fetch_or(1U << level, std::memory_order_relaxed);
    } else {
        levels_.fetch_and(~(1U << level), std::memory_order_relaxed);
    }
}

void TraceHandle::emit(U32 level, char const* source, String const& text) {
    TraceHandles::instance().deliver(TraceLine{name_, level, source, text});
}

void traceLevelsIs(String const& settings) {
    TraceHandles::instance().settingsAre(readSettings(settings));
}

TraceSink traceSinkIs(TraceSink sink) {
    return TraceHandles::instance().sinkIs(std::move(sink));
}

}  // namespace Vexo
