#!/usr/bin/env bash
# try-installer.sh PROGRAMS: builds two releases of examples/installer with the real platform, with the launchers of
# this directory, and installs, uses, upgrades, repairs and removes them under Wine, with the commands of
# docs/rollout.md. Ends with "N passed, N failed".
#
# What Wine's installer cannot show: a rollback, a restart for files in use, the Restart Manager, the rights of other
# users, and the menu of all users (Wine puts the shortcut into the user's own).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source cmake/setup.sh
source packaging/eventually.sh
programs=$1
drive=build/wine/drive_c
user=$(id -un)
install="$drive/Program Files/Example/framework/Client"
workspace=$drive/users/$user/AppData/Local/Example/Client
shortcut="C:\\users\\$user\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs\\Example Client.lnk"
uninstall='HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall'
work=build/installer
zelexplain=${ZELEXPLAIN:-zelexplain}
passed=0
failed=0

wine() { timeout 300 ./cmake/wine-run.sh "$@" </dev/null 2>/dev/null; }
has_no() { [ ! -e "$1" ]; }

# Runs a check, as a condition, so every line of it says itself what it needs.
check() {
    local name=$1 output
    shift
    if output=$("$@" 2>&1); then
        passed=$((passed + 1))
        echo "passed: $name"
    else
        failed=$((failed + 1))
        printf 'FAILED: %s\n%s\n' "$name" "$output"
    fi
}

product_code() { msiinfo export "$1" Property | sed -n 's/^ProductCode\t\({[^}]*}\).*/\1/p'; }
has_entry() { wine reg query "$uninstall\\$(product_code "$1")" | grep -q "DisplayVersion.*$2"; }
has_location() { wine reg query "$uninstall\\$(product_code "$1")" | grep -q 'InstallLocation.*framework.Client'; }
has_no_entry() { ! wine reg query "$uninstall\\$(product_code "$1")" >/dev/null; }

# Runs a line of a batch file in Wine's prompt and prints its status.
run_line() {
    printf '@%s\r\n@echo %%errorlevel%%>status.txt\r\n' "$1" >"$work/command.cmd"
    rm -f "$work/status.txt"
    (cd "$work" && timeout 300 ../../cmake/wine-run.sh cmd /c command.cmd </dev/null >/dev/null 2>&1) || true
    tr -d '\r\n ' <"$work/status.txt"
}

# status_of LINE [CODE]: the same with a line of docs/rollout.md and this product code.
status_of() {
    local command=$1
    grep -qxF -- "$command" docs/rollout.md || { echo "not in docs/rollout.md"; return; }
    command=${command/\{product code*\}/${2:-}}
    run_line "${command//%u/%%u}"
}

has_status() {
    local expected=$1 status
    shift
    status=$(status_of "$@")
    [ "$status" = "$expected" ] || { echo "status $status of: $1"; return 1; }
}
works() { has_status 0 "$@"; }

# Lets zelexplain read what this code block of docs/rollout.md collects, with another place for the server.
collects_logs() {
    local fleet=$drive/fleet
    rm -rf "$fleet"
    wine "$install/zel/zellauncher.exe" -version || true # its log is in TEMP
    sed -n '/^set "target=/,/^```$/{/^```$/d;p}' docs/rollout.md | sed 's/\\\\server\\logs/C:\\fleet/; s/$/\r/' >"$work/collect.cmd"
    (cd "$work" && timeout 300 ../../cmake/wine-run.sh cmd /c collect.cmd </dev/null >/dev/null 2>&1) || true
    diff <(cd "$fleet" && find . -name '*.log' | sed 's|^./[^/]*/||' | sort) \
        <(printf '%s\n' "$user/early/zellauncher.log" "$user/zellauncher.log") || return 1
    "$zelexplain" log "$fleet" >"$work/logs.txt" || return 1
    # The last start asked the platform to end.
    [ "$(grep -cE '^ +1  (handedOver|refused)' "$work/logs.txt")" -eq 2 ] || { cat "$work/logs.txt"; return 1; }
    rm -rf "$fleet"
}

