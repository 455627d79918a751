# Compiles through ccache if it is installed. The tests share a precompiled header; without the two relaxations ccache
# would cache no compilation that uses one. The base directory makes paths relative, and NOHASHDIR leaves the build
# directory out of the key, so that clones in different directories share their results.

find_program(KILN_CCACHE_PROGRAM ccache)
mark_as_advanced(KILN_CCACHE_PROGRAM)

if(KILN_CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER
        "${CMAKE_COMMAND}" -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros
        "CCACHE_BASEDIR=${CMAKE_SOURCE_DIR}"
        CCACHE_NOHASHDIR=1
        "${KILN_CCACHE_PROGRAM}")
endif()
