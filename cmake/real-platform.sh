#!/usr/bin/env bash
# Builds a real platform for tests and the demonstration in build/windows/real-platform, unless it is up to
# date:
#
#   jvm/      a Windows JVM
#   install/  a packager's additions to an install: the native platform launcher, the framework's bundles and
#             the example platform of tests/realplatform with its native library
#
# The parts are fetched by name, version and checksum into build/parts; docs/third-party.md lists their
# origins. If a part is unavailable, prints one line and ends with status 1.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source cmake/setup.sh

parts=build/parts
target=build/windows/real-platform
sources=tests/realplatform/platform

jvm_package=@node-plantuml-2/jre-win32-x64@1.1.8
jvm_file=node-plantuml-2-jre-win32-x64-1.1.8.tgz
jvm_sum=6ab29e67f68543aba53fa1ca7c80c75c0a8b4117cd1bad11bfa25d8913bc6489
bundles_package=@vscjava/java-language-server@0.1.2
bundles_file=vscjava-java-language-server-0.1.2.tgz
bundles_sum=634f4c82341b8b4157a36387d163c4658ebecaf8f30ef6cd4b0cd4bd06aaca0d
launcher_package=libequinox-launcher-java=1.6.400+eclipse4.26-4
launcher_file=libequinox-launcher-java_1.6.400+eclipse4.26-4_all.deb
launcher_sum=4a6157edba92f481829e89db8f7b41f6fdacfc6028722bc11b7f4d172e34421e

# Two builds give the same bytes.
jar_date=2020-01-01T00:00:00Z

framework_bundles=(org.eclipse.osgi org.eclipse.equinox.common org.eclipse.equinox.registry org.eclipse.equinox.app)

give_up() {
    echo "The real platform is unavailable: $*" >&2
    exit 1
}

# True if the file exists with this checksum.
is_fetched() {
    [ -f "$parts/$1" ] && echo "$2  $parts/$1" | sha256sum --check --status
}

# Fetches a part with this client, unless it is already there.
fetch() {
    local file=$1 sum=$2 package=$3 client=$4
    is_fetched "$file" "$sum" && return 0
    echo "Fetching $package"
    rm -f "$parts/$file"
    (cd "$parts" && "$client" "$package") >build/parts.log 2>&1 || give_up "$package cannot be fetched (see build/parts.log)"
    is_fetched "$file" "$sum" || give_up "$package has the wrong checksum"
}

pack_with_npm() { npm pack --silent --fetch-retries=1 "$1"; }
download_with_apt() { apt-get download -qq "$1" || { as_root apt-get update -qq && apt-get download -qq "$1"; }; }

fetch_parts() {
    mkdir -p "$parts"
    command -v npm >/dev/null || ensure_packages npm
    fetch "$jvm_file" "$jvm_sum" "$jvm_package" pack_with_npm
    fetch "$bundles_file" "$bundles_sum" "$bundles_package" pack_with_npm
    fetch "$launcher_file" "$launcher_sum" "$launcher_package" download_with_apt
}

unpack_parts() {
    local base=$target/install/zel/eclipse/plugins/base_1.0 unpacked=$parts/unpacked bundle
    rm -rf "$unpacked"
    mkdir -p "$unpacked/jvm" "$unpacked/server" "$unpacked/launcher" "$base/win32/x86_64"
    tar -xzf "$parts/$jvm_file" -C "$unpacked/jvm"
    mv "$unpacked/jvm/package/jre" "$target/jvm"
    tar -xzf "$parts/$bundles_file" -C "$unpacked/server" package/server/plugins package/server/features
    for bundle in "${framework_bundles[@]}"; do
        cp "$unpacked"/server/package/server/plugins/"${bundle}"_*.jar "$target/install/zel/eclipse/plugins/"
    done
    unzip -q -p "$unpacked"/server/package/server/features/org.eclipse.equinox.executable_*.jar \
        bin/win32/win32/x86_64/launcher.exe >"$base/win32/x86_64/eclipse.exe"
    unzip -q -o -j "$unpacked"/server/package/server/plugins/org.eclipse.equinox.launcher.win32.win32.x86_64_*.jar \
        'eclipse_*.dll' -d "$base/win32/x86_64"
    dpkg-deb -x "$parts/$launcher_file" "$unpacked/launcher"
    cp "$unpacked"/launcher/usr/share/java/equinox-launcher-*.jar "$base/launcher.jar"
    rm -rf "$unpacked"
}

# Creates the archive of shared classes, which the package lacks; it makes starts much faster.
speed_up_jvm() {
    ./cmake/wine-run.sh "$target/jvm/bin/java.exe" -Xshare:dump >/dev/null 2>&1 || give_up "its JVM does not run"
}

# Builds the example platform: a bundle, a native library and a jar for the boot class path.
build_platform() {
    local classes=$target/classes java_home
    java_home=$(dirname "$(dirname "$(readlink -f "$(command -v javac)")")")
    mkdir -p "$classes/bundle" "$classes/boot" "$target/install/bin"
    javac --release 17 -Xlint:all -Werror -cp "$target/install/zel/eclipse/plugins/*" -d "$classes/bundle" \
        "$sources"/src/com/example/platform/*.java
    jar --create --date "$jar_date" --file "$target/install/zel/eclipse/plugins/com.example.platform_1.0.0.jar" \
        --manifest "$sources/META-INF/MANIFEST.MF" -C "$classes/bundle" . -C "$sources" plugin.xml
    javac --release 17 -Xlint:all -Werror -d "$classes/boot" "$sources"/boot/com/example/boot/*.java
    jar --create --date "$jar_date" --file "$target/install/boot.jar" -C "$classes/boot" .
    x86_64-w64-mingw32-g++-posix -std=c++20 -O2 -Wall -Wextra -Wpedantic -Werror -shared -static -s \
        -Wl,--no-insert-timestamp -DUNICODE -D_UNICODE -DWIN32_LEAN_AND_MEAN -isystem "$sources/native" -isystem "$java_home/include" \
        "$sources/native/platformbridge.cpp" -o "$target/install/bin/platformbridge.dll"
    rm -rf "$classes"
}

# True if the result is newer than everything that it is built from.
is_up_to_date() {
    [ -f "$target/made" ] && [ -z "$(find "$sources" "${BASH_SOURCE[0]}" tests/realplatform/install -newer "$target/made" -print -quit)" ]
}

is_up_to_date && exit 0
fetch_parts
command -v javac >/dev/null || ensure_packages openjdk-17-jdk-headless
ensure_packages unzip g++-mingw-w64-x86-64-posix wine64
echo "Building the real platform"
rm -rf "$target"
mkdir -p "$target"
unpack_parts
speed_up_jvm
build_platform
cp -r tests/realplatform/install/. "$target/install/"
touch "$target/made"
