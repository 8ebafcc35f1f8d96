#pragma once

/*
 * What the sources of the module "LpmTrie" share: its trace handle, its source name and the
 * statements that use them. Private to this folder's sources. LPM_SASSERT and the hook check take
 * the function's signature from a constant `signature` in scope.
 */

#include <Vexo/FwkType.h>
#include <Vexo/Sassert.h>
#include <Vexo/Trace.h>

namespace LpmTrie {

extern Vexo::FwkModule const lpmTrieModule;

namespace Detail {
extern Vexo::TraceHandle trace;
inline constexpr char const* source = "LpmTrie/LpmTrie";
}  // namespace Detail

}  // namespace LpmTrie

#define LPM_TRACE(level, ...)                                                                      \
    VEXO_TRACE_LINE(::LpmTrie::Detail::trace, level, ::LpmTrie::Detail::source, __VA_ARGS__)

/* One of many lines of a function that has asked once whether any of their levels is on. */
#define LPM_TRACE_IF(traced, ...)                                                                  \
    do {                                                                                           \
        if (traced) [[unlikely]] {                                                                 \
            LPM_TRACE(__VA_ARGS__);                                                                \
        }                                                                                          \
    } while (false)

#define LPM_SASSERT(condition, ...)                                                                \
    VEXO_SASSERT(::LpmTrie::Detail::source, signature, condition, __VA_ARGS__)

/* A hook that changes the trie from inside a change would pull the ground from under its caller. */
#ifdef NDEBUG
#define LPM_ASSERT_NOT_IN_HOOK() static_cast<void>(signature)
#else
#define LPM_ASSERT_NOT_IN_HOOK()                                                                   \
    LPM_SASSERT(!hookRunning_, "a hook must not change the trie that has called it")
#endif
