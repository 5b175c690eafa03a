#!/usr/bin/env bash
# Makes the packages once more, from a copy of the checkout in a directory of another name and length, in another
# time zone, language and umask and without a compiler cache, and compares them with those in dist/. Succeeds if
# every byte is the same.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
copy=$(mktemp -d)/another-name-of-the-checkout
clean_up() {
    WINEPREFIX=$copy/build/wine /usr/lib/wine/wineserver -k 2>/dev/null || true
    WINEPREFIX=$copy/build/wine /usr/lib/wine/wineserver -w 2>/dev/null || true
    rm -rf "$(dirname "$copy")"
}
trap clean_up EXIT

unset CMAKE_CXX_COMPILER_LAUNCHER CMAKE_C_COMPILER_LAUNCHER ZELLAUNCHER_SIGN_PKCS12
mkdir -p "$copy/build"
git ls-files -z -co --exclude-standard | tar -c --null --files-from=- | tar -x -C "$copy"
cp -r build/parts "$copy/build/" 2>/dev/null || true # fetched by checksum
(
    umask 077
    TZ=Pacific/Auckland LC_ALL=C "$copy/package.sh" >"$copy/package.log" 2>&1
) || { tail -n 40 "$copy/package.log"; exit 1; }

status=0
for file in dist/*; do
    cmp "$file" "$copy/$file" || status=1
done
[ "$(ls dist)" = "$(ls "$copy/dist")" ] || status=1
[ "$status" -eq 0 ] || { mkdir -p build/package/other && cp "$copy"/dist/* build/package/other/; }
exit "$status"
