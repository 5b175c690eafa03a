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
# If ZELLAUNCHER_SIGN_PKCS12 names a key, the programs for Windows are signed (packaging/sign.sh). Unsigned packages
# are the same bytes at each build.
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

# Packs one component of a build directory. Without fakeroot, the archive would name its builder.
pack() {
    local directory=$1 component=$2 name=$3 format=$4
    rm -rf "$directory/_CPack_Packages"
    fakeroot cpack --config "$directory/CPackConfig.cmake" -B "$PWD/build/package/made" \
        -D "CPACK_INSTALL_CMAKE_PROJECTS=$PWD/$directory;zellauncher;$component;/" \
        -D "CPACK_PACKAGE_FILE_NAME=$name" -D "CPACK_PACKAGE_VERSION=$version" -D "ARCHIVE_FORMAT=$format" \
        >"$directory.$component.log" 2>&1 || { tail -n 40 "$directory.$component.log"; exit 1; }
    mv "build/package/made/$name.$format" dist/
    echo "dist/$name.$format"
}

# With a base directory, ccache would put other paths into the tests.
unset CCACHE_BASEDIR
# CPack works in a directory of its own.
for name in ZELLAUNCHER_SIGN_PKCS12 ZELLAUNCHER_SIGN_PASSWORD_FILE; do
    [ -z "${!name:-}" ] || export "$name=$(realpath "${!name}")"
done
values=("$@")
check_changelog
ensure_packages g++ g++-mingw-w64-x86-64-posix cmake ninja-build googletest libcli11-dev nlohmann-json3-dev wine64 \
    pandoc python3 python3-jsonschema librsvg2-bin icoutils fakeroot zip unzip osslsigncode
umask 022
mkdir -p build/package dist
rm -rf dist/* build/package/made

say "building the real platform of the tests"
./cmake/real-platform.sh || echo "The tests for Windows will skip those with a real platform."
build windows build/package/windows all documents bill_of_materials
build linux-release build/package/linux zelexplain documents bill_of_materials
say "packing"
pack build/package/windows product "zellauncher-$version-win64" zip
pack build/package/windows kit "zellauncher-$version-windows-tests" zip
pack build/package/linux zelexplain "zelexplain-$version-linux-x64" tar.gz
(cd dist && sha256sum -- *.zip *.tar.gz >SHA256SUMS)
./packaging/check.sh
