#!/usr/bin/env bash
# check.sh [DIRECTORY [UNPACKED]]: checks the packages in DIRECTORY, which is dist by default: complete, whole, without
# traces of the machine that made them, and working. Everything is tried from the archives alone, as a new user would;
# they are unpacked into UNPACKED. Ends with "N passed, N failed".
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source packaging/release.sh

product=zellauncher-$version-win64
kit=zellauncher-$version-windows-tests
linux=zelexplain-$version-linux-x64
dist=${1:-dist}
unpacked=${2:-build/package/unpacked}
passed=0
failed=0

# Runs a check and shows its output if it fails. The check is a condition, so the shell does not stop at its first
# failed command: each line of it says itself what it needs.
check() {
    local name=$1 output
    shift
    if output=$("$@" 2>&1); then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        printf '%s:\n%s\n' "$name" "$output"
    fi
}

unpack() {
    rm -rf "$unpacked"
    mkdir -p "$unpacked"
    unzip -q "$dist/$product.zip" -d "$unpacked"
    unzip -q "$dist/$kit.zip" -d "$unpacked"
    tar -xzf "$dist/$linux.tar.gz" -C "$unpacked"
}

has_only_the_packages() {
    diff <(ls "$dist") <(printf '%s\n' SHA256SUMS "$product.zip" "$kit.zip" "$linux.tar.gz" | sort)
}

sums_are_right() {
    (cd "$dist" && sha256sum --check --quiet --strict SHA256SUMS) || return 1
    for package in "$product" "$kit" "$linux"; do
        (cd "$unpacked/$package" && sha256sum --check --quiet --strict SHA256SUMS) || return 1
        diff <(cd "$unpacked/$package" && find . -type f ! -name SHA256SUMS -printf '%P\n' | sort) \
            <(sed 's/^[0-9a-f]*  //' "$unpacked/$package/SHA256SUMS" | sort) || return 1
    done
}

is_complete() {
    (cd "$unpacked/$product" && ls zellauncher.exe zellauncherw.exe zelexplain.exe README.md README.html CHANGELOG.md \
        docs/operations.md docs/operations.html docs/explain.png docs/explain.schema.json \
        examples/install/zel/zellauncher.properties bill-of-materials.spdx.json licences/mingw-w64.txt \
        licences/gcc-mingw-w64.txt licences/cli11.txt licences/nlohmann-json3.txt SHA256SUMS) >/dev/null || return 1
    (cd "$unpacked/$kit" && ls run-tests.cmd core-tests.txt explained-tests.txt README.html standin.exe zelexplain.exe \
        example-install/zel tests/contract.exe tests/endtoend.exe tests/endtoend_supervision.exe tests/kiosk.exe \
        tests/realplatform.exe tests/realplatform_supervision.exe bill-of-materials.spdx.json licences/googletest.txt) \
        >/dev/null || return 1
    # The texts of the licences of what was fetched.
    [ ! -e "$unpacked/$kit/real-platform" ] ||
        (grep -q 'Eclipse Public License' "$unpacked/$kit/licences/equinox.txt" &&
            grep -q 'GNU General Public License' "$unpacked/$kit/real-platform/jvm/legal/java.base/LICENSE") || return 1
    (cd "$unpacked/$linux" && ls zelexplain docs/explain.html bill-of-materials.spdx.json licences/glibc.txt) >/dev/null
}

# What the archives say about the owners of the files.
belong_to_root() {
    python3 - "$dist/$linux.tar.gz" "$dist/$product.zip" "$dist/$kit.zip" <<'END'
import sys, tarfile, zipfile
tar, *zips = sys.argv[1:]
owners = {(file.uid, file.gid, file.uname, file.gname) for file in tarfile.open(tar)}
ok = owners == {(0, 0, "root", "root")}
for name in zips:
    with zipfile.ZipFile(name) as archive:
        # A field of kind 0x7875: its length, its version, and the numbers of user and group, each with a size.
        fields = {bytes(file.extra).partition(b"ux\x0b\0")[2][:11] for file in archive.infolist()}
    ok = ok and fields == {b"\1\4\0\0\0\0\4\0\0\0\0"}
    owners |= fields
if not ok:
    sys.exit(f"the files belong to {owners}")
END
}

