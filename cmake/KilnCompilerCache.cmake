# Compiles through ccache where it is installed. Sharing one precompiled header among the tests needs the two relaxations:
# ccache otherwise refuses every compilation that uses one. With the base directory, and without the build directory in
# the key, a clone in another place finds what this one has compiled.

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
