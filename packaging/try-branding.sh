#!/usr/bin/env bash
# Builds the launcher with texts, version and icon of a packager's own, and looks for them in the program.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source packaging/release.sh
directory=build/package/branded

cmake --preset windows -B "$directory" -DZELLAUNCHER_COMPANY='Müller & "Söhne" \ Łódź' -DZELLAUNCHER_PRODUCT='Kunde 7' \
    -DZELLAUNCHER_COPYRIGHT='© 2026 Müller' -DZELLAUNCHER_DESCRIPTION='Starts Kunde 7' -DZELLAUNCHER_FILE_VERSION=7.6.5.4 \
    -DZELLAUNCHER_PRODUCT_VERSION='Frühling' -DZELLAUNCHER_ICON=examples/installer/icon.svg >"$directory.log" 2>&1
cmake --build "$directory" --target zellauncher >>"$directory.log" 2>&1
# As ./package.sh checks it.
[ "$(file_version "$directory")" = 7.6.5.4 ]
[ "$(file_version build/package/windows)" = "$version" ]
python3 packaging/check_resources.py "$directory" "$(file_version "$directory")" 'CompanyName=Müller & "Söhne" \ Łódź' 'ProductName=Kunde 7' \
    'LegalCopyright=© 2026 Müller' 'FileDescription=Starts Kunde 7' 'ProductVersion=Frühling'
# The icon is another one.
own=$(wrestool --extract --raw --type=3 --name=1 "$directory/zellauncher.exe" | sha256sum)
usual=$(wrestool --extract --raw --type=3 --name=1 build/package/windows/zellauncher.exe | sha256sum)
[ "$own" != "$usual" ]
for invalid in 1.2 1.2.3.65536 1.2.3.100000 1.02.3.4; do
    if cmake --preset windows -B "$directory" -DZELLAUNCHER_FILE_VERSION="$invalid" >>"$directory.log" 2>&1; then
        echo "FileVersion $invalid is not refused"
        exit 1
    fi
done
