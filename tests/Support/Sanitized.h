#pragma once

/*
 * LPMTRIE_SANITIZED is 1 in a build with the address or the thread sanitizer, where everything
 * takes several times as long and memory beyond all bounds, else 0. g++ and clang++ tell it
 * differently.
 */

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define LPMTRIE_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define LPMTRIE_SANITIZED 1
#endif
#endif
#ifndef LPMTRIE_SANITIZED
#define LPMTRIE_SANITIZED 0
#endif
