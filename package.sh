#!/usr/bin/env bash
# Makes the packages of a release in dist/, and ends by checking them:
#
#   zellauncher-<version>-win64.zip            programs, example install and documents for Windows
#   zelexplain-<version>-linux-x64.tar.gz      zelexplain for Linux, linked statically
#   zellauncher-<version>-windows-tests.zip    the tests, to be run on a Windows machine of one's own
#   SHA256SUMS                                 of these
#
#   ./package.sh [-D<name>=<value>...]
#
# The options are cache values of CMake, such as -DZELLAUNCHER_COMPANY="Example Ltd" (cmake/resources.cmake).
# If ZELLAUNCHER_SIGN_PKCS12 names a key, the programs for Windows are signed, and the signatures are verified
# (packaging/sign.sh). Unsigned packages are the same bytes at each build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source cmake/setup.sh
source packaging/release.sh

for option in "$@"; do
    [[ "$option" == -D* ]] || { sed -n '2,15s/^# \{0,1\}//p' "$0"; exit 2; }
done

say() { printf '\n== %s\n' "$*"; }

# A build directory from scratch, because values of an earlier call would stay in its cache.
build() {
    local preset=$1 directory=$2
    shift 2
    say "building $directory; the output is in $directory.log"
    rm -f "$directory/CMakeCache.txt"
    {
        cmake --preset "$preset" -B "$directory" -DZELLAUNCHER_PACKAGE=ON "${values[@]}" &&
            cmake --build "$directory" --target "$@"
    } >"$directory.log" 2>&1 || { tail -n 40 "$directory.log"; exit 1; }
}

# With a base directory, ccache would put other paths into the tests.
unset CCACHE_BASEDIR
values=("$@")
check_changelog
ensure_packages g++ g++-mingw-w64-x86-64-posix cmake ninja-build googletest libcli11-dev nlohmann-json3-dev wine64 \
    pandoc python3 python3-jsonschema librsvg2-bin icoutils fakeroot zip unzip osslsigncode openssl
umask 022
mkdir -p build/package
rm -rf dist

say "building the real platform of the tests"
./cmake/real-platform.sh || echo "The tests for Windows will skip those with a real platform."
build windows build/package/windows all documents bill_of_materials
build linux-release build/package/linux zelexplain documents bill_of_materials
say "packing"
./packaging/pack.sh dist
./packaging/check.sh
