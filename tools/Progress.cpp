#include <tools/Progress.h>

#include <unistd.h>

#include <cstdio>

namespace LpmTools {

Progress::Progress(std::string work, unsigned long long total)
    : work_(std::move(work)), total_(total), shown_(::isatty(2) == 1) {}

Progress::~Progress() {
    if (drawn_ != std::chrono::steady_clock::time_point()) {
        std::fputs("\r\033[K", stderr);
    }
}

void Progress::draw() {
    auto const now = std::chrono::steady_clock::now();
    if (now - drawn_ >= std::chrono::milliseconds(100)) {
        drawn_ = now;
        bool const isPart = total_ != 0;
        std::fprintf(stderr, "\r\033[K%s: %llu%s", work_.c_str(),
                     isPart ? done_ * 100 / total_ : done_, isPart ? " %" : "");
    }
}

}  // namespace LpmTools
