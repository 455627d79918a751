# kiln_add_program(<name> SOURCES <source>... [LINKS <target>...] [DEPENDS <target>...] [INSTALL])
#
# Adds the program bin/<name>. DEPENDS names plug-ins that the program loads at run time. INSTALL installs the program
# with the tools.

function(kiln_add_program name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "INSTALL" "" "SOURCES;LINKS;DEPENDS")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "kiln_add_program(${name}): unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
    endif()

    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE ${arg_LINKS})
    kiln_harden(${name})
    kiln_enable_warnings(${name})
    if(arg_DEPENDS)
        add_dependencies(${name} ${arg_DEPENDS})
    endif()
    if(arg_INSTALL AND KILN_INSTALL)
        install(TARGETS ${name} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
    endif()
endfunction()
