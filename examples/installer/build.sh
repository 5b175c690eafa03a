#!/usr/bin/env bash
# Packs an install directory into an installer for Windows:
#
#   build.sh INSTALL VERSION OUTPUT.msi
#
# INSTALL is the directory that becomes C:\Program Files\Example\framework\Client, with the JVM and the platform in
# it. VERSION has three numbers and must rise with each release, because Windows Installer compares no more.
#
# An install in which `zelexplain check` finds an error is not packed. The variable ZELEXPLAIN names the program; by
# default it is the one two directories up, as in the package for Linux, or the one in PATH.
#
# It needs the Debian packages wixl, msitools, librsvg2-bin, icoutils and g++-mingw-w64-x86-64-posix.
set -euo pipefail
[ "$#" -eq 3 ] || { sed -n '2,12s/^# \{0,1\}//p' "$0"; exit 2; }
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
install=$(cd "$1" && pwd)
version=$2
output=$3
upgrade_code=7d1f7a4e-52ad-4a0c-9a5e-2f7f0d9b6c11
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

[[ "$version" =~ ^[0-9]+\.[0-9]+\.[0-9]+$ ]] || { echo "The version has to be three numbers: $version" >&2; exit 2; }

check_install() {
    local program=${ZELEXPLAIN:-$here/../../zelexplain} status=0
    [ -x "$program" ] || program=zelexplain
    "$program" check "$install" --at 'C:\Program Files\Example\framework\Client' || status=$?
    if [ "$status" -ge 2 ]; then
        echo "The install is not packed, because zelexplain check ended with $status." >&2
        exit 1
    fi
}

# The same release has the same code, so that an installer that is built twice repairs what the first one installed.
product_code() {
    python3 -c 'import sys, uuid; print(uuid.uuid5(uuid.UUID(sys.argv[1]), sys.argv[2]))' "$upgrade_code" "$version"
}

list_files() {
    find "$install" -type f | LC_ALL=C sort |
        wixl-heat --directory-ref CLIENT --component-group Files --var var.Install --prefix "$install/" --win64 \
            >"$work/files.wxs"
}

make_icon() {
    local drawing=${ICON:-$here/icon.svg}
    for size in 16 32 48; do
        rsvg-convert --width "$size" --height "$size" --output "$work/$size.png" "$drawing"
    done
    rsvg-convert --width 256 --height 256 --output "$work/256.png" "$drawing"
    icotool --create --output "$work/client.ico" "$work/16.png" "$work/32.png" "$work/48.png" --raw="$work/256.png"
}

compile_end_programs() {
    x86_64-w64-mingw32-g++-posix -std=c++20 -Os -Wall -Wextra -Wconversion -Werror -DUNICODE -D_UNICODE -D_WIN32_WINNT=0x0601 \
        -static -municode -mwindows -s -Wl,--no-insert-timestamp "$here/end_programs.cpp" -o "$work/end_programs.exe"
}

# What wixl cannot express: actions by a program of the installer's own, the moment at which an upgrade removes the
# former release (inside the transaction, so a failed upgrade brings it back), and the versions of files, by which
# Windows Installer decides what a repair replaces.
complete() {
    local queries=() file version
    query() { queries+=(-q "$1"); }
    # Type 2 is a program of the installer; 3072 is later, with the rights of the installer.
    query "INSERT INTO CustomAction (Action, Type, Source, Target) VALUES ('RefuseWhileRunning', 2, 'EndPrograms', '--are-none \"[CLIENT].\"')"
    query "INSERT INTO CustomAction (Action, Type, Source, Target) VALUES ('EndRunning', 3074, 'EndPrograms', '\"[CLIENT].\"')"
    query "INSERT INTO InstallExecuteSequence (Action, Condition, Sequence) VALUES ('RefuseWhileRunning', 'WIX_UPGRADE_DETECTED AND NOT ENDPROGRAMS', 1010)"
    query "INSERT INTO InstallExecuteSequence (Action, Condition, Sequence) VALUES ('EndRunning', 'REMOVE=\"ALL\"', 3490)"
    query "UPDATE InstallExecuteSequence SET Sequence = 1510 WHERE Action = 'RemoveExistingProducts'"
    query "UPDATE Property SET Value = 'WIX_DOWNGRADE_DETECTED;WIX_UPGRADE_DETECTED;ENDPROGRAMS' WHERE Property = 'SecureCustomProperties'"
    while read -r file version; do
        query "UPDATE File SET Version = '$version' WHERE File = '$file'"
    done < <(list_versions)
    msibuild "$work/client.msi" "${queries[@]}"
}

# The identifier and the version of each file that has one, from the resource of the file.
list_versions() {
    python3 - "$install" "$work/files.wxs" <<'END'
import pathlib, re, struct, sys
install, listing = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]).read_text()
for name, source in re.findall(r'<File Id="([^"]+)"[^>]*Source="\$\(var\.Install\)/([^"]+)"', listing):
    content = (install / source).read_bytes() if source.endswith((".exe", ".dll")) else b""
    position = content.find(struct.pack("<II", 0xFEEF04BD, 0x00010000))
    if position >= 0:
        high, low = struct.unpack_from("<II", content, position + 8)
        print(name, f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}")
END
}

check_install
list_files
make_icon
compile_end_programs
# wixl takes files by relative paths only.
cp "$here/client.wxs" "$work/"
ln -s "$install" "$work/install"
(
    cd "$work"
    wixl --arch x64 -D Version="$version" -D ProductCode="$(product_code)" -D UpgradeCode="$upgrade_code" -D Win64=yes \
        -D Install=install -D Icon=client.ico -D EndPrograms=end_programs.exe --output client.msi client.wxs files.wxs
)
complete
mv "$work/client.msi" "$output"
echo "$output"
