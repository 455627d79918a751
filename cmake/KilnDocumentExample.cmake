# kiln_extract_example(<page> <language> <output>)
#
# Writes the first fenced block of the language in a Markdown page to a file, at configure time. A change of the page
# configures the build again. Fails when the page has no such block.

function(kiln_extract_example page language output)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${page}")
    file(READ "${page}" text)

    set(opening "\n```${language}\n")
    string(FIND "${text}" "${opening}" start)
    if(start EQUAL -1)
        message(FATAL_ERROR "kiln_extract_example: ${page} has no example in ${language}")
    endif()
    string(LENGTH "${opening}" opening_length)
    math(EXPR start "${start} + ${opening_length}")
    string(SUBSTRING "${text}" ${start} -1 text)

    string(FIND "${text}" "\n```\n" end)
    if(end EQUAL -1)
        message(FATAL_ERROR "kiln_extract_example: the example in ${page} does not end")
    endif()
    string(SUBSTRING "${text}" 0 ${end} text)

    # The copy keeps the time stamp of an unchanged example, so that nothing is compiled again.
    file(WRITE "${output}.new" "${text}\n")
    file(COPY_FILE "${output}.new" "${output}" ONLY_IF_DIFFERENT)
endfunction()
