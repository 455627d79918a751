#!/usr/bin/env bash
# Checks that libraries and programs are hardened (cmake/KilnHardening.cmake). Arguments: files; those behind
# "--with-buffer-checks" must also call checked functions of the C library, which not every file has a reason to do.
set -u

status=0
needs_buffer_checks=false

# require <file> <what is missing> <pattern> <readelf option>
require() {
    if ! readelf --wide "$4" "$1" | grep -q "$3"; then
        echo "$1: $2"
        status=1
    fi
}

[[ $# -gt 0 ]] || { echo "no files"; exit 1; }
for file in "$@"; do
    if [[ $file == --with-buffer-checks ]]; then
        needs_buffer_checks=true
        continue
    fi
    require "$file" "relocated data stays writable" GNU_RELRO --program-headers
    require "$file" "symbols are not bound at the start" 'FLAGS_1.*NOW' --dynamic
    require "$file" "no function checks its stack" __stack_chk_fail --dyn-syms
    ! $needs_buffer_checks || require "$file" "no call checks the size of its buffer" '_chk@' --dyn-syms
done
exit "$status"
