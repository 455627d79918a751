# kiln_add_test(<name>
#     SOURCES <source>...
#     [LINKS <target>...]
#     [DEFINES <NAME[=value]>...]
#     [DEPENDS <target>...])
#
# Makes the GoogleTest program tests/<name> and registers each of its tests with CTest as <name>/<suite>.<test>. It links
# GoogleTest with gmock's main and, where that library exists, test_support. DEPENDS names programs and plug-ins that the
# tests use at run time.
#
# Sources that include <build_paths.h> know three directories: KILN_SOURCE_DIR, KILN_BUILD_BIN_DIR (programs) and
# KILN_BUILD_LIB_DIR (plug-ins). Tests are not optimised, whatever the preset: their code runs once.

find_package(GTest REQUIRED)
include(GoogleTest)

option(KILN_TEST_PCH "Share one precompiled GoogleTest header among all tests" ON)

# Everything that test programs have in common; the precompiled header is only valid for the same definitions.
add_library(kiln_test_options INTERFACE)
target_link_libraries(kiln_test_options INTERFACE GTest::gtest GTest::gmock)
target_compile_options(kiln_test_options INTERFACE -O0)

# A header and not definitions for all: these paths would keep ccache from serving a tree in another place.
file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/generated/tests/build_paths.h" CONTENT [[#pragma once

#define KILN_SOURCE_DIR "@PROJECT_SOURCE_DIR@"
#define KILN_BUILD_BIN_DIR "@CMAKE_RUNTIME_OUTPUT_DIRECTORY@"
#define KILN_BUILD_LIB_DIR "@CMAKE_LIBRARY_OUTPUT_DIRECTORY@"
]] @ONLY)
target_include_directories(kiln_test_options INTERFACE "${PROJECT_BINARY_DIR}/generated/tests")

if(KILN_TEST_PCH)
    file(CONFIGURE OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/kiln_test_pch.cpp" CONTENT "")
    add_library(kiln_test_pch OBJECT "${CMAKE_CURRENT_BINARY_DIR}/kiln_test_pch.cpp")
    target_link_libraries(kiln_test_pch PRIVATE kiln_test_options)
    target_precompile_headers(kiln_test_pch PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
    kiln_enable_warnings(kiln_test_pch)
    # ccache can only tell whether a precompiled header changed with these.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(kiln_test_options INTERFACE -fpch-preprocess)
    elseif(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        target_compile_options(kiln_test_options INTERFACE "SHELL:-Xclang -fno-pch-timestamp")
    endif()
endif()

function(kiln_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS;DEFINES;DEPENDS")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "kiln_add_test(${name}): unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
    endif()
    if(IS_DIRECTORY "${PROJECT_SOURCE_DIR}/tests/${name}")
        message(FATAL_ERROR "kiln_add_test(${name}): the program would have the name of a folder; use ${name}_tests")
    endif()

    add_executable(${name} ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
    target_compile_definitions(${name} PRIVATE ${arg_DEFINES})
    # test_support stands before gmock_main so that a main of its own would take precedence.
    target_link_libraries(${name} PRIVATE
        ${arg_LINKS} $<TARGET_NAME_IF_EXISTS:test_support> kiln_test_options GTest::gmock_main)
    kiln_enable_warnings(${name})
    if(TARGET kiln_test_pch)
        target_precompile_headers(${name} REUSE_FROM kiln_test_pch)
    endif()
    if(arg_DEPENDS)
        add_dependencies(${name} ${arg_DEPENDS})
    endif()

    gtest_discover_tests(${name}
        TEST_PREFIX "${name}/"
        DISCOVERY_MODE PRE_TEST
        DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT 120)
endfunction()
