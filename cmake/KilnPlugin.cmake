# kiln_add_component_library(<name> SOURCES <source>... [LINKS <target>...])
#
# Adds the plug-in lib/lib<name>.so. Its static objects register components when dlopen loads it. Programs do not link
# it; a test or sample that loads it declares the dependency with add_dependencies or DEPENDS.

function(kiln_add_component_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "kiln_add_component_library(${name}): unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
    endif()

    add_library(${name} MODULE ${arg_SOURCES})
    target_include_directories(${name} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
    target_link_libraries(${name} PRIVATE ${arg_LINKS})
    set_target_properties(${name} PROPERTIES PREFIX lib)
    kiln_set_shared_object_options(${name})
endfunction()
