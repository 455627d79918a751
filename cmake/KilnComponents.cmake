# Functions for components of games. They are installed with the package KilnTessel.

# kiln_add_component_library(<name> SOURCES <source>... [LINKS <target>...])
#
# Adds the plug-in lib<name>.so. Its static objects register components when it is loaded; `kiln-prefab --load` and
# dlopen load it. Programs do not link it; a program or test that loads it declares the dependency with add_dependencies.
# LINKS names the libraries that the components use; Kiln::object_serialization always is one of them.
function(kiln_add_component_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINKS")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "kiln_add_component_library(${name}): unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
    endif()
    if(NOT arg_SOURCES)
        message(FATAL_ERROR "kiln_add_component_library(${name}): SOURCES names no source")
    endif()
    get_target_property(serialization Kiln::object_serialization ALIASED_TARGET)
    if(NOT serialization)
        set(serialization Kiln::object_serialization)
    endif()
    get_target_property(type ${serialization} TYPE)
    if(type STREQUAL "STATIC_LIBRARY")
        message(FATAL_ERROR "kiln_add_component_library(${name}): plug-ins need shared libraries. Link the components "
            "into the program with kiln_link_components(), or build Kiln Tessel with BUILD_SHARED_LIBS=ON.")
    endif()

    add_library(${name} MODULE ${arg_SOURCES})
    target_include_directories(${name} PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
    target_link_libraries(${name} PRIVATE ${arg_LINKS} Kiln::object_serialization)
    set_target_properties(${name} PROPERTIES PREFIX lib)
    if(KILN_SETS_PLUGIN_OPTIONS)
        kiln_set_shared_object_options(${name})
    endif()
endfunction()

# kiln_link_components(<target> <static library>...)
#
# Links static libraries of components into a program or shared library as a whole. A linker otherwise takes only what
# something refers to, and nothing refers to a static object that registers a component.
function(kiln_link_components target)
    foreach(library IN LISTS ARGN)
        target_link_libraries(${target} PRIVATE "$<LINK_LIBRARY:WHOLE_ARCHIVE,${library}>")
    endforeach()
endfunction()
