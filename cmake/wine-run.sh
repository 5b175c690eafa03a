#!/bin/sh
# Runs a Windows program in the project's own Wine prefix, build/wine, and creates the prefix at the first
# call. Of several calls at the same time one creates it, and the others wait. ZELLAUNCHER_WINE_PREFIX names
# another prefix below build.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
name=${ZELLAUNCHER_WINE_PREFIX:-wine}
export WINEPREFIX="$root/build/$name" WINEARCH=win64 WINEDEBUG=-all
wine=/usr/lib/wine/wine64
ready="$WINEPREFIX/.prepared"

make_prefix() {
    "$wine" wineboot -i >/dev/null 2>&1
    # The launcher reads the logon shell, which Wine does not set.
    "$wine" reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\Winlogon' /v Shell /d explorer.exe /f >/dev/null 2>&1
    # Windows hides no file because of its name.
    "$wine" reg add 'HKCU\Software\Wine' /v ShowDotFiles /d Y /f >/dev/null 2>&1
    # Windows shares each drive with administrators; Wine only what is linked here.
    mkdir -p "$WINEPREFIX/dosdevices/unc/localhost"
    ln -sfn ../../../drive_c "$WINEPREFIX/dosdevices/unc/localhost/C\$"
    # Otherwise the first program with a window stalls until the server has written the registry.
    /usr/lib/wine/wineserver -w
    touch "$ready"
}

if [ ! -f "$ready" ]; then
    mkdir -p "$WINEPREFIX"
    (
        flock 9
        [ -f "$ready" ] || make_prefix
    ) 9>"$root/build/.$name.lock"
fi
exec "$wine" "$@"
