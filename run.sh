#!/usr/bin/env bash
# Builds the launcher, lays out an example install, starts it under Wine as a user would, and shows what
# happened. A second call is a later start of the same user.
#
#   ./run.sh             start it, with a real platform where its parts can be had
#   ./run.sh --standin   with the stand-in as the platform
#   ./run.sh --fresh     forget the user first
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
source cmake/setup.sh

say() { printf '\n== %s\n' "$*"; }
wine() { ./cmake/wine-run.sh "$@" 2>/dev/null; }

platform=real
is_fresh=no
for option in "$@"; do
    case "$option" in
        --standin) platform=standin ;;
        --fresh) is_fresh=yes ;;
        *) sed -n '2,8s/^# \{0,1\}//p' "$0"; exit 2 ;;
    esac
done

drive=build/wine/drive_c
install=$drive/Apps/framework/Client
user=$(id -un) # under Wine the user is called as here
user_home=$drive/users/$user
workspace=$user_home/Mivel/ZEL/1234/$user
base=$install/zel/eclipse/plugins/base_1.0
begin=build/run.begin # as old as this start
real_records=$workspace/platform
standin_records=$workspace/standin
parts=build/windows/real-platform

build() {
    ensure_packages g++-mingw-w64-x86-64-posix wine64 googletest cmake ninja-build
    mkdir -p build
    [ -f build/windows/build.ninja ] || cmake --preset windows >build/windows.configure.log
    cmake --build --preset windows --target zellauncher standin
    if [ "$platform" = real ] && ! ./cmake/real-platform.sh; then
        echo "The stand-in takes its place."
        platform=standin
    fi
    if [ "$platform" = real ]; then records=$real_records; else records=$standin_records; fi
}

lay_out() {
    wine cmd /c ver >/dev/null # makes the prefix on first use
    rm -rf "$install"
    mkdir -p "$install" "$user_home" "$base/win32/x86_64" "$install/jvm/bin"
    cp -r examples/install/. "$install/"
    cp build/windows/zellauncher.exe "$install/zel/"
    if [ "$platform" = real ]; then
        cp -r "$parts/install/." "$install/"
        cp -r "$parts/jvm/." "$install/jvm/"
    else
        cp build/windows/standin.exe "$base/win32/x86_64/eclipse.exe"
        : >"$install/jvm/bin/javaw.exe"
        : >"$install/jvm/bin/java.exe"
    fi
}

# True when the condition, a command, holds within this many seconds.
eventually() {
    local seconds=$1
    shift
    for _ in $(seq $((seconds * 10))); do
        if "$@"; then
            return 0
        fi
        sleep 0.1
    done
    return 1
}

start_launcher() {
    local status=0
    touch "$begin"
    # The platform goes on by itself and must not hold this script's output open.
    timeout 120 ./cmake/wine-run.sh 'C:\Apps\framework\Client\zel\zellauncher.exe' "$@" \
        >/dev/null 2>&1 || status=$?
    echo "The launcher ended with status $status."
}

has_ended() { [ -f "$1/ended.txt" ]; }

# Ends the platform of this call, or of an earlier one that was interrupted. The example platform ends when
# a start asks for that, whether it runs already or has just been started to hear it.
stop_platform() {
    if [ -f "$standin_records/running.txt" ] && ! has_ended "$standin_records"; then
        touch "$workspace/standin.stop"
        eventually 10 has_ended "$standin_records" || true
    fi
    if [ -f "$real_records/running.txt" ] && ! has_ended "$real_records"; then
        start_launcher -exit 0 >/dev/null
        eventually 60 has_ended "$real_records" || true
        eventually 60 [ ! -f "$workspace/.pipe" ] || true # the last that it does
    fi
    rm -rf "$workspace/standin.stop" "$standin_records" "$real_records"
}

# What lies in the workspace, directories with a slash behind their names; what a platform writes down for
# this demonstration and what the framework keeps are not the launcher's.
list_workspace() {
    [ -d "$workspace" ] || return 0
    find "$workspace" -mindepth 1 \( -path "$standin_records" -o -path "$real_records" -o -path '*/.config/org.eclipse.[ceo]*' \) -prune \
        -o \( -type d -printf '%P/\n' -o -printf '%P\n' \) | sort
}

show_role() {
    if grep -q ZLNCH0304I "$workspace/logs/zellauncher.log"; then
        echo "It found no running platform for this workspace, so it was the main process and started one."
    else
        echo "It found a running platform for this workspace, so it handed its arguments over."
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
    if [ -z "$made" ]; then
        printf '\nEverything was in place in the workspace; nothing had to be made.\n'
        return
    fi
    printf '\nThis start made in the workspace:\n'
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

show_start() {
    show "The log (logs\\zellauncher.log):" "$workspace/logs/zellauncher.log"
    show "The lock file (.zel.lock) names the platform's process:" "$workspace/.zel.lock"
    show "The pipe that the platform published (.pipe):" "$workspace/.pipe"
}

# The elements that a start handed over, one a line: a UTF-16 text with a NUL at its end.
show_hand_off() {
    printf '\nWhat the running platform received, element by element:\n'
    iconv -f UTF-16LE -t UTF-8 "$records/payload-1.bin" | tr -d '\0' | awk '{ printf "    %2d  %s\n", NR, $0 }'
}

fact() { sed -n "s/^$1=//p" "$records/platform.txt"; }

show_platform() {
    if [ "$platform" = standin ]; then
        printf '\nThe stand-in was given this command, element by element:\n'
        awk '{ printf "    %2d  %s\n", NR, $0 }' "$records/arguments.txt"
        return
    fi
    printf '\nThe platform says of itself:\n'
    printf '    %-14s%s\n' framework "$(fact framework)" Java "$(fact java)" process "$(fact pid)" \
        product "$(fact product)" workspace "$(fact workspace)" configuration "$(fact configuration)" \
        arguments "$(paste -sd '|' "$records/application-arguments.txt" | sed 's/|/, /g')"
}

show_places() {
    printf '\nThe user finds the workspace in C:\\users\\%s\\Mivel\\ZEL\\1234\\%s,\nand the log of the last start in logs\\zellauncher.log there. C: is %s here.\n' \
        "$user" "$user" "$drive"
}

say "building"
build
say "laying out the install in C:\\Apps\\framework\\Client"
stop_platform
lay_out
[ "$is_fresh" = no ] || rm -rf "$user_home/Mivel"
before=$(list_workspace)
if [ -f "$workspace/.config/zelinstall.properties" ]; then
    say "starting zellauncher.exe for $user, who has started it before"
else
    say "starting zellauncher.exe for $user, for the first time"
fi
trap stop_platform EXIT
start_launcher "hello world" "vmarg.Xss=-Xss256k"
eventually 60 [ -f "$records/running.txt" ] || show_failure
show_role
show_made "$before"
show_start
say "starting it once more while the platform runs, with other arguments"
start_launcher "one more" -open "C:\\notes.txt"
eventually 60 [ -f "$records/payload-1.bin" ] || show_failure
show_role
show_hand_off
say "the platform"
show_platform
show_places
