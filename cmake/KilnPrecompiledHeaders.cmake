# Precompiled headers of GoogleTest, which all tests include.

option(KILN_PCH "Precompile the headers of GoogleTest" ON)

# ccache needs these options to detect that a precompiled header has changed.
set(KILN_PCH_OPTIONS "$<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>"
    "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>")
