#!/usr/bin/env bash
# Measures which lines and branches of src/ the native test programs reach, and prints those that they miss.
#
#   tests/coverage.sh            builds, runs every native test program, prints figures and gaps
#   tests/coverage.sh --report   prints them again from the last run
#
# The figures are those of clang's source-based coverage: a branch is one side of one condition in the
# source; code that the compiler adds (clean-up after an exception, guards) has none.
# tests/coverage-exceptions.txt lists what cannot be reached, with the reasons. The status is 0 if nothing else
# is missing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source cmake/setup.sh

preset=native-coverage
build=build/$preset
profiles=$PWD/$build/profiles

measure() {
    cmake --preset "$preset" >"build/$preset.configure.log" 2>&1 || { cat "build/$preset.configure.log"; exit 1; }
    cmake --build --preset "$preset" -j "${COVERAGE_JOBS:-2}"
    rm -rf "$profiles"
    LLVM_PROFILE_FILE=$profiles/%p.profraw ctest --preset "$preset" -j "${COVERAGE_JOBS:-2}" --no-tests=error
    llvm-profdata-14 merge -sparse "$profiles"/*.profraw -o "$build/coverage.profdata"
}

# Counts of every line, and of both sides of every condition.
export_counts() {
    local programs=() program
    while read -r program; do
        programs+=(${programs[0]:+-object} "$(find "$build/tests" -type f -name "$program" -perm -u+x)")
    done < <(ctest --test-dir "$build" -N | sed -n 's/^ *Test *#[0-9]*: \(.*\)$/\1/p')
    local options=(-instr-profile "$build/coverage.profdata" -ignore-filename-regex='/usr/|/tests/|/simulation/')
    llvm-cov-14 export -format=lcov "${programs[@]}" "${options[@]}" >"$build/coverage.lcov"
    llvm-cov-14 export -format=text "${programs[@]}" "${options[@]}" >"$build/coverage.json"
}

mkdir -p build
ensure_packages g++ clang cmake ninja-build googletest libclang-rt-14-dev llvm-14 python3
case "${1:-}" in
    "") measure ;;
    --report) ;;
    *) sed -n '2,5s/^# \{0,1\}//p' "$0"; exit 2 ;;
esac
export_counts
python3 tests/coverage_gaps.py "$build/coverage.lcov" "$build/coverage.json" tests/coverage-exceptions.txt
