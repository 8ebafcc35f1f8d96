# Everything a builder can choose. The presets are ready-made choices of these.

option(LPMTRIE_WERROR "Treat the warnings of our own targets as errors" ${PROJECT_IS_TOP_LEVEL})
option(LPMTRIE_BUILD_TOOLS "Build the lpmtrie command" ${PROJECT_IS_TOP_LEVEL})
option(LPMTRIE_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(LPMTRIE_BUILD_BENCHMARKS "Build the benchmark" OFF)
option(LPMTRIE_INSTALL "Make rules for installing and packaging" ${PROJECT_IS_TOP_LEVEL})
option(LPMTRIE_COVERAGE "Count the lines and branches that run" OFF)
option(LPMTRIE_FUZZ "Link the fuzz targets with libFuzzer, which needs clang++" OFF)
set(LPMTRIE_SANITIZE "" CACHE STRING "Argument of -fsanitize=, or empty")

if(LPMTRIE_BUILD_TESTS AND NOT LPMTRIE_BUILD_TOOLS AND PROJECT_IS_TOP_LEVEL)
    message(FATAL_ERROR "LPMTRIE_BUILD_TESTS needs LPMTRIE_BUILD_TOOLS")
endif()

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
