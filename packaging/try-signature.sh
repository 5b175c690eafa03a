#!/usr/bin/env bash
# try-signature.sh PROGRAMS STANDIN: signs the programs of a directory with a certificate that is made for it, verifies
# them, and starts them. Another signer and a changed program must be refused.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source cmake/setup.sh
ensure_packages osslsigncode openssl
work=build/package/signing
rm -rf "$work"
mkdir -p "$work/programs"
cp -r "$1/." "$work/programs/"
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
for program in zellauncher zellauncherw zelexplain; do
    file=$work/programs/$program.exe
    ! is_signed_by maker "$file" || { echo "$program is signed before it is"; exit 1; }
    ./packaging/sign.sh "$file"
    is_signed_by maker "$file" || { cat "$work/verify.log"; exit 1; }
    ! is_signed_by stranger "$file" || { echo "$program is signed by a stranger"; exit 1; }
done
cp "$work/programs/zellauncher.exe" "$work/changed.exe"
printf 'X' | dd of="$work/changed.exe" bs=1 seek=5000 conv=notrunc status=none
! is_signed_by maker "$work/changed.exe" || { echo "a changed program passes"; exit 1; }
./packaging/try-programs.sh "$work/programs" "$2"
