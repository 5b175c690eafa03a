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
records=$workspace/standin
base=$install/zel/eclipse/plugins/base_1.0
begin=build/run.begin # as old as this start

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

# True when the condition, a command, holds within ten seconds.
eventually() {
    for _ in $(seq 100); do
        if "$@"; then
            return 0
        fi
        sleep 0.1
    done
    return 1
}

# Ends the platform of an earlier call, so that this one is a start and not a second click.
stop_platform() {
    if [ -f "$records/running.txt" ] && [ ! -f "$records/ended.txt" ]; then
        touch "$workspace/standin.stop"
        eventually [ -f "$records/ended.txt" ] || true
    fi
    rm -rf "$workspace/standin.stop" "$records"
}

# What lies in the workspace, directories with a slash behind their names; the stand-in's records are not
# the user's.
list_workspace() {
    [ -d "$workspace" ] || return 0
    find "$workspace" -mindepth 1 -not -path "$records*" \( -type d -printf '%P/\n' -o -printf '%P\n' \) | sort
}

start_launcher() {
    local status=0
    touch "$begin"
    # The platform goes on by itself and must not hold this script's output open.
    timeout 120 ./cmake/wine-run.sh 'C:\Apps\framework\Client\zel\zellauncher.exe' "$@" \
        >/dev/null 2>&1 || status=$?
    echo "The launcher ended with status $status."
}

show_role() {
    if grep -q ZLNCH0304I "$workspace/logs/zellauncher.log"; then
        echo "It found no running platform for this workspace, so it was the main process and started one."
    else
        echo "It found a running platform for this workspace."
    fi
}

purpose_of() {
    case "$1" in
        .config/) echo "the user's configuration" ;;
        .config/args.properties) echo "how to start again, for a restart" ;;
        .config/config.ini) echo "seeded from the install: the framework's configuration" ;;
        .config/zelinstall.properties) echo "seeded from the install: the user's properties" ;;
        .config/zelinstall.properties.bak) echo "their backup, in case they get damaged" ;;
        .config/org.eclipse.update/platform.xml) echo "seeded from the install: the platform's features" ;;
        .pipe) echo "written by the platform: where to reach it" ;;
        .zel.lock) echo "the lock, with the number of the platform's process" ;;
        .zel.main) echo "the number again" ;;
        applications/eclipse/features/ | applications/eclipse/plugins/) echo "for what the user adds" ;;
        logs/shutdown.log) echo "starts and unclean ends" ;;
        logs/zellauncher.log) echo "the log of the last start" ;;
    esac
}

show_made() {
    local before=$1 path
    local made
    made=$(comm -13 <(printf '%s\n' "$before") <(list_workspace))
    printf '\nThe workspace is C:\\users\\%s\\Mivel\\ZEL\\1234\\%s. ' "$user" "$user"
    if [ -z "$made" ]; then
        printf 'Everything was in place; nothing had to be made.\n'
        return
    fi
    printf 'This start made:\n'
    while read -r path; do
        printf '    %-42s %s\n' "$path" "$(purpose_of "$path")" | sed 's/ *$//'
    done <<<"$made"
}

show() {
    printf '\n%s\n' "$1"
    sed 's/\r$//; s/^/    /' "$2"
    [ -z "$(tail -c 1 "$2")" ] || echo
}

show_failure() {
    local log
    echo "The platform did not start. The log says why:"
    while read -r log; do
        show "${log#"$drive"/}:" "$log"
    done < <(find "$user_home" -name 'zellauncher*.log' -newer "$begin")
    exit 1
}

show_platform() {
    printf '\nThe command, element by element, as the platform received it:\n'
    awk '{ printf "    %2d  %s\n", NR, $0 }' "$records/arguments.txt"
    show "The log (logs\\zellauncher.log):" "$workspace/logs/zellauncher.log"
    show "The lock file (.zel.lock) names the platform's process:" "$workspace/.zel.lock"
    show "The pipe that the platform published (.pipe):" "$workspace/.pipe"
}

say "building"
build
say "laying out the install in C:\\Apps\\framework\\Client"
lay_out
stop_platform
[ "${1:-}" != --fresh ] || rm -rf "$user_home/Mivel"
before=$(list_workspace)
if [ -f "$workspace/.config/zelinstall.properties" ]; then
    say "starting zellauncher.exe for $user, who has started it before"
else
    say "starting zellauncher.exe for $user, for the first time"
fi
start_launcher "hello world" "vmarg.Xss=-Xss256k"
eventually [ -f "$records/running.txt" ] || show_failure
show_role
show_made "$before"
show_platform
stop_platform
