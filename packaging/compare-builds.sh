#!/usr/bin/env bash
# Makes the packages once more, from a copy of the checkout in a directory of another name and length, on another day,
# in another time zone, language and umask and without a compiler cache, and compares them with those in dist/. Succeeds
# if every byte is the same.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source cmake/setup.sh
ensure_packages faketime
copy=$(mktemp -d)/another-name-of-the-checkout
clean_up() {
    WINEPREFIX=$copy/build/wine /usr/lib/wine/wineserver -k 2>/dev/null || true
    WINEPREFIX=$copy/build/wine /usr/lib/wine/wineserver -w 2>/dev/null || true
    rm -rf "$(dirname "$copy")"
}
trap clean_up EXIT

unset CMAKE_CXX_COMPILER_LAUNCHER CMAKE_C_COMPILER_LAUNCHER ZELLAUNCHER_SIGN_PKCS12 ZELLAUNCHER_SIGN_CA_FILE
mkdir -p "$copy/build"
git ls-files -z -co --exclude-standard | tar -c --null --files-from=- | tar -x -C "$copy"
cp -r build/parts "$copy/build/" 2>/dev/null || true # fetched by checksum
# The same bytes need no second check.
printf '#!/bin/sh\n' >"$copy/packaging/check.sh"
(
    umask 077
    export TZ=Pacific/Auckland LC_ALL=C
    # At the real time, because it starts Wine.
    "$copy/cmake/real-platform.sh" || true
    # Times of files and waits stay real, so that the build sees what is up to date.
    NO_FAKE_STAT=1 FAKETIME_DONT_FAKE_MONOTONIC=1 faketime -f +400d "$copy/package.sh"
) >"$copy/package.log" 2>&1 || { tail -n 40 "$copy/package.log"; exit 1; }

status=0
for file in dist/*; do
    cmp "$file" "$copy/$file" || status=1
done
[ "$(ls dist)" = "$(ls "$copy/dist")" ] || status=1
[ "$status" -eq 0 ] || { mkdir -p build/package/other && cp "$copy"/dist/* build/package/other/; }
exit "$status"
