#!/usr/bin/env bash
# Builds the launcher, lays out an example install, starts the launcher under Wine as a user would, and shows
# what happened. The second call is a later start of the same user.
#
#   ./run.sh             starts it with a real platform, or with the standin if that is unavailable
#   ./run.sh --standin   starts it with the standin as the platform
#   ./run.sh --fresh     first deletes the user's files
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
user=$(id -un) # also the name under Wine
user_home=$drive/users/$user
workspace=$user_home/Mivel/ZEL/1234/$user
base=$install/zel/eclipse/plugins/base_1.0
begin=build/run.begin # modified at the last start
page=build/explanation.html
arguments=("hello world" "vmarg.Xss=-Xss256k")
real_records=$workspace/platform
standin_records=$workspace/standin
parts=build/windows/real-platform

build() {
    ensure_packages g++-mingw-w64-x86-64-posix wine64 googletest cmake ninja-build libcli11-dev nlohmann-json3-dev g++ \
        librsvg2-bin icoutils
    mkdir -p build
    [ -f build/windows/build.ninja ] || quietly build/windows.configure.log cmake --preset windows
    quietly build/windows.build.log cmake --build --preset windows --target zellauncher zellauncherw standin zelexplain
    if [ "$platform" = real ] && ! ./cmake/real-platform.sh; then
        echo "Using the stand-in instead."
        platform=standin
    fi
    if [ "$platform" = real ]; then records=$real_records; else records=$standin_records; fi
}

lay_out() {
    wine cmd /c ver >/dev/null # the first call creates the prefix
    rm -rf "$install"
    mkdir -p "$install" "$user_home" "$base/win32/x86_64" "$install/jvm/bin"
    cp -r examples/install/. "$install/"
    cp build/windows/zellauncher.exe build/windows/zellauncherw.exe "$install/zel/"
    if [ "$platform" = real ]; then
        cp -r "$parts/install/." "$install/"
        cp -r "$parts/jvm/." "$install/jvm/"
    else
        cp build/windows/standin.exe "$base/win32/x86_64/eclipse.exe"
        : >"$install/jvm/bin/javaw.exe"
        : >"$install/jvm/bin/java.exe"
    fi
}

# Runs a command with its output in a file, which is shown only if the command fails.
quietly() {
    local output=$1 status=0
    shift
    "$@" >"$output" 2>&1 || status=$?
    [ "$status" -eq 0 ] || cat "$output"
    return "$status"
}

# True if the command succeeds within this number of seconds.
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
    # The platform keeps running and must not keep this script's output open.
    timeout 120 ./cmake/wine-run.sh 'C:\Apps\framework\Client\zel\zellauncher.exe' "$@" \
        >/dev/null 2>&1 || status=$?
    echo "The launcher ended with status $status."
}

# Explains the start before it happens, because afterwards the workspace is another one.
explain_start() {
    ./cmake/wine-run.sh build/windows/zelexplain.exe start 'C:\Apps\framework\Client' \
        --html "$page" -- "${arguments[@]}" 2>/dev/null | tr -d '\r'
}

has_ended() { [ -f "$1/ended.txt" ]; }

# Ends the platform of this call or of an interrupted one. The example platform ends on the argument -exit,
# whether that is handed over or given at its start.
stop_platform() {
    if [ -f "$standin_records/running.txt" ] && ! has_ended "$standin_records"; then
        touch "$workspace/standin.stop"
        eventually 10 has_ended "$standin_records" || true
    fi
    if [ -f "$real_records/running.txt" ] && ! has_ended "$real_records"; then
        start_launcher -exit 0 >/dev/null
        eventually 60 has_ended "$real_records" || true
        eventually 60 [ ! -f "$workspace/.pipe" ] || true # deleted last
    fi
    rm -rf "$workspace/standin.stop" "$standin_records" "$real_records"
}

# Lists the workspace, directories with a slash at the end, without the files of the platform and the
# framework.
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
        .config/args.properties) echo "the arguments, for a restart" ;;
        .config/config.ini) echo "seeded from the install: the framework's configuration" ;;
        .config/zelinstall.properties) echo "seeded from the install: the user's properties" ;;
        .config/zelinstall.properties.bak) echo "their backup" ;;
        .config/org.eclipse.update/platform.xml) echo "seeded from the install: the platform's features" ;;
        .pipe) echo "written by the platform: the name of its pipe" ;;
        .zel.lock) echo "the lock file, with the process id of the program that was started" ;;
        .zel.main) echo "the process id again" ;;
        applications/eclipse/features/ | applications/eclipse/plugins/) echo "for features and plug-ins that the user adds" ;;
        logs/shutdown.log) echo "starts and unclean ends" ;;
        logs/zellauncher.log) echo "the log of the last start" ;;
    esac
}

