#!/usr/bin/env bash
# run_target.sh <target> <seconds>: runs a target of the preset `fuzz` over the kept inputs, then fuzzes it. Prints one
# line with the result and appends it to build/fuzz/report.txt. Inputs that reach new code go to
# build/fuzz/corpus/<target>, inputs that fail to build/fuzz/failures/<target>. Exit status 1 after a failure.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
target=$1
seconds=$2

build=build/fuzz
program=$build/bin/fuzz_$target
failures=$build/failures/$target
log=$build/logs/$target.log
mkdir -p "$build/corpus/$target" "$failures" "$build/logs"

case $target in
    scalars) max_len=256 ;;
    properties) max_len=1024 ;;
    overrides | document) max_len=4096 ;;
    *) max_len=16384 ;;
esac

# Short stacks and a small quarantine make small allocations faster. The default scheduling of libFuzzer costs more time
# than these targets; an even one runs more inputs.
export ASAN_OPTIONS=malloc_context_size=4:quarantine_size_mb=16:detect_leaks=1
export UBSAN_OPTIONS=print_stacktrace=1
options=(-timeout=10 -rss_limit_mb=2048 -max_len="$max_len" -artifact_prefix="$failures/" -verbosity=1)

# stat <name>: a figure that libFuzzer prints at the end.
stat() {
    sed -nE "s/^stat::$1: +([0-9]+)/\1/p" "$log" | tail -1
}

fail() {
    echo "$target: FAILED, see $log; input in $failures" | tee -a "$build/report.txt"
    grep -E '^(this does not hold|assertion failed|SUMMARY)|ERROR: ' "$log" | head -5
    exit 1
}

"$program" "${options[@]}" -runs=0 "fuzz/corpus/$target" "fuzz/regressions/$target" >"$log" 2>&1 || fail
if [[ $seconds -gt 0 ]]; then
    "$program" "${options[@]}" -max_total_time="$seconds" -entropic=0 -print_final_stats=1 -dict=fuzz/dictionary.txt \
        "$build/corpus/$target" "fuzz/corpus/$target" "fuzz/regressions/$target" "$build/seeds/$target" \
        >"$log" 2>&1 || fail
fi

read -r inputs well_formed messages < <(
    sed -nE "s/^$target: ([0-9]+) inputs, ([0-9]+) of them well formed, ([0-9]+) log messages/\1 \2 \3/p" "$log" | tail -1)
printf '%-14s %10d executions in %4d s, %3d %% well formed, %9d log messages, %s edges, peak %s MB\n' \
    "$target" "$inputs" "$seconds" $((well_formed * 100 / inputs)) "$messages" \
    "$(sed -nE 's/^#[0-9]+.* cov: ([0-9]+) .*/\1/p' "$log" | tail -1)" "$(stat peak_rss_mb)" | tee -a "$build/report.txt"
