# Sanitizer and coverage instrumentation apply to everything that is built in this tree. They are directory options, not
# target options, so they cannot reach the interface of a target and from there an installed package.

if(KILN_SANITIZE)
    add_compile_options(-fsanitize=${KILN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${KILN_SANITIZE})
endif()

if(KILN_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic) # Workers count too.
    add_link_options(--coverage)
endif()
