#pragma once

/*
 * LPMTRIE_EMULATED is 1 in a build that runs in emulation, which is slow, bounds no memory and
 * begins no program anew; else 0.
 *
 * LPMTRIE_INSTRUMENTED is 1 there, in a build with the address or the thread sanitizer, where
 * everything takes several times as long and memory beyond all bounds, and in one that counts the
 * lines that run; else 0. g++ and clang++ tell it differently.
 */

#ifndef LPMTRIE_EMULATED
#define LPMTRIE_EMULATED 0
#endif

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) ||                               \
    defined(LPMTRIE_COUNTS_LINES) || LPMTRIE_EMULATED
#define LPMTRIE_INSTRUMENTED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define LPMTRIE_INSTRUMENTED 1
#endif
#endif
#ifndef LPMTRIE_INSTRUMENTED
#define LPMTRIE_INSTRUMENTED 0
#endif
