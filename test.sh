#!/usr/bin/env bash
# Builds everything and runs every test; ends with "N passed, N failed".
#
#   ./test.sh            all of it
#   ./test.sh --native   only what needs neither the cross compiler nor Wine
#   ./test.sh --long     all of it, then whole runs of what the tests sample: every fault and every stop, a
#                        million races, every start that zelexplain can explain; also the benchmarks, the fuzz
#                        targets, coverage and mutations. Takes hours.
#   ./test.sh --package  only the packages: makes them twice and compares them, and tries signature, test kit and
#                        installer under Wine. Takes longer than all of it.
#   ./test.sh --load     only the programs under Wine, three times beside four busy loops. Takes half an hour.
#   ./test.sh --lint     clang-tidy over the whole tree instead of the tests. Takes long.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source cmake/setup.sh

native_packages=(g++ cmake ninja-build googletest clang clang-format libclang-rt-14-dev libcli11-dev
    nlohmann-json3-dev python3 python3-jsonschema chromium)
windows_packages=(g++-mingw-w64-x86-64-posix wine64 librsvg2-bin icoutils)

passed=0
failed=0
skipped=0

say() { printf '\n== %s\n' "$*"; }

# The skipped tests of a program with their reasons.
list_skipped() {
    sed -nE '/<testcase /{s/.*testcase name="([^"]*)".* classname="([^"]*)".*/\2.\1/;h}
        /<skipped message=/{s/.*&#x0A;([^"]*)".*/\1/;H;x;s/^(.*)\n/    skipped: \1: /;p}' "$1"
}

# Adds the results of a preset's test programs. A program without results did not finish: one failure.
count_results() {
    local preset=$1 program file
    while read -r program; do
        file=build/$preset/results/$program.xml
        if [ ! -s "$file" ]; then
            echo "$preset: $program did not finish"
            failed=$((failed + 1))
            continue
        fi
        local tests failures disabled omitted
        tests=$(sed -n 's/.*<testsuites tests="\([0-9]*\)".*/\1/p' "$file" | head -n 1)
        failures=$(sed -n 's/.*<testsuites .*failures="\([0-9]*\)".*/\1/p' "$file" | head -n 1)
        disabled=$(sed -n 's/.*<testsuites .*disabled="\([0-9]*\)".*/\1/p' "$file" | head -n 1)
        omitted=$(grep -c '<skipped' "$file" || true)
        echo "$preset: $program: $tests tests, $failures failed, $((omitted + disabled)) skipped"
        list_skipped "$file"
        passed=$((passed + tests - failures - omitted - disabled))
        failed=$((failed + failures))
        skipped=$((skipped + omitted + disabled))
    done < <(ctest --test-dir "build/$preset" -N | sed -n 's/^ *Test *#[0-9]*: \(.*\)$/\1/p')
}

build_preset() {
    local preset=$1
    say "preset $preset: building"
    cmake --preset "$preset" >"build/$preset.configure.log" 2>&1 || { cat "build/$preset.configure.log"; exit 1; }
    cmake --build --preset "$preset"
}

# Runs all test programs, also after one has failed.
run_preset() {
    local preset=$1 jobs=$2
    rm -rf "build/$preset/results" "build/$preset/explained"
    ctest --preset "$preset" -j "$jobs" --no-tests=error || true
}

test_preset() {
    local preset=$1 jobs=$2
    build_preset "$preset"
    say "preset $preset: testing"
    run_preset "$preset" "$jobs"
    count_results "$preset"
}

# Runs the programs under Wine, which mostly wait, while the native presets are built and tested.
begin_windows_tests() {
    say "preset windows: testing in the background"
    run_preset windows 1 >build/windows.test.log 2>&1 &
    windows_tests=$!
}

end_windows_tests() {
    say "preset windows: tested"
    wait "$windows_tests"
    cat build/windows.test.log
    count_results windows
}

check_format() {
    say "checking the format of the sources"
    if git ls-files -co --exclude-standard '*.h' '*.cpp' | xargs clang-format --dry-run -Werror; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
    fi
}

check_layers() {
    say "checking the layers of the sources"
    if ./cmake/check-layers.sh; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
    fi
}

# The product is two programs. They may import only the two libraries that every Windows loads from its own
# directory, whatever lies beside the program. They may not use the standard library's streams, which cost
# start-up time and bring locales.
check_product() {
    say "checking the imports of the product"
    local headers strangers stacks
    headers=$(x86_64-w64-mingw32-objdump -p build/windows/zellauncher.exe build/windows/zellauncherw.exe)
    strangers=$(sed -n 's/.*DLL Name: //p' <<<"$headers" | grep -viE '^(kernel32|msvcrt)\.dll$' || true)
    # Supervising a platform that crashes at every start needs a deep stack.
    stacks=$(grep -c 'SizeOfStackReserve.*10000000$' <<<"$headers" || true)
    if [ -z "$strangers" ] && [ "$stacks" -eq 2 ] && ! grep -rnE '#include <(iostream|sstream|fstream|ostream|istream|locale|regex|format)>' src; then
        passed=$((passed + 1))
    else
        echo "the product may not import: $strangers (stacks of the right size: $stacks, expected 2)"
        failed=$((failed + 1))
    fi
}

# The page in headless Chromium, and the JSON of every start that the native tests explained.
check_explanations() {
    say "checking the page and the JSON of zelexplain"
    measure python3 tests/explain/page_check.py build/native/zelexplain
    measure python3 tests/explain/schema_check.py build/native/zelexplain build/native/explained
}

# Runs the commands of the guide for integrators.
try_guide() {
    say "trying docs/integration.md"
    if [ "$has_real_platform" = no ]; then
        skipped=$((skipped + 1))
    elif ./tests/realplatform/try-guide.sh; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
    fi
}

lint() {
    ensure_packages "${native_packages[@]}" clang-tidy clang-tools
    mkdir -p build
    cmake --preset native-asan >build/lint.configure.log 2>&1
    say "clang-tidy over the sources of the native build"
    run-clang-tidy -quiet -p build/native-asan "$PWD/(src|simulation|explain|tests)/.*" 2>/dev/null
}

# Runs a command whose status says if the measurement passed.
measure() {
    say "$*"
    if "$@"; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
    fi
}

# The contract suite for Windows, in programs that stop at undefined behaviour.
run_trapping_contract() {
    cmake --preset windows-ubsan >build/windows-ubsan.configure.log 2>&1 &&
        cmake --build build/windows-ubsan --target contract >build/windows-ubsan.build.log 2>&1 &&
        ./cmake/wine-run.sh build/windows-ubsan/tests/contract.exe --gtest_brief=1
}

run_long() {
    ensure_packages python3 lld llvm
    export ZELLAUNCHER_LONG=1
    measure build/native/tests/reliability/faults --gtest_brief=1
    measure build/native/tests/reliability/stops --gtest_brief=1
    measure build/native/tests/schedules/schedules --gtest_brief=1
    measure env -C build/native tests/explain/explained_stories --gtest_brief=1
    unset ZELLAUNCHER_LONG
    measure env -C build/windows ZELLAUNCHER_EXPLAIN=1 "$PWD/cmake/wine-run.sh" tests/endtoend/endtoend.exe --gtest_brief=1
    measure python3 tests/explain/benchmark.py build/native/zelexplain
    measure python3 tests/explain/log_benchmark.py build/native/zelexplain
    measure run_trapping_contract
    measure tests/fuzz/run.sh 600
    measure tests/coverage.sh
    measure tests/mutation/run.sh --jobs 2
}

# The packages of this checkout, and the installer and the test kit that are built from them. The kit must have the
# same counts as the tests here.
run_package() {
    local unpacked=build/package/unpacked version
    version=$(sed -n 's/^project(zellauncher VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
    ensure_packages "${windows_packages[@]}" googletest cmake ninja-build libcli11-dev nlohmann-json3-dev g++
    mkdir -p build
    measure ./package.sh
    measure packaging/compare-builds.sh
    measure packaging/try-changelog.sh
    measure packaging/try-signature.sh "$unpacked/zellauncher-$version-win64"
    measure packaging/try-branding.sh
    ZELEXPLAIN=$PWD/$unpacked/zelexplain-$version-linux-x64/zelexplain \
        measure packaging/try-installer.sh "$unpacked/zellauncher-$version-win64"
    build_preset windows
    run_preset windows 1
    measure packaging/try-kit.sh "dist/zellauncher-$version-windows-tests.zip"
    say "result"
    echo "$passed passed, $failed failed"
    [ "$failed" -eq 0 ]
}

# A loaded machine delays everything; no test may depend on how much.
run_load() {
    ensure_packages "${windows_packages[@]}" googletest cmake ninja-build
    mkdir -p build
    ./cmake/real-platform.sh || say "the real platform is unavailable, so its tests are skipped"
    build_preset windows
    busy_loops=()
    trap 'kill "${busy_loops[@]}"' EXIT
    for _ in 1 2 3 4; do
        while :; do :; done &
        busy_loops+=($!)
    done
    local round
    for round in 1 2 3; do
        say "preset windows: testing beside busy loops, $round of 3"
        run_preset windows 1
        count_results windows
    done
    say "result"
    echo "$passed passed, $failed failed, $skipped skipped"
    [ "$failed" -eq 0 ]
}

mode=${1:-}
case "$mode" in
    "" | --native | --long) ;;
    --package) run_package; exit ;;
    --load) run_load; exit ;;
    --lint) lint; exit ;;
    *) sed -n '2,12s/^# \{0,1\}//p' "$0"; exit 2 ;;
esac

mkdir -p build
has_real_platform=no
if [ "$mode" = --native ]; then
    ensure_packages "${native_packages[@]}"
else
    ensure_packages "${native_packages[@]}" "${windows_packages[@]}"
    say "building the real platform"
    if ./cmake/real-platform.sh; then
        has_real_platform=yes
    fi
    build_preset windows
    begin_windows_tests
fi
check_format
check_layers
test_preset native 2
check_explanations
test_preset native-asan 2
if [ "$mode" != --native ]; then
    end_windows_tests
    check_product
    measure python3 tests/explain/wine_check.py build/native/zelexplain build/windows/zelexplain.exe
    try_guide
fi
[ "$mode" != --long ] || run_long

say "result"
if [ "$mode" != --native ] && [ "$has_real_platform" = no ]; then
    echo "The real platform is unavailable, so its tests and the guide were skipped."
fi
if [ "$skipped" -gt 0 ]; then
    echo "$passed passed, $failed failed, $skipped skipped"
else
    echo "$passed passed, $failed failed"
fi
[ "$failed" -eq 0 ]
