#!/usr/bin/env bash
# try-kit.sh KIT.zip: runs the test kit under Wine, unpacked into a path with blanks and letters outside Latin-1, and
# compares its counts with those of CTest in build/windows, which have to be there. Succeeds if every suite except
# `guard` has the same counts, and the report has the results.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source cmake/setup.sh
ensure_packages unzip python3
archive=$(realpath "$1")
wine=$PWD/cmake/wine-run.sh
results=build/kit
status=0
export LC_ALL=C.UTF-8

# run PREFIX OVERRIDES NAME SUITE...: runs these suites in a Wine prefix, with these libraries replaced.
run() {
    local drive=$PWD/build/$1/drive_c overrides=$2 output=$results/$3.txt place kit
    place="$drive/Kit zażółć 漢字"
    export ZELLAUNCHER_WINE_PREFIX=$1
    shift 3
    WINEDLLOVERRIDES=$overrides "$wine" cmd /c ver >/dev/null 2>&1
    # A desktop of an earlier call may still be there.
    WINEPREFIX=$PWD/build/$ZELLAUNCHER_WINE_PREFIX /usr/lib/wine/wineserver -w
    rm -rf "$place"
    mkdir -p "$place"
    unzip -q "$archive" -d "$place"
    kit=$(find "$place" -mindepth 1 -maxdepth 1 -type d)
    (cd "$kit" && WINEDLLOVERRIDES=$overrides "$wine" cmd /c run-tests.cmd "$@" </dev/null 2>/dev/null) |
        tr -d '\r' >"$output" || true
    cat "$output"
    [ -f "$kit/report.zip" ] || { echo "there is no report"; exit 1; }
    unzip -q -o "$kit/report.zip" -d "$results/report"
    python3 -m zipfile --test "$kit/report.zip"
    [ -z "$(find "$drive/ProgramData" -maxdepth 1 -name 'zellauncher-tests-*')" ] || { echo "files were left"; status=1; }
    rm -rf "$place"
}

rm -rf "$results"
mkdir -p "$results"
# What CTest sets for these suites: under Wine every user is an administrator, and administrators are not supervised;
# without netapi32 the launcher cannot know. The kiosk needs a registry of its own. Wine takes the variable only from
# outside.
run wine-kit '' ordinary contract endtoend endtoend_windowless endtoend_explained realplatform
run wine-kit netapi32= supervised endtoend_supervision realplatform_supervision
run wine-kiosk 'winemenubuilder.exe=d;explorer.exe=n' kiosk kiosk

# The result of a suite as "tests failures skipped", from a report of GoogleTest.
counts() {
    sed -n 's/.*<testsuites tests="\([0-9]*\)" failures="\([0-9]*\)".*/\1 \2/p' "$1" | head -n 1 | tr '\n' ' '
    grep -c '<skipped' "$1" || true
}

# The kit lacks one suite: `guard` compares the programs with files of the source tree.
suites=$(ctest --test-dir build/windows -N --exclude-regex '^guard$' | sed -n 's/^ *Test *#[0-9]*: \(.*\)$/\1/p')
for suite in $suites; do
    here=$(counts "build/windows/results/$suite.xml")
    there=$(counts "$results/report/$suite.xml")
    echo "$suite: $there"
    echo "$there" >>"$results/counts"
    if [ -z "$here" ] || [ "$here" != "$there" ]; then
        echo "  but in build/windows: $here"
        status=1
    fi
done
# What a user sees is the sum of it.
counted=$(awk '{ passed += $1 - $2 - $3; failed += $2; skipped += $3 } END { print passed, failed, skipped }' \
    "$results/counts")
printed=$(cat "$results"/*.txt | awk '/^[0-9]+ passed, [0-9]+ failed, [0-9]+ skipped$/ { a += $1; b += $3; c += $5 }
    END { print a, b, c }')
[ "$counted" = "$printed" ] || { echo "printed: $printed, counted: $counted"; status=1; }
exit "$status"
