#!/usr/bin/env bash
# Builds the fuzz targets and runs them, two at a time, each with its corpus and the inputs that earlier runs
# kept in build/. Prints a table at the end; the status is 1 if a target found something.
#
#   tests/fuzz/run.sh [seconds] [target...]      by default 600 seconds each, and all targets
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
source cmake/setup.sh

all_targets=(property_reader substitution paths user_properties platform_xml formatter argument_expansion whole_start
             explain_check explain_log)
seconds=${1:-600}
targets=("${@:2}")
[ "${#targets[@]}" -gt 0 ] || targets=("${all_targets[@]}")
programs=build/native-fuzz/tests/fuzz
work=build/fuzz

build_targets() {
    ensure_packages g++ cmake ninja-build googletest clang libclang-rt-14-dev
    mkdir -p "$work"
    cmake --preset native-fuzz >"$work/configure.log" 2>&1 || { cat "$work/configure.log"; exit 1; }
    nice cmake --build --preset native-fuzz -j 2 --target "${targets[@]/#/fuzz_}"
}

# Only one thread of a simulated machine runs at any time, and changing threads is faster on one processor.
pin_to() {
    local processor=$(($1 % $(nproc)))
    shift
    if taskset -c "$processor" true 2>/dev/null; then
        taskset -c "$processor" "$@"
    else
        "$@"
    fi
}

# A finding is written to build/fuzz/<target>/ as crash-*, timeout-* or oom-*, and described at the end of the log.
run_target() {
    local target=$1 processor=$2
    echo "running $target for $seconds seconds"
    mkdir -p "$work/$target/found"
    rm -f "$work/$target/"{crash,timeout,oom,slow-unit}-*
    if ASAN_OPTIONS=malloc_context_size=4:quarantine_size_mb=32 pin_to "$processor" nice "$programs/fuzz_$target" \
        -max_total_time="$seconds" -timeout=60 -rss_limit_mb=3000 -max_len=8192 -print_final_stats=1 \
        -dict="tests/fuzz/$target.dict" -artifact_prefix="$work/$target/" \
        "$work/$target/found" "tests/fuzz/corpus/$target" >"$work/$target.log" 2>&1; then
        echo "holds" >"$work/$target.result"
    else
        echo "FOUND" >"$work/$target.result"
    fi
}

# One processor runs every second target, the other one the rest.
run_every_second() {
    local first=$1 i
    for ((i = first; i < ${#targets[@]}; i += 2)); do
        run_target "${targets[i]}" "$first"
    done
}

stat_of() { sed -n "s/^stat::$2: *//p" "$work/$1.log"; }

print_table() {
    local target features status=0
    printf '%-20s %6s %10s %8s %10s %8s\n' target result runs "runs/s" features "peak MB"
    for target in "${targets[@]}"; do
        features=$(sed -n 's/.* ft: \([0-9]*\).*/\1/p' "$work/$target.log" | tail -n 1)
        printf '%-20s %6s %10s %8s %10s %8s\n' "$target" "$(cat "$work/$target.result")" \
            "$(stat_of "$target" number_of_executed_units)" "$(stat_of "$target" average_exec_per_sec)" \
            "${features:--}" "$(stat_of "$target" peak_rss_mb)"
        if [ "$(cat "$work/$target.result")" != holds ]; then
            grep -aE 'check failed|ERROR:|runtime error|simulation:|Assertion' "$work/$target.log" | head -n 3 || true
            ls "$work/$target/"{crash,timeout,oom}-* 2>/dev/null || true
            status=1
        fi
    done
    return "$status"
}

build_targets
rm -f "$work"/*.result
run_every_second 0 &
run_every_second 1 &
wait
print_table
