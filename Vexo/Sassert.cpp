#include <Vexo/Sassert.h>

#undef NDEBUG  // the C library declares its assertion failure only without it
#include <cassert>
#include <cstdio>

namespace Vexo {

SassertHelper::SassertHelper(char const* condition, char const* source, unsigned line,
                             char const* signature) noexcept
    : condition_(condition), source_(source), signature_(signature), line_(line) {
    std::fputs(condition_, stderr);
    std::fflush(stderr);
}

void SassertHelper::write(String const& text) noexcept {
    if (!hasContext_) {
        std::fputs(": ", stderr);
        hasContext_ = true;
    }
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

void SassertHelper::abort() noexcept {
    std::fputc('\n', stderr);
    __assert_fail(condition_, source_, line_, signature_);
}

}  // namespace Vexo
