# kiln_harden(<target>)
#
# Compiles a library, plug-in or program with checks of buffer sizes and of the stack, and maps its relocated data
# read-only before it runs. Only in optimised builds: the checks of buffer sizes need the optimiser, and sanitizers check
# the same. The test "hardening" looks at the results.

function(kiln_harden target)
    if(KILN_SANITIZE)
        return()
    endif()
    set(is_optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
    # A compiler may define another level itself.
    target_compile_options(${target} PRIVATE
        $<${is_optimised}:-U_FORTIFY_SOURCE>
        $<${is_optimised}:-D_FORTIFY_SOURCE=2>
        $<${is_optimised}:-fstack-protector-strong>)
    target_link_options(${target} PRIVATE
        $<${is_optimised}:LINKER:-z,relro>
        $<${is_optimised}:LINKER:-z,now>)
endfunction()
