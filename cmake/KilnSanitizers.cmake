# Sanitizer and coverage instrumentation applies to all targets of this tree. It uses directory options, because options
# of a target could reach its interface and thereby an installed package.

if(KILN_SANITIZE)
    add_compile_options(-fsanitize=${KILN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${KILN_SANITIZE})
endif()

if(KILN_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic) # Several threads count.
    add_link_options(--coverage)
endif()
