#include <Vexo/Types.h>

#include <cstdarg>
#include <cstdio>

namespace Vexo {

String formatString(char const* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    int const length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    String text;
    if (length > 0) {
        try {
            text.resize(static_cast<std::size_t>(length));
        } catch (...) {
            va_end(again);
            throw;
        }
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
}

}  // namespace Vexo
