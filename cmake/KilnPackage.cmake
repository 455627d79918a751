# kiln_install_package(<package> COMPONENT <component> EXPORT_SETS <set>... [MODULES <file>...])
#
# Installs the files that find_package(<package>) reads: one targets file for each export set that has libraries, the
# version file, the configuration from cmake/<package>Config.cmake.in, and the modules that it includes. Does not install
# a package without libraries.

include(CMakePackageConfigHelpers)

function(kiln_install_package package)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "COMPONENT" "EXPORT_SETS;MODULES")
    set(destination "${CMAKE_INSTALL_LIBDIR}/cmake/${package}")

    get_property(filled_sets GLOBAL PROPERTY KILN_EXPORT_SETS)
    set(package_is_empty TRUE)
    foreach(set IN LISTS arg_EXPORT_SETS)
        if(set IN_LIST filled_sets)
            set(package_is_empty FALSE)
            install(EXPORT ${set}
                NAMESPACE Kiln::
                FILE ${set}Targets.cmake
                DESTINATION "${destination}"
                COMPONENT ${arg_COMPONENT})
        endif()
    endforeach()
    if(package_is_empty)
        return()
    endif()

    configure_package_config_file(
        "${PROJECT_SOURCE_DIR}/cmake/${package}Config.cmake.in"
        "${PROJECT_BINARY_DIR}/package/${package}Config.cmake"
        INSTALL_DESTINATION "${destination}")
    write_basic_package_version_file(
        "${PROJECT_BINARY_DIR}/package/${package}ConfigVersion.cmake"
        COMPATIBILITY SameMinorVersion)
    install(
        FILES
            "${PROJECT_BINARY_DIR}/package/${package}Config.cmake"
            "${PROJECT_BINARY_DIR}/package/${package}ConfigVersion.cmake"
            ${arg_MODULES}
        DESTINATION "${destination}"
        COMPONENT ${arg_COMPONENT})
endfunction()
