#pragma once

#include <chrono>
#include <string>

namespace LpmTools {

/**
 * Tells on a terminal's standard error how far long work has come; silent when that is no terminal.
 * The line is wiped at the end.
 */
class Progress {
public:
    /** Of a `total` of 0, which is one that is not known, it tells the steps instead of a part. */
    Progress(std::string work, unsigned long long total);
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;
    ~Progress();

    /** One more of `total` is done. */
    void step() {
        if (shown_ && (++done_ & 0xfffU) == 0) [[unlikely]] {
            draw();
        }
    }

private:
    void draw();

    std::string const work_;
    unsigned long long const total_;
    unsigned long long done_ = 0;
    bool const shown_;
    std::chrono::steady_clock::time_point drawn_;
};

}  // namespace LpmTools