finds_what_the_upgrade_does() {
    grep -qxF 'zelexplain check CLIENT --previous FORMER_CLIENT' docs/rollout.md || return 1
    "$zelexplain" check "$work/client-2" --previous "$work/client-1" --at 'C:\x\framework\Client' || return 1
    # The same identity with other templates: known users keep their old copies.
    local same=$work/same
    rm -rf "$same"
    cp -r "$work/client-2" "$same"
    sed -i 's/^zel.install.id=.*/zel.install.id=2026.1/' "$same/zel/zellauncher.properties"
    "$zelexplain" check "$same" --previous "$work/client-1" --at 'C:\x\framework\Client' >"$work/check.txt" || true
    rm -rf "$same"
    grep 'zel.install.id is the same' "$work/check.txt" || { cat "$work/check.txt"; return 1; }
}
is_running() { [ -f "$workspace/platform/running.txt" ] && has_no "$workspace/platform/ended.txt"; }
has_ended() { has_no "$workspace/.pipe" && [ -f "$workspace/platform/ended.txt" ]; }
no_program_runs() { ! pgrep -f '^C:/Program Files/Example/framework/Client' >/dev/null; }

start_from_shortcut() {
    rm -rf "$workspace/platform"
    wine cmd /c start "" "$shortcut" || return 1
    eventually is_running
}

end_platform() {
    wine cmd /c start exampleclient:x >/dev/null || return 1 # a link cannot end it
    wine "$install/zel/zellauncher.exe" -exit 0 || return 1
    eventually has_ended && eventually no_program_runs
}

make_packages() {
    ./packaging/client-install.sh "$programs" "$work/client-1" 2026.1
    ./packaging/client-install.sh "$programs" "$work/client-2" 2026.2
    echo 'new in this release' >"$work/client-2/new.txt"
    rm "$work/client-2/boot.jar" # and one file less
    mkdir -p "$work/client-2/empty" "$work/client-2/R&D/empty"
    echo 'a name that XML writes in another way' >"$work/client-2/R&D/a & b.txt"
    sed -i 's|^vmfix.noconsole=.*|&s|' "$work/client-2/zel/eclipse/plugins/base_1.0/zelinstall.properties"
    ./examples/installer/build.sh "$work/client-1" 1.0.0 "$work/client-1.0.0.msi"
    ./examples/installer/build.sh "$work/client-2" 1.1.0 "$work/client-1.1.0.msi"
}

refuses_a_broken_install() {
    rm -f "$work/broken.msi"
    ./packaging/client-install.sh "$programs" "$work/broken" 2026.1 || return 1
    rm "$work/broken/zel/eclipse/plugins/base_1.0/launcher.jar"
    ! ./examples/installer/build.sh "$work/broken" 1.2.0 "$work/broken.msi" || return 1
    has_no "$work/broken.msi" && rm -rf "$work/broken"
}

# has_property PACKAGE NAME VALUE
has_property() {
    msiinfo export "$1" Property | tr -d '\r' | grep -qxF "$2"$'\t'"$3" || { echo "$2 is not $3"; return 1; }
}

never_restarts_the_machine() {
    has_property "$work/client-1.0.0.msi" REBOOT ReallySuppress &&
        has_property "$work/client-1.0.0.msi" MSIRESTARTMANAGERCONTROL Disable || return 1
    # Nor does a command on the page.
    ! grep -n 'msiexec .*/qn' docs/rollout.md | grep -v '/norestart'
}

refuses_other_versions() {
    for version in 2026.1.0 1.256.0 1.2.65536 01.2.3 1.2 1.2.3.4; do
        if ./examples/installer/build.sh "$work/client-1" "$version" "$work/refused.msi"; then
            echo "version $version is not refused"
            return 1
        fi
    done
    has_no "$work/refused.msi"
}

package_code() { msiinfo suminfo "$1" | sed -n 's/^Revision number (UUID): //p'; }

