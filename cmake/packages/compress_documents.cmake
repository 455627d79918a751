# Compresses the manual pages and changelogs of Debian packages before CPack packs the files that it has
# installed into a folder of its own.

if(NOT CPACK_GENERATOR STREQUAL "DEB")
    return()
endif()

file(GLOB_RECURSE documents "${CPACK_TEMPORARY_DIRECTORY}/*.1" "${CPACK_TEMPORARY_DIRECTORY}/*/changelog")
list(FILTER documents INCLUDE REGEX "/(man1/[^/]*\\.1|changelog)$")
foreach(document IN LISTS documents)
    execute_process(COMMAND gzip -9 --no-name "${document}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
