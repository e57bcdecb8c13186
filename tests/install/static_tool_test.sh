#!/bin/sh
# The static tool runs where nothing else is: in a folder that holds nothing but it, as the root of its file
# system. What it prints there is what the other one prints here.
# Usage: static_tool_test.sh SOURCE_FOLDER TOOL STATIC_TOOL
set -eu
source=$1 tool=$2 static_tool=$3
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
fail() {
    echo "FAILED: $*" >&2
    exit 1
}

if chroot / true 2>/dev/null; then
    inside="chroot $root"
elif unshare -r chroot / true 2>/dev/null; then
    inside="unshare -r chroot $root"
else
    echo "SKIPPED: needs root, or a kernel that lets anybody have a user namespace (unshare -r)"
    exit 77
fi

! readelf -ld "$static_tool" | grep -E 'INTERP|NEEDED' || fail "it needs a library or a loader"
cp "$static_tool" "$root/quarrow"
LC_ALL=C # others are files of the system
export LC_ALL
machine=$source/tests/machines/intel-2p-smt.txt
for words in --version "--machine -" "--machine - tree --json" "--machine - picture"; do
    # shellcheck disable=SC2086 # lists of words
    expected=$("$tool" $words <"$machine") || fail "quarrow $words"
    # shellcheck disable=SC2086
    there=$($inside /quarrow $words <"$machine") || fail "$words fails in an empty folder"
    [ "$there" = "$expected" ] || fail "$words prints in an empty folder: $there"
done
# This machine, with neither /proc nor /sys nor /dev.
processors=$($inside /quarrow cpus | grep -c '^Logical CPU ') || fail "cpus fails in an empty folder"
[ "$processors" -eq "$(nproc)" ] || fail "shows $processors processors of $(nproc) in an empty folder"
