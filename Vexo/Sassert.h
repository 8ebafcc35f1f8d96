#pragma once

#include <Vexo/Types.h>

#include <sstream>

namespace Vexo {

/**
 * Reports a failed fatal assertion and ends the process.
 *
 * The condition's text is written to standard error at once, before any context piece is looked at:
 * a piece that describes a broken object may fail in its own turn, and the first failure must not
 * be lost. The pieces follow in order, each through its operator<<. Then comes the C library's
 * standard assertion failure with the condition, the module's source name, the line and the
 * function's signature, and SIGABRT.
 */
class LPMTRIE_API SassertHelper {
public:
    /** Writes the condition. All four texts are literals; VEXO_SASSERT passes them. */
    [[gnu::cold, gnu::noinline]] SassertHelper(char const* condition, char const* source,
                                               unsigned line, char const* signature) noexcept;

    /** Writes the pieces and ends the process. */
    template <class... Pieces>
    [[noreturn, gnu::cold, gnu::noinline]] void fail(Pieces const&... pieces) noexcept {
        (add(pieces), ...);
        abort();
    }

private:
    template <class Piece>
    void add(Piece const& piece) noexcept {
        try {
            std::ostringstream text;
            text << piece;
            write(text.str());
        } catch (...) {
            write("(?)");
        }
    }

    void write(String const& text) noexcept;
    [[noreturn]] void abort() noexcept;

    char const* condition_;
    char const* source_;
    char const* signature_;
    unsigned line_;
    bool hasContext_ = false;
};

}  // namespace Vexo

/**
 * Fatal assertion, in release builds too. The text that is reported is the condition as it stands
 * in the source; `source` names the module and `signature` the function, both as literals, so that
 * the message is the same under every compiler.
 */
#define VEXO_SASSERT(source, signature, condition, ...)                                            \
    do {                                                                                           \
        if (!(condition)) [[unlikely]] {                                                           \
            ::Vexo::SassertHelper(#condition, source, __LINE__, signature).fail(__VA_ARGS__);      \
        }                                                                                          \
    } while (false)
