#!/usr/bin/env bash
# client-install.sh PROGRAMS DIRECTORY IDENTITY: lays out an install with the real platform of the demonstration, as a
# product that upgrades in place: the workspace does not depend on the identity. PROGRAMS is the directory of the
# launchers.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
programs=$1
install=$2
identity=$3
parts=build/windows/real-platform

rm -rf "$install"
mkdir -p "$install"
cp -r examples/install/. "$install/"
cp -r "$parts/install/." "$install/"
cp -r "$parts/jvm" "$install/jvm"
find "$install/jvm" -name '*.jsa' -delete # made for one place
cp "$programs/zellauncher.exe" "$programs/zellauncherw.exe" "$install/zel/"
sed -i "s|^zel.install.id=.*|zel.install.id=$identity|; s|^# zel.data=.*|zel.data=\${env.LOCALAPPDATA}/Example/Client|" \
    "$install/zel/zellauncher.properties"
