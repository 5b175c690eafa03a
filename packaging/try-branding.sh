#!/usr/bin/env bash
# Builds the launcher with texts, version and icon of a packager's own, and looks for them in the program.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
directory=build/package/branded

cmake --preset windows -B "$directory" -DZELLAUNCHER_COMPANY='Müller & "Söhne" \ Łódź' -DZELLAUNCHER_PRODUCT='Kunde 7' \
    -DZELLAUNCHER_COPYRIGHT='© 2026 Müller' -DZELLAUNCHER_DESCRIPTION='Starts Kunde 7' -DZELLAUNCHER_FILE_VERSION=7.6.5.4 \
    -DZELLAUNCHER_PRODUCT_VERSION='Frühling' -DZELLAUNCHER_ICON=examples/installer/icon.svg >"$directory.log" 2>&1
cmake --build "$directory" --target zellauncher >>"$directory.log" 2>&1
python3 packaging/check_resources.py "$directory" 7.6.5.4 'CompanyName=Müller & "Söhne" \ Łódź' 'ProductName=Kunde 7' \
    'LegalCopyright=© 2026 Müller' 'FileDescription=Starts Kunde 7' 'ProductVersion=Frühling'
# The icon is another one.
own=$(wrestool --extract --raw --type=3 --name=1 "$directory/zellauncher.exe" | sha256sum)
usual=$(wrestool --extract --raw --type=3 --name=1 build/package/windows/zellauncher.exe | sha256sum)
[ "$own" != "$usual" ]
! cmake --preset windows -B "$directory" -DZELLAUNCHER_FILE_VERSION=1.2 >>"$directory.log" 2>&1
