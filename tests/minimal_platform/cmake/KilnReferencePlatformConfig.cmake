# Answers the product's two requests for a platform (see shared_libs/CMakeLists.txt). The targets are imported ones, as
# those of libraries that were built elsewhere would be; behind them stand libraries of the same build.

set(minimal_platform "${CMAKE_CURRENT_LIST_DIR}/..")

if(NOT TARGET Kiln::core)
    add_subdirectory("${minimal_platform}/base" minimal_platform/base)
    foreach(name IN ITEMS core common resource variant reflection)
        add_library(Kiln::${name} INTERFACE IMPORTED GLOBAL)
        target_link_libraries(Kiln::${name} INTERFACE minimal_base)
    endforeach()
endif()
set(KilnReferencePlatform_base_FOUND TRUE)

if("framework" IN_LIST KilnReferencePlatform_FIND_COMPONENTS)
    add_subdirectory("${minimal_platform}/framework" minimal_platform/framework)
    foreach(name IN ITEMS object_framework object_serialization generic_components)
        add_library(Kiln::${name} INTERFACE IMPORTED GLOBAL)
        target_link_libraries(Kiln::${name} INTERFACE minimal_framework)
    endforeach()
    set(KilnReferencePlatform_framework_FOUND TRUE)
endif()
