#!/usr/bin/env bash
# pack.sh DIRECTORY: packs what ./package.sh has built in build/package into archives in DIRECTORY, with their
# SHA256SUMS. If ZELLAUNCHER_SIGN_PKCS12 names a key, the programs for Windows are signed (packaging/sign.sh).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source packaging/release.sh
directory=$1

# Packs one component of a build directory. Without fakeroot, the archive would name its builder.
pack() {
    local build=$1 component=$2 name=$3 format=$4
    rm -rf "$build/_CPack_Packages"
    fakeroot cpack --config "$build/CPackConfig.cmake" -B "$PWD/build/package/made" \
        -D "CPACK_INSTALL_CMAKE_PROJECTS=$PWD/$build;zellauncher;$component;/" \
        -D "CPACK_PACKAGE_FILE_NAME=$name" -D "CPACK_PACKAGE_VERSION=$version" -D "ARCHIVE_FORMAT=$format" \
        >"$build.$component.log" 2>&1 || { tail -n 40 "$build.$component.log"; exit 1; }
    mv "build/package/made/$name.$format" "$directory/"
    echo "$directory/$name.$format"
}

# CPack works in a directory of its own.
for name in ZELLAUNCHER_SIGN_PKCS12 ZELLAUNCHER_SIGN_PASSWORD_FILE; do
    [ -z "${!name:-}" ] || export "$name=$(realpath "${!name}")"
done
umask 022
rm -rf "$directory" build/package/made
mkdir -p "$directory"
pack build/package/windows product "zellauncher-$version-win64" zip
pack build/package/windows kit "zellauncher-$version-windows-tests" zip
pack build/package/linux zelexplain "zelexplain-$version-linux-x64" tar.gz
(cd "$directory" && sha256sum -- *.zip *.tar.gz >SHA256SUMS)
