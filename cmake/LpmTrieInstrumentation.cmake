# lpmtrie_instrumentation: the flags of sanitizer and coverage builds. Every target of ours links it,
# since all of a program has to be instrumented alike.

add_library(lpmtrie_instrumentation INTERFACE)

if(LPMTRIE_SANITIZE)
    target_compile_options(lpmtrie_instrumentation INTERFACE
        -fsanitize=${LPMTRIE_SANITIZE}
        -fno-sanitize-recover=all
        -fno-omit-frame-pointer
        -O1
        -g1)
    target_compile_definitions(lpmtrie_instrumentation INTERFACE _GLIBCXX_ASSERTIONS)
    target_link_options(lpmtrie_instrumentation INTERFACE -fsanitize=${LPMTRIE_SANITIZE})
endif()

if(LPMTRIE_COVERAGE)
    # Atomic counts, or the counts of threads that run side by side get lost.
    target_compile_options(lpmtrie_instrumentation INTERFACE
        --coverage $<$<CXX_COMPILER_ID:GNU>:-fprofile-update=atomic>)
    target_compile_definitions(lpmtrie_instrumentation INTERFACE LPMTRIE_COUNTS_LINES)
    target_link_options(lpmtrie_instrumentation INTERFACE --coverage)
endif()

if(LPMTRIE_FUZZ)
    # Edges are counted everywhere; libFuzzer's main() comes with the targets alone.
    target_compile_options(lpmtrie_instrumentation INTERFACE -fsanitize=fuzzer-no-link)
endif()