# Where, when and by whom the packages were made is nobody's business, and differs.
has_no_traces() {
    # With a directory of the checkout after it, because a short path such as /src is part of other ones. Linkers make
    # symbols of paths.
    local directory patterns=()
    for directory in build src tests packaging simulation explain standin cmake; do
        patterns+=(-e "$PWD/$directory/" -e "${PWD//[^A-Za-z0-9]/_}_${directory}_")
    done
    ! grep -rlF "${patterns[@]}" "$unpacked" || return 1
    belong_to_root || return 1
    # Every file has the time of the release.
    ! find "$unpacked" -type f ! -newermt "@$((SOURCE_DATE_EPOCH - 1))" -print | grep . || return 1
    ! find "$unpacked" -type f -newermt "@$((SOURCE_DATE_EPOCH + 1))" -print | grep . || return 1
    # The fetched parts are as their makers left them.
    find "$unpacked" -path "*/real-platform/jvm" -prune -o -path '*_1.0/win32' -prune -o \( -name '*.exe' -o -name '*.dll' \) -print |
        while read -r program; do
            x86_64-w64-mingw32-objdump -p "$program" | grep '^Time/Date.*Jan  1 00:00:00 1970' >/dev/null ||
                { echo "$program holds a time"; exit 1; }
        done
}

resources_are_there() {
    python3 packaging/check_resources.py "$unpacked/$product" "$(file_version build/package/windows)"
}
links_lead_somewhere() { python3 packaging/check_links.py "$unpacked/$product" "$unpacked/$linux" "$unpacked/$kit"; }
bill_is_consistent() { python3 packaging/check_bill.py "$unpacked/$product" "$unpacked/$linux" "$unpacked/$kit"; }

zelexplain_runs_anywhere() {
    ! ldd "$unpacked/$linux/zelexplain" 2>/dev/null | grep '=>' || return 1
    env -i "$unpacked/$linux/zelexplain" start "$unpacked/$product/examples/install" | grep -q 'ZLNCH0007E'
}

# Both builds say the same about the same install.
zelexplain_agrees() {
    local install=$PWD/$unpacked/$product/examples/install
    diff <(env -i "$unpacked/$linux/zelexplain" start "$install" --at 'C:\x\framework\Client' --json) \
        <(./cmake/wine-run.sh "$unpacked/$product/zelexplain.exe" start "Z:${install//\//\\}" --at 'C:\x\framework\Client' --json 2>/dev/null |
            tr -d '\r')
}

programs_start() { ./packaging/try-programs.sh "$unpacked/$product" "$unpacked/$kit/standin.exe"; }

is_signed() {
    local authorities=${ZELLAUNCHER_SIGN_CA_FILE:-build/package/authorities.pem} program
    [ -n "${ZELLAUNCHER_SIGN_CA_FILE:-}" ] || list_authorities >"$authorities" || return 1
    for program in "$unpacked/$product"/*.exe "$unpacked/$kit"/zel*.exe; do
        osslsigncode verify -CAfile "$authorities" -in "$program" || return 1
    done
}

# The certificates beside the key, and the authorities that this machine trusts.
list_authorities() {
    openssl pkcs12 -in "$ZELLAUNCHER_SIGN_PKCS12" -nokeys \
        -passin "${ZELLAUNCHER_SIGN_PASSWORD_FILE:+file:}${ZELLAUNCHER_SIGN_PASSWORD_FILE:-pass:}" || return 1
    cat /etc/ssl/certs/ca-certificates.crt 2>/dev/null || true
}

unpack
check "other files in the directory" has_only_the_packages
check "sums" sums_are_right
check "missing files" is_complete
check "traces of the build" has_no_traces
check "resources" resources_are_there
check "links between the pages" links_lead_somewhere
check "bill of materials" bill_is_consistent
check "zelexplain for Linux" zelexplain_runs_anywhere
check "zelexplain for Linux and for Windows" zelexplain_agrees
check "the programs under Wine" programs_start
if [ -n "${ZELLAUNCHER_SIGN_PKCS12:-}${ZELLAUNCHER_SIGN_CA_FILE:-}" ]; then
    check "signatures" is_signed
fi
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
