#!/usr/bin/env bash
# Measures which lines and branches of src/ the native test programs reach, and prints those that they miss.
#
#   tests/coverage.sh            builds, runs every native test program, prints figures and gaps
#   tests/coverage.sh --report   prints them again from the last run
#
# The figures are those of g++'s counters. A simulated process ends by an exception in the middle of a call, and
# g++ counts each return of a call that may end so; clang's counters book what follows such a call as run. A
# branch is one way out of a condition in the source.
# tests/coverage-exceptions.txt lists what cannot be reached, with the reasons. The status is 0 if nothing else
# is missing.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source cmake/setup.sh

preset=native-coverage
build=build/$preset

measure() {
    cmake --preset "$preset" >"build/$preset.configure.log" 2>&1 || { cat "build/$preset.configure.log"; exit 1; }
    cmake --build --preset "$preset" -j "${COVERAGE_JOBS:-2}"
    find "$build" -name '*.gcda' -delete
    ctest --preset "$preset" -j "${COVERAGE_JOBS:-2}" --no-tests=error
}

mkdir -p build
ensure_packages g++ cmake ninja-build googletest python3
case "${1:-}" in
    "") measure ;;
    --report) ;;
    *) sed -n '2,5s/^# \{0,1\}//p' "$0"; exit 2 ;;
esac
python3 tests/coverage_gaps.py "$build" tests/coverage-exceptions.txt
