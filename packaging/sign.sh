#!/usr/bin/env bash
# Signs a program for Windows in place. Everything comes from the environment, so that no password is in a
# command line that other users of the machine can read:
#
#   ZELLAUNCHER_SIGN_PKCS12          the file with key and certificate
#   ZELLAUNCHER_SIGN_PASSWORD_FILE   a file with its password; without it, the password is empty
#   ZELLAUNCHER_SIGN_TIMESTAMP_URL   a server that states when the program was signed. Without it, the signature
#                                    is worthless once the certificate has expired
#
# packaging/check.sh verifies the signatures with the authorities in the file ZELLAUNCHER_SIGN_CA_FILE; without it, with
# the certificates beside the key and those that this machine trusts.
set -euo pipefail
program=$1
options=(-pkcs12 "$ZELLAUNCHER_SIGN_PKCS12" -h sha256)
if [ -n "${ZELLAUNCHER_SIGN_PASSWORD_FILE:-}" ]; then
    options+=(-readpass "$ZELLAUNCHER_SIGN_PASSWORD_FILE")
else
    options+=(-pass "")
fi
if [ -n "${ZELLAUNCHER_SIGN_TIMESTAMP_URL:-}" ]; then
    options+=(-ts "$ZELLAUNCHER_SIGN_TIMESTAMP_URL")
fi
rm -f "$program.signed"
osslsigncode sign "${options[@]}" -in "$program" -out "$program.signed" >"$program.signing" || {
    cat "$program.signing" >&2
    rm -f "$program.signing" "$program.signed"
    exit 1
}
chmod --reference="$program" "$program.signed"
mv "$program.signed" "$program"
rm "$program.signing"
