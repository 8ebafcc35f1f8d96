#include <LpmTrie/DescriptorText.h>

#include <fcntl.h>

#include <cstdarg>
#include <cstdio>

namespace LpmTrie {

void printTo(Vexo::U32 socket, char const* format, ...) noexcept {
    auto const file = static_cast<int>(socket);
    // Some C libraries' dprintf loses its buffer on a descriptor that is not open.
    if (::fcntl(file, F_GETFD) == -1) {
        return;
    }
    std::va_list arguments;
    va_start(arguments, format);
    ::vdprintf(file, format, arguments);
    va_end(arguments);
}

}  // namespace LpmTrie
