#!/bin/sh
# Runs a Windows program in the project's own Wine prefix, build/wine, which is made on first use.
# Several callers may come at once: one makes the prefix, the others wait for it.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX="$root/build/wine" WINEARCH=win64 WINEDEBUG=-all
wine=/usr/lib/wine/wine64
ready="$WINEPREFIX/.ready"

make_prefix() {
    "$wine" wineboot -i >/dev/null 2>&1
    # Every Windows names its logon shell; the launcher reads it.
    "$wine" reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\Winlogon' /v Shell /d explorer.exe /f >/dev/null 2>&1
    # Until the server has written everything down, the first windowed program stalls.
    /usr/lib/wine/wineserver -w
    touch "$ready"
}

if [ ! -f "$ready" ]; then
    mkdir -p "$WINEPREFIX"
    (
        flock 9
        [ -f "$ready" ] || make_prefix
    ) 9>"$root/build/.wine.lock"
fi
exec "$wine" "$@"
