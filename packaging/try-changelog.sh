#!/usr/bin/env bash
# Succeeds if package.sh refuses a version that CHANGELOG.md does not name, or does not name first.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r package.sh cmake packaging CMakeLists.txt CHANGELOG.md "$work/"

refuses() {
    local output
    if output=$("$work/package.sh" 2>&1) || ! grep -q 'CHANGELOG.md does not begin with this release' <<<"$output"; then
        echo "not refused: $1"
        exit 1
    fi
    [ ! -e "$work/dist" ] || { echo "something was made"; exit 1; }
}

sed -i 's/^project(zellauncher VERSION [0-9.]*/project(zellauncher VERSION 1.9.9.9/' "$work/CMakeLists.txt"
refuses "a version without an entry"
printf '\n## 1.9.9.9 (2027-01-01)\n' >>"$work/CHANGELOG.md"
refuses "a version that is not the newest entry"
