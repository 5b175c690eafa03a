#!/bin/sh
# Runs a Windows program in the project's own Wine prefix, build/wine, which is made on first use.
set -eu
root=$(cd "$(dirname "$0")/.." && pwd)
export WINEPREFIX="$root/build/wine" WINEARCH=win64 WINEDEBUG=-all
if [ ! -f "$WINEPREFIX/system.reg" ]; then
    mkdir -p "$WINEPREFIX"
    /usr/lib/wine/wine64 wineboot -i >/dev/null 2>&1
    /usr/lib/wine/wineserver -w
fi
exec /usr/lib/wine/wine64 "$@"
