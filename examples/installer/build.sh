#!/usr/bin/env bash
# Packs an install directory into an installer for Windows:
#
#   build.sh INSTALL VERSION OUTPUT.msi
#
# INSTALL is the directory that becomes C:\Program Files\Example\framework\Client, with the JVM and the platform in
# it. VERSION has three numbers, at most 255.255.65535, and must rise with each release, because Windows Installer
# compares no more. Two calls with the same version and the same files, with their times, make the same bytes.
#
# An install in which `zelexplain check` finds an error is not packed. The variable ZELEXPLAIN names the program; by
# default it is the one two directories up, as in the package for Linux, or the one in PATH.
#
# The variable SIGN names a program that signs the file that it gets, in place, such as packaging/sign.sh of the
# launcher's source. It signs the installer's own program, and the installer.
#
# It needs the Debian packages wixl, msitools, librsvg2-bin, icoutils and g++-mingw-w64-x86-64-posix.
set -euo pipefail
[ "$#" -eq 3 ] || { sed -n '2,18s/^# \{0,1\}//p' "$0"; exit 2; }
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
install=$(cd "$1" && pwd)
version=$2
output=$3
upgrade_code=7D1F7A4E-52AD-4A0C-9A5E-2F7F0D9B6C11
# Windows Installer stores times of the local zone.
export TZ=UTC LC_ALL=C.UTF-8
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

number='(0|[1-9][0-9]{0,4})'
if ! [[ "$version" =~ ^$number\.$number\.$number$ ]] || [ "${BASH_REMATCH[1]}" -gt 255 ] ||
    [ "${BASH_REMATCH[2]}" -gt 255 ] || [ "${BASH_REMATCH[3]}" -gt 65535 ]; then
    echo "The version has to be three numbers, at most 255.255.65535: $version" >&2
    exit 2
fi

check_install() {
    local program=${ZELEXPLAIN:-$here/../../zelexplain} status=0
    [ -x "$program" ] || program=zelexplain
    "$program" check "$install" --at 'C:\Program Files\Example\framework\Client' || status=$?
    if [ "$status" -ge 2 ]; then
        echo "The install is not packed, because zelexplain check ended with $status." >&2
        exit 1
    fi
}

# uuid_of NAME: always the same for a name.
uuid_of() {
    python3 -c 'import sys, uuid; print(str(uuid.uuid5(uuid.UUID(sys.argv[1]), sys.argv[2])).upper())' "$upgrade_code" "$1"
}

# Lists the files for wixl. An empty directory is listed as if it had one file, which is then replaced by the directory.
list_files() {
    (find "$install" -type f && find "$install" -mindepth 1 -type d -empty -printf '%p/empty.directory\n') | LC_ALL=C sort |
        wixl-heat --directory-ref CLIENT --component-group Files --var var.Install --prefix "$install/" --win64 |
        python3 -c "$complete_list" "$upgrade_code" >"$work/files.wxs"
}
complete_list=$(cat <<'END'
import itertools, re, sys, uuid
listing = sys.stdin.read().replace("&", "&amp;")  # which wixl-heat forgets
numbers = itertools.count(1)
listing = re.sub('<Directory Id="[^"]*"', lambda _: f'<Directory Id="dir{next(numbers)}"', listing)  # which are random
def directory_only(match):
    code = uuid.uuid5(uuid.UUID(sys.argv[1]), "directory " + match[3])
    # Removed with the files, because their directories are removed only if they are empty by then.
    remove = f'<RemoveFolder Id="remove{code.hex}" On="uninstall"/>'
    return f'{match[1]}"{code}"{match[2]}<CreateFolder/>{remove}'
file = r'<File [^>]*Source="\$\(var\.Install\)/([^"]*)/empty\.directory"/>'
sys.stdout.write(re.sub(r'(<Component [^>]*Guid=)"\*"(>\s*)' + file, directory_only, listing))
END
)

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
    [ -z "${SIGN:-}" ] || "$SIGN" "$work/end_programs.exe"
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
    # Type 51 sets a property: where the product is, for programs that list installed programs.
    query "INSERT INTO CustomAction (Action, Type, Source, Target) VALUES ('SetLocation', 51, 'ARPINSTALLLOCATION', '[CLIENT]')"
    query "INSERT INTO InstallExecuteSequence (Action, Condition, Sequence) VALUES ('SetLocation', '', 1005)"
    query "UPDATE InstallExecuteSequence SET Sequence = 1510 WHERE Action = 'RemoveExistingProducts'"
    query "UPDATE Property SET Value = 'WIX_DOWNGRADE_DETECTED;WIX_UPGRADE_DETECTED;ENDPROGRAMS' WHERE Property = 'SecureCustomProperties'"
    while read -r file version; do
        query "UPDATE File SET Version = '$version' WHERE File = '$file'"
        query "DELETE FROM MsiFileHash WHERE File_ = '$file'" # only for files without a version
    done < <(list_versions)
    msibuild "$work/client.msi" "${queries[@]}"
}

# The identifier and the version of each file that has one, from the resource of the file.
list_versions() {
    python3 - "$install" "$work/files.wxs" <<'END'
import pathlib, struct, sys, xml.etree.ElementTree
install, listing = pathlib.Path(sys.argv[1]), xml.etree.ElementTree.parse(sys.argv[2])
for file in listing.iter("{http://schemas.microsoft.com/wix/2006/wi}File"):
    source = install / file.get("Source").removeprefix("$(var.Install)/")
    content = source.read_bytes() if source.suffix.lower() in (".exe", ".dll") else b""
    position = content.find(struct.pack("<II", 0xFEEF04BD, 0x00010000))
    if position >= 0:
        high, low = struct.unpack_from("<II", content, position + 8)
        print(file.get("Id"), f"{high >> 16}.{high & 0xFFFF}.{low >> 16}.{low & 0xFFFF}")
END
}

# identify CODE: sets the package code, and the times to those of the newest file.
identify() {
    local time
    time=$(find "$install" -type f -printf '%TY/%Tm/%Td %TH:%TM:%TS\n' | cut -c1-19 | sort | tail -n 1)
    msiinfo export "$work/client.msi" _SummaryInformation |
        sed "s|^9\t[^\r]*|9\t{$1}|; s|^1\([23]\)\t[^\r]*|1\1\t$time|" >"$work/summary.idt"
    msibuild "$work/client.msi" -i "$work/summary.idt"
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
    wixl --arch x64 -D Version="$version" -D ProductCode="$(uuid_of "$version")" -D UpgradeCode="$upgrade_code" -D Win64=yes \
        -D Install=install -D Icon=client.ico -D EndPrograms=end_programs.exe --output client.msi client.wxs files.wxs
)
complete
# The package code comes from the content: packages with other contents need other codes.
identify 00000000-0000-0000-0000-000000000000
identify "$(uuid_of "package $(sha256sum <"$work/client.msi")")"
[ -z "${SIGN:-}" ] || "$SIGN" "$work/client.msi"
mv "$work/client.msi" "$output"
echo "$output"
