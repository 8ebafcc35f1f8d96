# How this project makes its libraries and its tests.

# lpmtrie_library(<name> [SOURCES <file>...] [EXCLUDE <file>...] [DEPENDS <target>...])
#
# A static library of these sources of the current folder, or else of all, known to others as LpmTrie::<name>.
# Its headers are reached from the project's root, as in `#include <Vexo/Ptr.h>`. A folder of
# headers alone becomes an interface library.
function(lpmtrie_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;EXCLUDE;DEPENDS")
    if(arg_SOURCES)
        set(sources ${arg_SOURCES})
    else()
        file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
    endif()
    file(GLOB headers CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.h")
    foreach(file IN LISTS arg_EXCLUDE)
        list(REMOVE_ITEM sources "${CMAKE_CURRENT_SOURCE_DIR}/${file}")
    endforeach()

    if(sources)
        add_library(${name} STATIC ${sources})
        # A shared library for scripts is linked from the same objects.
        set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
        target_link_libraries(${name} PRIVATE
            $<BUILD_INTERFACE:lpmtrie_warnings>
            $<BUILD_INTERFACE:lpmtrie_instrumentation>)
        set(scope PUBLIC)
    else()
        add_library(${name} INTERFACE)
        set(scope INTERFACE)
    endif()
    add_library(LpmTrie::${name} ALIAS ${name})
    set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
    target_compile_features(${name} ${scope} cxx_std_20)
    target_sources(${name} ${scope}
        FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${headers})
    target_link_libraries(${name} ${scope} ${arg_DEPENDS})
endfunction()

# lpmtrie_test(<name> [SHARDS <count>] [THREADS_USE <file>...] DEPENDS <target>...)
#
# A GoogleTest program of all the sources of the current folder, entered with CTest as <count>
# shards that can run side by side: thousands of cases would be slow as a process each.
#
# Where the folder has sources named *Threads*.cpp, the cases with "Threads" in their names run in
# one entry of their own with the label "threads", which is what a thread sanitizer build runs; it
# compiles these sources alone, and those that they use. An entry that finds no case to run fails.
function(lpmtrie_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "SHARDS" "DEPENDS;THREADS_USE")
    if(NOT arg_SHARDS)
        set(arg_SHARDS 1)
    endif()
    file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp")
    file(GLOB threadSources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*Threads*.cpp")
    if(LPMTRIE_SANITIZE STREQUAL "thread")
        set(sources ${threadSources})
        if(threadSources)
            list(APPEND sources ${arg_THREADS_USE})
        endif()
    endif()
    if(NOT sources)
        return()
    endif()

    add_executable(${name} ${sources})
    target_link_libraries(${name} PRIVATE ${arg_DEPENDS} TestSupport GTest::gtest_main)
    if(LPMTRIE_COVERAGE)
        target_sources(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests/coverage/CountsAtEnd.cpp")
        target_link_options(${name} PRIVATE -Wl,--wrap=_exit)
    endif()
    if(CMAKE_CROSSCOMPILING)
        target_sources(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests/Support/emulated/QuietAtEnd.cpp")
    endif()
    set_target_properties(${name} PROPERTIES CXX_EXTENSIONS OFF)
    target_precompile_headers(${name} REUSE_FROM lpmtrie_test_headers)

    set(filter "*")
    if(threadSources)
        set(filter "-*Threads*")
        add_test(NAME ${name}.Threads COMMAND ${name} --gtest_brief=1 "--gtest_filter=*Threads*")
        set_tests_properties(${name}.Threads PROPERTIES
            LABELS threads
            FAIL_REGULAR_EXPRESSION "\\] 0 tests from")
        if(TARGET thread_tests)
            add_dependencies(thread_tests ${name})
        endif()
    endif()
    lpmtrie_test_shards(${name} ${name} ${arg_SHARDS} "${filter}")
endfunction()

# lpmtrie_test_shards(<program> <entry> <count> <filter> [<variable>=<value>...])
#
# Enters a test program's cases with CTest as <entry>.<number>of<count>.
function(lpmtrie_test_shards program entry count filter)
    foreach(number RANGE 1 ${count})
        math(EXPR index "${number} - 1")
        set(shard ${entry}.${number}of${count})
        add_test(NAME ${shard} COMMAND ${program} --gtest_brief=1 "--gtest_filter=${filter}")
        set_tests_properties(${shard} PROPERTIES
            ENVIRONMENT "GTEST_TOTAL_SHARDS=${count};GTEST_SHARD_INDEX=${index};${ARGN}")
        if(index EQUAL 0)
            # Cases are dealt out in turn: where the first shard gets none, there are none.
            set_tests_properties(${shard} PROPERTIES FAIL_REGULAR_EXPRESSION "\\] 0 tests from")
        endif()
    endforeach()
endfunction()
