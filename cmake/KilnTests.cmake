# kiln_add_test(<name>
#     SOURCES <source>...
#     [LINKS <target>...]
#     [DEFINES <NAME[=value]>...]
#     [DEPENDS <target>...]
#     [PROCESS_PER_TEST]
#     [SINGLE_THREADED])
#
# Adds the GoogleTest program tests/<name> and registers each of its tests with CTest as <name>/<suite>.<test>, or with
# KILN_TEST_WHOLE_PROGRAMS the program as <name>. The program links GoogleTest with gmock's main and, if that library
# exists, test_support. DEPENDS names programs and plug-ins that the tests use at run time. PROCESS_PER_TEST tests need a
# new process each. SINGLE_THREADED tests are left out of builds with ThreadSanitizer, which could not find anything in
# them: what they test does not start threads, or is tested with threads by another program.
#
# <build_paths.h> defines three directories: KILN_SOURCE_DIR, KILN_BUILD_BIN_DIR (programs) and KILN_BUILD_LIB_DIR
# (plug-ins). Every preset builds the tests without optimisation: most of their code runs once, and they compile faster.

set(KILN_GOOGLETEST_SOURCE "" CACHE PATH
    "Folder of GoogleTest's sources, for compilers that the installed library does not fit; empty for the library")
if(KILN_GOOGLETEST_SOURCE)
    add_subdirectory("${KILN_GOOGLETEST_SOURCE}" googletest EXCLUDE_FROM_ALL)
else()
    find_package(GTest REQUIRED)
endif()
include(GoogleTest)

# With a sanitizer, a process takes longer to start than most tests to run.
option(KILN_TEST_WHOLE_PROGRAMS "Run all tests of a program in one process" OFF)

# The options that all test programs share. The precompiled header is valid only for programs with the same definitions.
add_library(kiln_test_options INTERFACE)
target_link_libraries(kiln_test_options INTERFACE GTest::gtest GTest::gmock)
target_compile_options(kiln_test_options INTERFACE -O0)

# A header instead of definitions on every command line: with the paths in the command lines, ccache could not share the
# results of trees in different directories.
file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/generated/tests/build_paths.h" CONTENT [[#pragma once

#define KILN_SOURCE_DIR "@PROJECT_SOURCE_DIR@"
#define KILN_BUILD_BIN_DIR "@CMAKE_RUNTIME_OUTPUT_DIRECTORY@"
#define KILN_BUILD_LIB_DIR "@CMAKE_LIBRARY_OUTPUT_DIRECTORY@"
]] @ONLY)
target_include_directories(kiln_test_options INTERFACE "${PROJECT_BINARY_DIR}/generated/tests")

if(KILN_PCH)
    file(CONFIGURE OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/kiln_test_pch.cpp" CONTENT "")
    add_library(kiln_test_pch OBJECT "${CMAKE_CURRENT_BINARY_DIR}/kiln_test_pch.cpp")
    target_link_libraries(kiln_test_pch PRIVATE kiln_test_options)
    target_precompile_headers(kiln_test_pch PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
    kiln_enable_warnings(kiln_test_pch)
    target_compile_options(kiln_test_options INTERFACE ${KILN_PCH_OPTIONS})
endif()

function(kiln_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "PROCESS_PER_TEST;SINGLE_THREADED" "" "SOURCES;LINKS;DEFINES;DEPENDS")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "kiln_add_test(${name}): unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
    endif()
    if(IS_DIRECTORY "${PROJECT_SOURCE_DIR}/tests/${name}")
        message(FATAL_ERROR "kiln_add_test(${name}): a folder of tests has this name; use ${name}_tests")
    endif()

    if(arg_SINGLE_THREADED AND KILN_SANITIZE MATCHES "thread")
        return()
    endif()

    add_executable(${name} ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
    target_compile_definitions(${name} PRIVATE ${arg_DEFINES})
    # test_support precedes gmock_main, so that a main function in it would take precedence.
    target_link_libraries(${name} PRIVATE
        ${arg_LINKS} $<TARGET_NAME_IF_EXISTS:test_support> kiln_test_options GTest::gmock_main)
    kiln_enable_warnings(${name})
    kiln_enable_unity(${name})
    if(TARGET kiln_test_pch)
        target_precompile_headers(${name} REUSE_FROM kiln_test_pch)
    endif()
    if(arg_DEPENDS)
        add_dependencies(${name} ${arg_DEPENDS})
    endif()

    if(KILN_TEST_WHOLE_PROGRAMS AND NOT arg_PROCESS_PER_TEST)
        add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
        set_tests_properties(${name} PROPERTIES TIMEOUT 1200)
    else()
        gtest_discover_tests(${name}
            TEST_PREFIX "${name}/"
            DISCOVERY_MODE PRE_TEST
            DISCOVERY_TIMEOUT 60
            PROPERTIES TIMEOUT 120)
    endif()
endfunction()
