# lpmtrie_warnings: the warnings our own targets are compiled with. Linked privately, so that no
# client of the library inherits them.

add_library(lpmtrie_warnings INTERFACE)

target_compile_options(lpmtrie_warnings INTERFACE
    -Wall
    -Wextra
    -Wpedantic
    -Wcast-align
    -Wcast-qual
    -Wconversion
    -Wdouble-promotion
    -Wextra-semi
    -Wformat=2
    -Wimplicit-fallthrough
    -Wmissing-declarations
    -Wnon-virtual-dtor
    -Wnull-dereference
    -Wold-style-cast
    -Woverloaded-virtual
    -Wshadow
    -Wsign-conversion
    -Wundef
    -Wvla
    $<$<BOOL:${LPMTRIE_WERROR}>:-Werror>)

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(lpmtrie_warnings INTERFACE
        -Wduplicated-branches
        -Wduplicated-cond
        -Wlogical-op
        -Wredundant-decls
        -Wsuggest-override)
    if(CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        # GCC bug 105651: false alarm on `"text" + std::string` once it is inlined.
        target_compile_options(lpmtrie_warnings INTERFACE -Wno-restrict)
    endif()
elseif(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(lpmtrie_warnings INTERFACE
        -Wcomma
        -Winconsistent-missing-destructor-override
        -Wloop-analysis
        -Wnewline-eof
        -Wsuggest-override
        -Wunreachable-code
        -Wunused-member-function)
endif()
