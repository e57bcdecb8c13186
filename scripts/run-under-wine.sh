#!/bin/sh
# Runs a Windows program under Wine in a prefix of the project's own: scripts/run-under-wine.sh PROGRAM [ARGUMENT...]
#
# --start makes the prefix ready and keeps Wine's server up until --stop: programs start faster then, and none meets a
# server that is just going down because the program before was the last one.
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
: "${WINEPREFIX:=$here/build/wine}"
: "${WINEDEBUG:=-all}"
: "${WINEDLLOVERRIDES:=mscoree=;mshtml=;winemenubuilder.exe=}"
# Else file names that are not ASCII do not reach the disk.
: "${LC_ALL:=C.UTF-8}"
export WINEPREFIX WINEDEBUG WINEDLLOVERRIDES LC_ALL
mkdir -p "$WINEPREFIX"

# The first of the programs that there is.
first_of() {
    for program in "$@"; do
        if command -v "$program" >/dev/null 2>&1; then
            echo "$program"
            return
        fi
    done
    echo "Wine is not installed: run scripts/install-packages.sh test" >&2
    exit 127
}
wine=$(first_of wine64 wine /usr/lib/wine/wine64)
server=$(first_of wineserver /usr/lib/wine/wineserver64 /usr/lib/wine/wineserver)

case "${1:-}" in
    --start)
        "$server" -p
        "$wine" wineboot --init >/dev/null 2>&1
        ;;
    --stop)
        "$server" -k || true
        "$server" -w
        ;;
    *)
        exec "$wine" "$@"
        ;;
esac