# Windows Installer repairs with the same package, and refuses another one of the same version.
same_files_make_the_same_package() {
    ./examples/installer/build.sh "$work/client-1" 1.0.0 "$work/again.msi" || return 1
    cmp "$work/client-1.0.0.msi" "$work/again.msi" || return 1
    ./examples/installer/build.sh "$work/client-2" 1.0.0 "$work/again.msi" || return 1
    [ "$(product_code "$work/client-1.0.0.msi")" = "$(product_code "$work/again.msi")" ] || return 1
    [ "$(package_code "$work/client-1.0.0.msi")" != "$(package_code "$work/again.msi")" ] || return 1
    rm "$work/again.msi"
}

is_signed() { osslsigncode verify -CAfile "$work/key.pem" -in "$1" >/dev/null; }

signs_its_program_and_itself() {
    openssl req -x509 -newkey rsa:2048 -nodes -days 30 -subj "/CN=maker" -addext extendedKeyUsage=codeSigning \
        -keyout "$work/key.key" -out "$work/key.pem" 2>/dev/null || return 1
    openssl pkcs12 -export -inkey "$work/key.key" -in "$work/key.pem" -passout pass: -out "$work/key.p12" || return 1
    SIGN=packaging/sign.sh ZELLAUNCHER_SIGN_PKCS12=$work/key.p12 \
        ./examples/installer/build.sh "$work/client-1" 1.0.0 "$work/signed.msi" || return 1
    is_signed "$work/signed.msi" || return 1
    msiinfo extract "$work/signed.msi" Binary.EndPrograms >"$work/signed.exe" || return 1
    is_signed "$work/signed.exe" || return 1
    ! is_signed "$work/client-1.0.0.msi" || return 1
    rm "$work"/signed.* "$work"/key.*
}

