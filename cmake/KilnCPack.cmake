# Packages for Debian and an archive; ./dev packages makes them. Components that are packaged together form a group.

install(FILES README.md CHANGELOG.md SECURITY.md
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/kiln-tessel-doc"
    COMPONENT documentation)
install(DIRECTORY docs
    DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/kiln-tessel-doc"
    COMPONENT documentation
    PATTERN manual EXCLUDE)

set(CPACK_PACKAGE_NAME kiln-tessel)
set(CPACK_PACKAGE_VENDOR "Kiln Tessel")
set(CPACK_PACKAGE_CONTACT "Kiln Tessel <maintainers@kiln-tessel.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/packages/compress_documents.cmake")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# kiln_define_package(<group> NAME <package> SECTION <section> SUMMARY <text> DETAILS <text> COMPONENTS <component>...
#     [DEPENDS <package>...] [HAS_LIBRARIES])
#
# Defines one Debian package. DEPENDS are packages of this project in the same version; those that the linked libraries
# need are found. HAS_LIBRARIES updates the cache of the dynamic linker.
macro(kiln_define_package group)
    cmake_parse_arguments(package "HAS_LIBRARIES" "NAME;SECTION;SUMMARY;DETAILS" "COMPONENTS;DEPENDS" ${ARGN})
    string(TOUPPER "${group}" key)
    list(TRANSFORM package_DEPENDS APPEND " (= ${PROJECT_VERSION})")
    list(JOIN package_DEPENDS ", " CPACK_DEBIAN_${key}_PACKAGE_DEPENDS)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME "${package_NAME}")
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION "${package_SECTION}")
    set(CPACK_DEBIAN_${key}_DESCRIPTION "${package_SUMMARY}\n${package_DETAILS}")
    if(package_HAS_LIBRARIES)
        set(CPACK_DEBIAN_${key}_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/packages/triggers")
    endif()
    foreach(component IN LISTS package_COMPONENTS)
        string(TOUPPER "${component}" component_key)
        set(CPACK_COMPONENT_${component_key}_GROUP ${group})
    endforeach()
    list(APPEND CPACK_COMPONENTS_ALL ${package_COMPONENTS})

    list(GET package_COMPONENTS 0 first_component)
    set(documents "${CMAKE_INSTALL_DATADIR}/doc/${package_NAME}")
    install(FILES cmake/packages/copyright DESTINATION "${documents}" COMPONENT ${first_component})
    install(FILES cmake/packages/changelog.Debian
        RENAME changelog
        DESTINATION "${documents}"
        COMPONENT ${first_component})
endmacro()

set(CPACK_COMPONENTS_ALL)
kiln_define_package(libraries
    NAME libkiln-tessel${KILN_SOVERSION}
    SECTION libs
    SUMMARY "prefab asset loading for component-based game objects (libraries)"
    DETAILS "Reads prefab files, expands nested prefabs with overrides, and creates\ngame objects. These are the shared libraries of the module, of the\nstreaming layer above it and of the reference platform."
    COMPONENTS product platform
    HAS_LIBRARIES)
kiln_define_package(development
    NAME libkiln-tessel-dev
    SECTION libdevel
    SUMMARY "prefab asset loading for component-based game objects (development)"
    DETAILS "Headers, CMake packages and pkg-config files of the Kiln Tessel libraries."
    COMPONENTS product-dev platform-dev tools-dev
    DEPENDS libkiln-tessel${KILN_SOVERSION} kiln-prefab)
kiln_define_package(tools
    NAME kiln-prefab
    SECTION devel
    SUMMARY "command-line tool for prefab files"
    DETAILS "Checks, explains, compares, merges, rewrites, packs and loads prefab\nfiles of the Kiln Tessel libraries."
    COMPONENTS tools
    DEPENDS libkiln-tessel${KILN_SOVERSION}
    HAS_LIBRARIES)
kiln_define_package(documentation
    NAME kiln-tessel-doc
    SECTION doc
    SUMMARY "prefab asset loading for component-based game objects (documents)"
    DETAILS "The documents of the Kiln Tessel libraries and of kiln-prefab."
    COMPONENTS documentation)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)

include(CPack)
