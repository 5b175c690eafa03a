#!/usr/bin/env bash
# try-programs.sh DIRECTORY STANDIN: starts both launchers of a directory under Wine, on the example install with
# the stand-in as the platform. Succeeds if each platform starts, gets a second start's arguments and ends.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source packaging/eventually.sh
programs=$1
standin=$2
drive=build/wine/drive_c
user=$(id -un)
workspace=$drive/users/$user/Mivel/ZEL/1234/$user
log=$workspace/logs/zellauncher.log

fail() {
    echo "$1"
    [ ! -f "$log" ] || cat "$log"
    exit 1
}

start() { timeout 120 ./cmake/wine-run.sh "C:\\Released\\framework\\Client\\zel\\$1" "${@:2}" >/dev/null 2>&1; }

lay_out() {
    local install=$drive/Released/framework/Client
    ./cmake/wine-run.sh cmd /c ver >/dev/null 2>&1
    rm -rf "$drive/Released" "$drive/users/$user/Mivel"
    mkdir -p "$install/jvm/bin" "$install/zel/eclipse/plugins/base_1.0/win32/x86_64"
    cp -r "$programs/examples/install/." "$install/"
    cp "$programs/zellauncher.exe" "$programs/zellauncherw.exe" "$install/zel/"
    cp "$standin" "$install/zel/eclipse/plugins/base_1.0/win32/x86_64/eclipse.exe"
    : >"$install/jvm/bin/javaw.exe"
    : >"$install/jvm/bin/java.exe"
}

for program in zellauncher.exe zellauncherw.exe; do
    lay_out
    start "$program" first || fail "$program did not start the platform"
    eventually [ -f "$workspace/standin/running.txt" ] || fail "$program started no platform"
    start "$program" second || fail "$program did not hand its arguments over"
    eventually [ -f "$workspace/standin/payload-1.bin" ] || fail "$program handed nothing over"
    touch "$workspace/standin.stop"
    eventually [ -f "$workspace/standin/ended.txt" ] || fail "the platform of $program did not end"
done
rm -rf "$drive/Released" "$drive/users/$user/Mivel"
