# kiln_add_library(<name>
#     [HEADERS <header>...]
#     [SOURCES <source>...]
#     [PUBLIC_LINKS <target>...]
#     [PRIVATE_LINKS <target>...]
#     [ANCHORS <symbol>...])
#
# Adds the library kiln_<name> with the alias Kiln::<name>, shared or static as BUILD_SHARED_LIBS says. Call it from the
# folder <name>.
#
# HEADERS are the public headers. They are included and installed relative to the parent folder (<core/log.h>), and the
# target all_verify_interface_header_sets compiles each of them alone. List internal headers with the sources.
# <name>/export.h is generated and defines KILN_<NAME>_EXPORT.
#
# ANCHORS are symbols of the sources that register something while the program starts. A linker takes only those objects
# out of a static library that define a symbol that the program needs, and some linkers drop shared libraries that define
# none; each program that links the library therefore needs its anchors, or keeps all shared libraries that it links.
#
# The caller controls installation with two variables: KILN_EXPORT_SET, the export set of the library, and
# KILN_INSTALL_COMPONENT. Headers, links to the newest version and the files of build systems belong to the component
# ${KILN_INSTALL_COMPONENT}-dev.

include(GenerateExportHeader)
include(KilnPkgConfig)

option(KILN_VERIFY_HEADERS "Provide all_verify_interface_header_sets, which compiles each public header alone" OFF)

set(KILN_GENERATED_DIR "${PROJECT_BINARY_DIR}/generated")

# Before version 1, a minor version may change the interface.
set(KILN_SOVERSION "${PROJECT_VERSION_MAJOR}")
if(PROJECT_VERSION_MAJOR EQUAL 0)
    string(APPEND KILN_SOVERSION ".${PROJECT_VERSION_MINOR}")
endif()

# kiln_set_shared_object_options(<target>)
#
# Sets the options that libraries and plug-ins have in common. A shared object is never unmapped, because type ids, type
# names and component operations that it registered are in use until the process ends.
function(kiln_set_shared_object_options target)
    target_link_options(${target} PRIVATE LINKER:-z,nodelete)
    # Undefined symbols fail the link, so a library must link all of its dependencies. clang links its sanitizer
    # runtimes into the executable only, so their symbols stay undefined in a shared object.
    if(NOT KILN_SANITIZE)
        target_link_options(${target} PRIVATE LINKER:-z,defs)
    endif()
    # Lets g++ inline a library's own exported functions, as clang does. The dynamic linker can still bind calls between
    # libraries to another definition.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
    kiln_harden(${target})
    kiln_enable_warnings(${target})
endfunction()

function(kiln_set_static_library_options target macro_prefix)
    # A game can link the library into a shared object of its own.
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    target_compile_definitions(${target} PUBLIC ${macro_prefix}_STATIC_DEFINE)
    kiln_harden(${target})
    kiln_enable_warnings(${target})
endfunction()

# kiln_keep_registrations(<target> <anchor>...): see ANCHORS above. Static libraries end in programs, but also in shared
# libraries of a game.
function(kiln_keep_registrations target)
    set(type "$<TARGET_PROPERTY:TYPE>")
    set(is_program "$<STREQUAL:${type},EXECUTABLE>")
    if(ARGN AND KILN_LIBRARY_TYPE STREQUAL "SHARED")
        target_link_options(${target} INTERFACE "$<${is_program}:LINKER:--no-as-needed>")
        return()
    endif()
    set(is_linked "$<OR:${is_program},$<STREQUAL:${type},SHARED_LIBRARY>,$<STREQUAL:${type},MODULE_LIBRARY>>")
    foreach(anchor IN LISTS ARGN)
        target_link_options(${target} INTERFACE "$<${is_linked}:LINKER:--undefined=${anchor}>")
    endforeach()
endfunction()

function(kiln_install_library target)
    install(TARGETS ${target}
        EXPORT ${KILN_EXPORT_SET}
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
            COMPONENT ${KILN_INSTALL_COMPONENT}
            NAMELINK_COMPONENT ${KILN_INSTALL_COMPONENT}-dev
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${KILN_INSTALL_COMPONENT}-dev
        FILE_SET HEADERS DESTINATION "${KILN_INSTALL_INCLUDEDIR}" COMPONENT ${KILN_INSTALL_COMPONENT}-dev)
    set_property(GLOBAL APPEND PROPERTY KILN_EXPORT_SETS ${KILN_EXPORT_SET})
endfunction()

function(kiln_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS;SOURCES;PUBLIC_LINKS;PRIVATE_LINKS;ANCHORS")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "kiln_add_library(${name}): unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
    endif()
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR FILENAME folder)
    if(NOT folder STREQUAL name)
        message(FATAL_ERROR "kiln_add_library(${name}): a library must have the name of its folder, ${folder}")
    endif()
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR PARENT_PATH include_root)
    string(TOUPPER "KILN_${name}" macro_prefix)

    # The prefix keeps short names such as "core" free for the project that this one is a part of.
    set(target kiln_${name})
    add_library(${target} ${KILN_LIBRARY_TYPE})
    add_library(Kiln::${name} ALIAS ${target})

    set(export_header "${KILN_GENERATED_DIR}/${name}/export.h")
    generate_export_header(${target}
        BASE_NAME ${macro_prefix}
        EXPORT_FILE_NAME "${export_header}")

    target_sources(${target}
        PRIVATE ${arg_SOURCES}
        PUBLIC FILE_SET HEADERS
            BASE_DIRS "${include_root}" "${KILN_GENERATED_DIR}"
            FILES ${arg_HEADERS} "${export_header}")
    target_link_libraries(${target} PUBLIC ${arg_PUBLIC_LINKS} PRIVATE ${arg_PRIVATE_LINKS})
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_target_properties(${target} PROPERTIES
        EXPORT_NAME ${name}
        VERSION ${PROJECT_VERSION}
        SOVERSION ${KILN_SOVERSION}
        VERIFY_INTERFACE_HEADER_SETS ${KILN_VERIFY_HEADERS})
    if(KILN_LIBRARY_TYPE STREQUAL "SHARED")
        kiln_set_shared_object_options(${target})
    else()
        kiln_set_static_library_options(${target} ${macro_prefix})
    endif()
    kiln_keep_registrations(${target} ${arg_ANCHORS})

    if(KILN_INSTALL AND KILN_EXPORT_SET)
        kiln_install_library(${target})
        kiln_install_pkg_config(${target}
            LINKS ${arg_PUBLIC_LINKS} PRIVATE_LINKS ${arg_PRIVATE_LINKS} ANCHORS ${arg_ANCHORS})
    endif()
endfunction()
