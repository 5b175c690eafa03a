#!/usr/bin/env bash
# Builds the launcher, lays out an example install, starts it under Wine as a user would, and shows
# what happened. A second call is a later start of the same user.
#
#   ./run.sh           start it
#   ./run.sh --fresh   forget the user first
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source cmake/setup.sh

say() { printf '\n== %s\n' "$*"; }
wine() { ./cmake/wine-run.sh "$@" 2>/dev/null; }

case "${1:-}" in
    "" | --fresh) ;;
    *) sed -n '2,7s/^# \{0,1\}//p' "$0"; exit 2 ;;
esac

drive=build/wine/drive_c
install=$drive/Apps/framework/Client
user=$(id -un) # under Wine the user is called as here
user_home=$drive/users/$user
workspace=$user_home/Mivel/ZEL/1234/$user
base=$install/zel/eclipse/plugins/base_1.0

build() {
    ensure_packages g++-mingw-w64-x86-64-posix wine64 googletest cmake ninja-build
    mkdir -p build
    [ -f build/windows/build.ninja ] || cmake --preset windows >build/windows.configure.log
    cmake --build --preset windows --target zellauncher standin
}

lay_out() {
    wine cmd /c ver >/dev/null # makes the prefix on first use
    mkdir -p "$install" "$user_home" "$base/win32/x86_64" "$install/jvm/bin"
    cp -r examples/install/. "$install/"
    cp build/windows/zellauncher.exe "$install/zel/"
    cp build/windows/standin.exe "$base/win32/x86_64/eclipse.exe"
    : >"$install/jvm/bin/javaw.exe"
    : >"$install/jvm/bin/java.exe"
}

# Ends the platform of an earlier call, so that this one is a start and not a second click.
stop_platform() {
    [ -f "$workspace/standin/running.txt" ] || return 0
    touch "$workspace/standin.stop"
    for _ in $(seq 100); do
        [ -f "$workspace/standin.stop" ] || break
        sleep 0.1
    done
    rm -rf "$workspace/standin.stop" "$workspace/standin"
}

start_launcher() {
    local status=0
    # The platform goes on by itself and must not hold this script's output open.
    ./cmake/wine-run.sh 'C:\Apps\framework\Client\zel\zellauncher.exe' "$@" >/dev/null 2>&1 || status=$?
    echo "The launcher ended with status $status."
}

show() {
    printf '\n%s\n' "$1"
    sed 's/\r$//; s/^/    /' "$2"
}

show_start() {
    local kind=$1
    if [ ! -f "$workspace/standin/running.txt" ]; then
        echo "The platform did not start. The log says why:"
        sed 's/^/    /' "$workspace/logs/zellauncher.log" "$drive"/users/*/Temp/zellauncher.log 2>/dev/null || true
        return 1
    fi
    echo "It was $kind. The launcher found no running platform, so it was the main process."
    printf '\nDirectories and files of the user (C:\\users\\%s\\Mivel\\ZEL\\1234\\%s):\n' "$user" "$user"
    (cd "$workspace" && find . -mindepth 1 -not -path './standin*' -printf '    %P%y\n' | sed 's/d$/\//; s/f$//' | sort)
    printf '\nThe command, element by element, as the platform received it:\n'
    awk '{ printf "    %2d  %s\n", NR, $0 }' "$workspace/standin/arguments.txt"
    show "The log (logs\\zellauncher.log):" "$workspace/logs/zellauncher.log"
    show "The lock file (.zel.lock) names the platform's process:" "$workspace/.zel.lock"
    printf '\n'
    show "The pipe that the platform published (.pipe):" "$workspace/.pipe"
}

say "building"
build
say "laying out the install in C:\\Apps\\framework\\Client"
lay_out
stop_platform
[ "${1:-}" != --fresh ] || rm -rf "$user_home/Mivel"
kind="the first start of the user $user"
[ ! -f "$workspace/.config/zelinstall.properties" ] || kind="a later start of the user $user, who has everything already"
say "starting zellauncher.exe"
start_launcher "hello world" "vmarg.Xss=-Xss256k"
show_start "$kind"
stop_platform
