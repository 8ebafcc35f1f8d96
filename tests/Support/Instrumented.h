#pragma once

/*
 * LPMTRIE_INSTRUMENTED is 1 in a build with the address or the thread sanitizer, where everything
 * takes several times as long and memory beyond all bounds, in one that counts the lines that run,
 * and in one for a foreign machine, which runs in emulation; else 0. g++ and clang++ tell it
 * differently.
 */

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) ||                               \
    defined(LPMTRIE_COUNTS_LINES) || defined(LPMTRIE_EMULATED)
#define LPMTRIE_INSTRUMENTED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define LPMTRIE_INSTRUMENTED 1
#endif
#endif
#ifndef LPMTRIE_INSTRUMENTED
#define LPMTRIE_INSTRUMENTED 0
#endif