# By its version the installer decides if a program is replaced.
programs_have_versions() {
    local release
    release=$(sed -n 's/^project(zellauncher VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
    for program in zellauncher.exe zellauncherw.exe; do
        msiinfo export "$work/client-1.0.0.msi" File | tr '|' '\t' | grep -P "\t$program\t.*\t${release//./\\.}\t" ||
            { msiinfo export "$work/client-1.0.0.msi" File | grep "$program"; return 1; }
    done
    # A file has a version or a hash.
    diff <(msiinfo export "$work/client-1.0.0.msi" File | tr -d '\r' | tail -n +4 | awk -F '\t' '$5 == "" { print $1 }' | sort) \
        <(msiinfo export "$work/client-1.0.0.msi" MsiFileHash | tail -n +4 | cut -f 1 | sort)
}

installs() {
    local log=$drive/users/$user/Temp/client.log
    rm -f "$log"
    works 'msiexec /i client-1.0.0.msi /qn /norestart /l*v "%TEMP%\client.log"' || return 1
    [ -s "$log" ] || { echo "there is no $log"; return 1; }
    diff -r "$work/client-1" "$install" || return 1
    has_entry "$work/client-1.0.0.msi" 1.0.0 && has_location "$work/client-1.0.0.msi" || return 1
    [ -f "$(find "$drive/users/$user/AppData" -name 'Example Client.lnk')" ]
}

starts_from_the_shortcut() {
    start_from_shortcut || return 1
    grep -q 'ZLNCH0304I' "$workspace/logs/zellauncher.log"
}

# The browser's way: the system looks the scheme up and starts its handler.
link_reaches_the_platform() {
    wine cmd /c start 'exampleclient:open/4711' || return 1
    eventually [ -f "$workspace/platform/payload-1.txt" ] || return 1
    grep -qx 'exampleclient:open/4711' "$workspace/platform/payload-1.txt"
}

# A link that closes the quotes adds arguments to the registered command; their number then is not the declared one.
link_adds_no_arguments() {
    local command status
    command=$(wine reg query 'HKLM\Software\Classes\exampleclient\shell\open\command' /ve | tr -d '\r' | sed -n 's/.*REG_SZ *//p')
    status=$(run_line "${command/\%1/exampleclient:x\" -resetconfig \"}")
    [ "$status" = -1 ] || { echo "status $status of: $command"; return 1; }
    has_no "$workspace/.configbak" && has_no "$workspace/platform/payload-2.txt"
}

file_type_reaches_the_platform() {
    echo >"$drive/users/$user/report.exampleclient"
    wine cmd /c start "" "C:\\users\\$user\\report.exampleclient" || return 1
    eventually [ -f "$workspace/platform/payload-2.txt" ] || return 1
    grep -qi 'report.exampleclient' "$workspace/platform/payload-2.txt"
}

# The user's settings: what a platform keeps in the workspace.
make_settings() {
    mkdir -p "$workspace/.metadata/.plugins/com.example.platform"
    echo "colour=green" >"$workspace/.metadata/.plugins/com.example.platform/settings"
}
has_settings() { grep -qx "colour=green" "$workspace/.metadata/.plugins/com.example.platform/settings"; }

upgrade_waits_for_the_platform() {
    make_settings
    has_status 1627 'msiexec /i client-1.1.0.msi /qn /norestart' || return 1 # 1603 with Windows' installer
    is_running || return 1
    diff -r "$work/client-1" "$install" && has_entry "$work/client-1.0.0.msi" 1.0.0
}

# A program that keeps a library loaded until it reads a line.
make_holder() {
    cat >"$work/holder.cpp" <<'END'
#include <windows.h>
#include <cstdio>
extern "C" int wmain(int, wchar_t** arguments) {
    if (LoadLibraryExW(arguments[1], nullptr, DONT_RESOLVE_DLL_REFERENCES) == nullptr) return 1;
    std::puts("loaded");
    std::fflush(stdout);
    return std::getchar() == '\n' ? 0 : 1;
}
END
    x86_64-w64-mingw32-g++-posix -static -municode "$work/holder.cpp" -o "$work/holder.exe"
}

# As with a process of a user who may not be asked for its program: no program of the install is seen to run.
upgrade_waits_for_a_library_in_use() {
    local status=0 holder
    end_platform && make_holder || return 1
    rm -f "$work/holder.fifo"
    mkfifo "$work/holder.fifo" || return 1
    timeout 300 ./cmake/wine-run.sh "$work/holder.exe" 'C:\Program Files\Example\framework\Client\bin\platformbridge.dll' \
        <"$work/holder.fifo" >"$work/holder.txt" 2>/dev/null &
    holder=$!
    exec 7>"$work/holder.fifo"
    eventually grep -q loaded "$work/holder.txt" || status=1
    has_status 1627 'msiexec /i client-1.1.0.msi /qn /norestart' || status=1
    echo >&7
    exec 7>&-
    wait "$holder" || status=1
    [ "$status" -eq 0 ] && diff -r "$work/client-1" "$install"
}

upgrades() {
    works 'msiexec /i client-1.1.0.msi /qn /norestart' || return 1
    diff -r "$work/client-2" "$install" || return 1
    has_entry "$work/client-1.1.0.msi" 1.1.0 && has_no_entry "$work/client-1.0.0.msi"
}

settings_survive_the_upgrade() {
    start_from_shortcut || return 1
    has_settings || return 1
    grep -q '^zel.install.id=2026.1' "$workspace/.configbak/zelinstall.properties" || return 1
    grep -q '^zel.install.id=2026.2' "$workspace/.config/zelinstall.properties"
}

does_not_go_back_by_itself() {
    has_status 1603 'msiexec /i client-1.0.0.msi /qn /norestart' || return 1
    diff -r "$work/client-2" "$install"
}

repairs() {
    end_platform || return 1
    rm "$install/zel/zellauncherw.exe" "$install/zel/zellauncher.properties"
    works 'msiexec /i {product code} REINSTALL=ALL REINSTALLMODE=omus /qn /norestart' "$(product_code "$work/client-1.1.0.msi")" || return 1
    diff -r "$work/client-2" "$install"
}

goes_back() {
    works 'msiexec /i client-1.1.0.msi /qn /norestart' || return 1
    works 'msiexec /x {product code of the newer one} /qn /norestart' "$(product_code "$work/client-1.1.0.msi")" || return 1
    works 'msiexec /i client-1.0.0.msi /qn /norestart' || return 1
    start_from_shortcut || return 1
    has_settings && grep -q '^zel.install.id=2026.1' "$workspace/.config/zelinstall.properties" &&
        grep -q '^zel.install.id=2026.2' "$workspace/.configbak/zelinstall.properties"
}

upgrade_can_end_the_platform() {
    is_running || return 1
    works 'msiexec /i client-1.1.0.msi /qn /norestart ENDPROGRAMS=1' || return 1
    no_program_runs && diff -r "$work/client-2" "$install" && has_settings
}

is_gone() {
    has_no "$drive/Program Files/Example" || { find "$drive/Program Files/Example"; return 1; }
    [ -z "$(find "$drive/users/$user/AppData" -name 'Example Client.lnk')" ] || return 1
    ! wine reg query 'HKLM\Software\Classes\exampleclient' >/dev/null || return 1
    ! wine reg query 'HKLM\Software\Classes\.exampleclient' >/dev/null || return 1
    has_no_entry "$work/client-1.0.0.msi" && has_no_entry "$work/client-1.1.0.msi"
}

is_removed() {
    works 'msiexec /x {product code} /qn /norestart' "$(product_code "$1")" || return 1
    no_program_runs || { echo "a program still runs"; return 1; }
    is_gone || return 1
    has_settings && [ -f "$workspace/.config/zelinstall.properties" ]
}

is_removed_while_running() {
    works 'msiexec /i client-1.1.0.msi /qn /norestart' || return 1
    start_from_shortcut || return 1
    is_removed "$work/client-1.1.0.msi"
}

users_files_are_removed() {
    [ -d "$workspace" ] || return 1
    works 'for /d %u in (%SystemDrive%\Users\*) do rd /s /q "%u\AppData\Local\Example\Client"' || return 1
    has_no "$workspace"
}

# What an earlier call may have left.
clean_up() {
    for package in "$work"/client-1.*.msi; do
        if [ -f "$package" ]; then
            wine msiexec /x "$(product_code "$package")" /qn /norestart || true
        fi
    done
    rm -rf "$workspace" "$drive/Program Files/Example" "$drive/users/$user/report.exampleclient"
}

ensure_packages wixl msitools librsvg2-bin icoutils g++-mingw-w64-x86-64-posix procps osslsigncode openssl
mkdir -p "$work"
wine cmd /c ver >/dev/null
clean_up
make_packages
check "an install with an error is not packed" refuses_a_broken_install
check "zelexplain finds what an upgrade does" finds_what_the_upgrade_does
check "the installer knows the versions of programs" programs_have_versions
check "versions that Windows Installer cannot compare are refused" refuses_other_versions
check "the same files make the same package" same_files_make_the_same_package
check "a key signs the installer and its program" signs_its_program_and_itself
check "the installer never restarts the machine" never_restarts_the_machine
check "installs every file, the shortcut and the entry" installs
check "the shortcut starts the platform" starts_from_the_shortcut
check "a link reaches the running platform" link_reaches_the_platform
check "a link adds no arguments" link_adds_no_arguments
check "a file of the type reaches the running platform" file_type_reaches_the_platform
check "an upgrade does not begin while the platform runs" upgrade_waits_for_the_platform
check "an upgrade does not begin while a library is in use" upgrade_waits_for_a_library_in_use
check "an upgrade replaces everything" upgrades
check "the user's settings survive, the old configuration is in .configbak" settings_survive_the_upgrade
check "the former release does not replace the newer one" does_not_go_back_by_itself
check "a repair brings deleted files back" repairs
check "logs are collected and read" collects_logs
check "removed while nothing runs, the users' files stay" is_removed "$work/client-1.1.0.msi"
check "back to the former release" goes_back
check "an upgrade can end the platform" upgrade_can_end_the_platform
check "removed again" is_removed "$work/client-1.1.0.msi"
check "removed while the platform runs" is_removed_while_running
check "the users' files are removed" users_files_are_removed
clean_up
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
