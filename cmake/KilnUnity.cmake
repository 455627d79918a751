# Compilation of several sources as one unit. Sources that include the same large headers compile in a fraction of the
# time; one by one, fewer of them are compiled again after a change. The sources of a unit share their unnamed namespaces,
# so that names in these must differ.

option(KILN_UNITY "Compile the sources of each test program, and of each folder of the tool, as one unit" ON)

# kiln_enable_unity(<target>)
#
# Compiles all sources of the target as one unit.
function(kiln_enable_unity target)
    if(KILN_UNITY)
        set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 0)
        kiln_permit_shared_namespaces(${target})
    endif()
endfunction()

# kiln_enable_unity_by_folder(<target>)
#
# Compiles the sources in each folder as one unit. To be called in the target's directory, after all sources were added.
function(kiln_enable_unity_by_folder target)
    if(NOT KILN_UNITY)
        return()
    endif()
    get_target_property(sources ${target} SOURCES)
    foreach(source IN LISTS sources)
        if(source MATCHES "\\.cpp$")
            cmake_path(ABSOLUTE_PATH source OUTPUT_VARIABLE file)
            cmake_path(GET file PARENT_PATH folder)
            cmake_path(RELATIVE_PATH folder BASE_DIRECTORY "${PROJECT_SOURCE_DIR}")
            string(MAKE_C_IDENTIFIER "${folder}" group)
            set_source_files_properties("${source}" PROPERTIES UNITY_GROUP "${group}")
        endif()
    endforeach()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    kiln_permit_shared_namespaces(${target})
endfunction()

function(kiln_permit_shared_namespaces target)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
    endif()
endfunction()
