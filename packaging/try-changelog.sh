#!/usr/bin/env bash
# Succeeds if package.sh refuses a version that CHANGELOG.md does not name, does not name first, or that is not the highest.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -r package.sh cmake packaging CMakeLists.txt CHANGELOG.md "$work/"

# refuses CASE MESSAGE
refuses() {
    local output
    if output=$("$work/package.sh" 2>&1) || ! grep -q "$2" <<<"$output"; then
        printf 'not refused: %s\n%s\n' "$1" "$output"
        exit 1
    fi
    [ ! -e "$work/dist" ] || { echo "something was made"; exit 1; }
}

set_version() { sed -i "s/^project(zellauncher VERSION [0-9.]*/project(zellauncher VERSION $1/" "$work/CMakeLists.txt"; }

set_version 1.9.9.9
refuses "a version without an entry" "CHANGELOG.md does not begin with this release"
printf '\n## 1.9.9.9 (2027-01-01)\n' >>"$work/CHANGELOG.md"
refuses "a version that is not the newest entry" "CHANGELOG.md does not begin with this release"
sed -i '0,/^## /s//## 1.10.0.0 (2027-02-01)\n\n## /' "$work/CHANGELOG.md"
set_version 1.10.0.0
refuses "an older entry with a version in between" "do not rise from release to release"
