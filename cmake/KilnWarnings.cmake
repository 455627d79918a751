# kiln_enable_warnings(<target>)
#
# Compiles the target's own sources with the project's warnings. An interface target carries the options. It is linked
# privately and for the build only, and belongs to no export set.

add_library(kiln_warnings INTERFACE)
target_compile_options(kiln_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    $<$<BOOL:${KILN_WARNINGS_AS_ERRORS}>:-Werror>)

function(kiln_enable_warnings target)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:kiln_warnings>)
endfunction()