show_made() {
    local before=$1 path
    local made
    made=$(comm -13 <(printf '%s\n' "$before") <(list_workspace))
    if [ -z "$made" ]; then
        printf '\nThe workspace was complete, so this start created nothing.\n'
        return
    fi
    printf '\nThis start created in the workspace:\n'
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
    echo "The platform did not start. The log has the reason:"
    while read -r log; do
        show "${log#"$drive"/}:" "$log"
    done < <(find "$user_home" -name 'zellauncher*.log' -newer "$begin")
    exit 1
}

# What a reader of the first log stumbles over.
explain_log() {
    cat <<'END'

In this log:
    - ZLNCH0090E is in every log, although it ends in E: the launcher creates a missing lock file before it looks at
      it. On a first start ZLNCH0091E follows, because the file is still empty.
    - vmarg.Xss=-Xss256k is an option of the launcher. It adds the JVM option -Xss256k under the name Xss, or replaces
      the install's option of that name; the command has it after -vmargs.
END
}

show_start() {
    show "The log (logs\\zellauncher.log):" "$workspace/logs/zellauncher.log"
    explain_log
    show "The lock file (.zel.lock) with the process id of the program that was started, eclipse.exe:" "$workspace/.zel.lock"
    show "The pipe file (.pipe) with the name of the platform's pipe:" "$workspace/.pipe"
}

# The text that a start handed over is UTF-16 with a NUL at the end.
show_hand_off() {
    printf '\nThe arguments that the running platform received:\n'
    iconv -f UTF-16LE -t UTF-8 "$records/payload-1.bin" | tr -d '\0' | awk '{ printf "    %2d  %s\n", NR, $0 }'
}

fact() { sed -n "s/^$1=//p" "$records/platform.txt"; }

# With javaw.exe as the JVM, the platform is two processes.
explain_processes() {
    local native_launcher
    native_launcher=$(tr -d ' \r\n' <"$workspace/.zel.lock")
    [ "$native_launcher" = "$(fact pid)" ] && return
    printf '\nProcess %s is the JVM. Process %s, in .zel.lock, is the native launcher eclipse.exe, which started it.\n' \
        "$(fact pid)" "$native_launcher"
}

show_platform() {
    if [ "$platform" = standin ]; then
        printf '\nThe arguments of the stand-in:\n'
        awk '{ printf "    %2d  %s\n", NR, $0 }' "$records/arguments.txt"
        return
    fi
    printf '\nThe platform reports:\n'
    printf '    %-14s%s\n' framework "$(fact framework)" Java "$(fact java)" process "$(fact pid)" \
        product "$(fact product)" workspace "$(fact workspace)" configuration "$(fact configuration)" \
        arguments "$(paste -sd '|' "$records/application-arguments.txt" | sed 's/|/, /g')"
    explain_processes
}

show_places() {
    printf '\nThe workspace is C:\\users\\%s\\Mivel\\ZEL\\1234\\%s, and the log of the last start is\nlogs\\zellauncher.log in it. Drive C: is %s.\n' \
        "$user" "$user" "$drive"
}

say "building; the compiler's output is in build/windows.build.log"
build
say "laying out the install in C:\\Apps\\framework\\Client"
stop_platform
lay_out
[ "$is_fresh" = no ] || rm -rf "$user_home/Mivel"
before=$(list_workspace)
if [ -f "$workspace/.config/zelinstall.properties" ]; then
    say "starting zellauncher.exe for $user, a later start"
else
    say "starting zellauncher.exe for $user, the first start"
fi
trap stop_platform EXIT
prediction=$(explain_start)
start_launcher "${arguments[@]}"
eventually 60 [ -f "$records/running.txt" ] || show_failure
show_role
show_made "$before"
show_start
say "starting it again with other arguments while the platform runs"
start_launcher "one more" -open "C:\\notes.txt"
eventually 60 [ -f "$records/payload-1.bin" ] || show_failure
show_role
show_hand_off
say "the platform"
show_platform
show_places
say "the explanation of the first of these starts, written before it happened"
echo "$prediction"
cat <<'END'
Open it in any browser. To explain another start, on Linux or on Windows:
    zelexplain start INSTALL -- ARGUMENTS...           as text; with --json as JSON
    zelexplain start INSTALL --html FILE -- ARGUMENTS...
This was: ./cmake/wine-run.sh build/windows/zelexplain.exe start 'C:\Apps\framework\Client'
docs/explain.md has the Linux build and every option.
END
