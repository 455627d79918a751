# kiln_add_library(<name>
#     [HEADERS <header>...]
#     [SOURCES <source>...]
#     [PUBLIC_LINKS <target>...]
#     [PRIVATE_LINKS <target>...])
#
# Adds the shared library <name> with the alias Kiln::<name> and the file name libkiln_<name>.so. Call it from the
# folder <name>.
#
# HEADERS are the public headers. They are included and installed relative to the parent folder (<core/log.h>), and the
# target all_verify_interface_header_sets compiles each of them alone. List internal headers with the sources.
# <name>/export.h is generated and defines KILN_<NAME>_EXPORT.
#
# The caller controls installation with two variables: KILN_EXPORT_SET, the export set of the library, and
# KILN_INSTALL_COMPONENT.

include(GenerateExportHeader)

option(KILN_VERIFY_HEADERS "Provide all_verify_interface_header_sets, which compiles each public header alone" OFF)

set(KILN_GENERATED_DIR "${PROJECT_BINARY_DIR}/generated")
set(KILN_INSTALL_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/kiln")

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

function(kiln_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS;SOURCES;PUBLIC_LINKS;PRIVATE_LINKS")
    if(arg_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "kiln_add_library(${name}): unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
    endif()
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR FILENAME folder)
    if(NOT folder STREQUAL name)
        message(FATAL_ERROR "kiln_add_library(${name}): a library must have the name of its folder, ${folder}")
    endif()
    cmake_path(GET CMAKE_CURRENT_SOURCE_DIR PARENT_PATH include_root)
    string(TOUPPER "KILN_${name}" macro_prefix)

    add_library(${name} SHARED)
    add_library(Kiln::${name} ALIAS ${name})

    set(export_header "${KILN_GENERATED_DIR}/${name}/export.h")
    generate_export_header(${name}
        BASE_NAME ${macro_prefix}
        EXPORT_FILE_NAME "${export_header}")

    target_sources(${name}
        PRIVATE ${arg_SOURCES}
        PUBLIC FILE_SET HEADERS
            BASE_DIRS "${include_root}" "${KILN_GENERATED_DIR}"
            FILES ${arg_HEADERS} "${export_header}")
    target_link_libraries(${name} PUBLIC ${arg_PUBLIC_LINKS} PRIVATE ${arg_PRIVATE_LINKS})
    target_compile_features(${name} PUBLIC cxx_std_20)
    set_target_properties(${name} PROPERTIES
        OUTPUT_NAME kiln_${name}
        VERIFY_INTERFACE_HEADER_SETS ${KILN_VERIFY_HEADERS})
    kiln_set_shared_object_options(${name})

    if(KILN_EXPORT_SET)
        install(TARGETS ${name}
            EXPORT ${KILN_EXPORT_SET}
            LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${KILN_INSTALL_COMPONENT}
            FILE_SET HEADERS DESTINATION "${KILN_INSTALL_INCLUDEDIR}" COMPONENT ${KILN_INSTALL_COMPONENT})
        set_property(GLOBAL APPEND PROPERTY KILN_EXPORT_SETS ${KILN_EXPORT_SET})
    endif()
endfunction()
