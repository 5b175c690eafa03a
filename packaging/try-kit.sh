#!/usr/bin/env bash
# try-kit.sh KIT.zip: runs the test kit under Wine, unpacked into a path with blanks and letters outside Latin-1, and
# compares its counts with those of CTest in build/windows, which have to be there. Succeeds if every suite has the same
# counts, and the report has the results.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source cmake/setup.sh
ensure_packages unzip python3
archive=$(realpath "$1")
drive=$PWD/build/wine/drive_c
place="$drive/Kit zażółć 漢字"
wine=$PWD/cmake/wine-run.sh
results=build/kit
export LC_ALL=C.UTF-8

"$wine" cmd /c ver >/dev/null 2>&1
rm -rf "$place" "$results"
mkdir -p "$place" "$results"
unzip -q "$archive" -d "$place"
kit=$(find "$place" -mindepth 1 -maxdepth 1 -type d)

# Under Wine every user is an administrator, and administrators are not supervised. Without this library the launcher
# cannot know. Wine takes the variable only from outside.
run() {
    local overrides=$1 output=$results/$2
    shift 2
    (cd "$kit" && WINEDLLOVERRIDES=$overrides "$wine" cmd /c run-tests.cmd "$@" </dev/null 2>/dev/null) |
        tr -d '\r' >"$output" || true
    cat "$output"
    [ -f "$kit/report.zip" ] || { echo "there is no report"; exit 1; }
    unzip -q -o "$kit/report.zip" -d "$results/report"
    python3 -m zipfile --test "$kit/report.zip"
}

run '' ordinary.txt contract endtoend endtoend_windowless realplatform
run netapi32= supervised.txt endtoend_supervision realplatform_supervision
rm -rf "$place"

# The result of a suite as "tests failures skipped", from a report of GoogleTest.
counts() {
    sed -n 's/.*<testsuites tests="\([0-9]*\)" failures="\([0-9]*\)".*/\1 \2/p' "$1" | head -n 1 | tr '\n' ' '
    grep -c '<skipped' "$1" || true
}

status=0
for suite in contract endtoend endtoend_windowless endtoend_supervision realplatform realplatform_supervision; do
    here=$(counts "build/windows/results/$suite.xml")
    there=$(counts "$results/report/$suite.xml")
    echo "$suite: $there"
    [ "$here" = "$there" ] || { echo "  but in build/windows: $here"; status=1; }
done
[ -z "$(find "$drive/ProgramData" -maxdepth 1 -name 'zellauncher-tests-*')" ] || { echo "files were left"; status=1; }
exit "$status"
