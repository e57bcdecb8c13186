#!/bin/sh
# Runs a Windows program under Wine in a prefix of the project's own: scripts/run-under-wine.sh PROGRAM [ARGUMENT...]
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
: "${WINEPREFIX:=$here/build/wine}"
: "${WINEDEBUG:=-all}"
: "${WINEDLLOVERRIDES:=mscoree=;mshtml=;winemenubuilder.exe=}"
export WINEPREFIX WINEDEBUG WINEDLLOVERRIDES
mkdir -p "$WINEPREFIX"
for wine in wine64 wine /usr/lib/wine/wine64; do
    if command -v "$wine" >/dev/null 2>&1; then
        exec "$wine" "$@"
    fi
done
echo "Wine is not installed: run scripts/install-packages.sh test" >&2
exit 127
