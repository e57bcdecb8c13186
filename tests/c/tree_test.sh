#!/bin/sh
# A program that prints trees through the C interface prints those of the tool: of the project's own machines, of those in
# folders, and of this one. Windows programs run under Wine.
# Usage: tree_test.sh SOURCE_FOLDER TOOL PROGRAM FOLDERS SCRATCH_FOLDER
set -eu
source=$1 tool=$2 program=$3 folders=$4 scratch=$5/$(basename "$3")_trees
rm -rf "$scratch"
mkdir -p "$scratch"
run=""
[ "$tool" = "${tool%.exe}" ] || run=$source/scripts/run-under-wine.sh

# The tree ends where the caches begin.
tree_of() { ${run:+"$run"} "$tool" "$@" tree 2>/dev/null | tr -d '\r' | sed '/^$/,$d'; }

set --
# shellcheck disable=SC2086 # a list of folders
for file in $(ls "$source"/tests/machines/*.txt $(for folder in $folders; do echo "$folder/*.txt"; done)); do
    set -- "$@" "$file"
    # A machine without a processor that answers has no tree.
    trees=$(tree_of --machine "$file")
    printf '%s:\n%s\n' "$file" "$trees" >>"$scratch/expected"
done
# One process for all machines: each lets go of what it took.
${run:+"$run"} "$program" "$@" | tr -d '\r' >"$scratch/printed" || true
diff "$scratch/expected" "$scratch/printed"
trees=$(grep -c '^Package 0' "$scratch/printed")
[ "$trees" -eq $# ] || { echo "$trees trees of $# machines"; exit 1; }

tree_of >"$scratch/live"
${run:+"$run"} "$program" | tr -d '\r' | diff "$scratch/live" -
echo "$# machines and this one"
