#!/usr/bin/env bash
# try-signature.sh PROGRAMS: packs what ./package.sh has built once more, with a key that is made for it, and checks the
# packages: the programs are signed, and start. The programs of the directory PROGRAMS are unsigned. Another signer and a
# changed program must be refused.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source cmake/setup.sh
source packaging/release.sh
ensure_packages osslsigncode openssl
work=build/package/signing
rm -rf "$work"
mkdir -p "$work"
export ZELLAUNCHER_SIGN_PASSWORD_FILE=$work/password

# A key with a certificate of its own, for signing code.
make_key() {
    openssl req -x509 -newkey rsa:2048 -nodes -days 30 -subj "/CN=$1" -addext extendedKeyUsage=codeSigning \
        -keyout "$work/$1.key" -out "$work/$1.pem" 2>/dev/null
    openssl pkcs12 -export -inkey "$work/$1.key" -in "$work/$1.pem" -passout "file:$work/password" -out "$work/$1.p12"
}

is_signed_by() { osslsigncode verify -CAfile "$work/$1.pem" -in "$2" >"$work/verify.log" 2>&1; }

echo "secret $RANDOM" >"$work/password"
make_key maker
make_key stranger
export ZELLAUNCHER_SIGN_PKCS12=$work/maker.p12
./packaging/pack.sh "$work/dist"
./packaging/check.sh "$work/dist" "$work/unpacked"
signed=$work/unpacked/zellauncher-$version-win64
for program in zellauncher zellauncherw zelexplain; do
    ! is_signed_by maker "$1/$program.exe" || { echo "$program is signed before it is"; exit 1; }
    is_signed_by maker "$signed/$program.exe" || { cat "$work/verify.log"; exit 1; }
    ! is_signed_by stranger "$signed/$program.exe" || { echo "$program is signed by a stranger"; exit 1; }
done
cp "$signed/zellauncher.exe" "$work/changed.exe"
printf 'X' | dd of="$work/changed.exe" bs=1 seek=5000 conv=notrunc status=none
! is_signed_by maker "$work/changed.exe" || { echo "a changed program passes"; exit 1; }
# The check of the packages finds it too.
if ZELLAUNCHER_SIGN_CA_FILE=$work/stranger.pem ./packaging/check.sh "$work/dist" "$work/unpacked" >"$work/check.log" ||
    ! grep -q '^signatures:' "$work/check.log" || ! grep -q ', 1 failed$' "$work/check.log"; then
    echo "a stranger's signature passes the check"
    cat "$work/check.log"
    exit 1
fi
