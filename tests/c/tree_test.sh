#!/bin/sh
# Programs that print trees through the C interface print those of the tool: of the project's own machines, of those in
# folders, and of this one. Windows programs run under Wine.
# Usage: tree_test.sh SOURCE_FOLDER TOOL FOLDERS SCRATCH_FOLDER PROGRAM...
set -eu
source=$1 tool=$2 folders=$3 scratch=$4/trees
shift 4
programs=$*
rm -rf "$scratch"
mkdir -p "$scratch"
run=""
[ "$tool" = "${tool%.exe}" ] || run=$source/scripts/run-under-wine.sh

# The tree ends where the caches begin.
tree_of() { ${run:+"$run"} "$tool" "$@" tree 2>/dev/null | tr -d '\r' | sed '/^$/,$d'; }

set --
# shellcheck disable=SC2086 # a list of folders
for file in "$source"/tests/machines/*.txt $(for folder in $folders; do ls "$folder"/*.txt; done); do
    set -- "$@" "$file"
    echo "$file:"
    tree_of --machine "$file"
done >"$scratch/expected"
tree_of >"$scratch/live"
trees=$(grep -c '^Package 0' "$scratch/expected")
[ "$trees" -eq $# ] || { echo "the tool prints $trees trees of $# machines"; exit 1; }

for program in $programs; do
    # One process for all machines: each lets go of what it took.
    ${run:+"$run"} "$program" "$@" >"$scratch/printed" || { echo "$program: exit status $?"; exit 1; }
    tr -d '\r' <"$scratch/printed" | diff "$scratch/expected" -
    ${run:+"$run"} "$program" | tr -d '\r' | diff "$scratch/live" -
    echo "$(basename "$program"): $# machines and this one"
done
