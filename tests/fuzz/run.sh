#!/bin/sh
# Runs every built fuzz target for SECONDS each (60 unless told), seeded with the project's own machines and, where given,
# the dumps of folders: tests/fuzz/run.sh BUILD_FOLDER [SECONDS] [FOLDER...]
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build=$1 seconds=${2:-60}
[ $# -lt 2 ] && shift $# || shift 2
failed=""
for target in "$build"/bin/*_fuzz; do
    name=$(basename "$target")
    corpus="$build/corpus/$name"
    mkdir -p "$corpus" "$build/findings"
    if [ "$name" = recording_fuzz ]; then
        cp "$here"/../machines/*.txt "$corpus"
        for folder in "$@"; do
            cp "$folder"/*.txt "$corpus"
            find "$folder/other-formats" -name '*.*' -type f -exec cp {} "$corpus" ';' 2>/dev/null || true
        done
    fi
    [ "$name" != json_lines_fuzz ] || cp "$here/machines.jsonl" "$corpus"
    echo "$name: $seconds s"
    "$target" -max_total_time="$seconds" -timeout=1 -rss_limit_mb=4096 -print_final_stats=1 \
        -artifact_prefix="$build/findings/$name-" "$corpus" >"$build/$name.log" 2>&1 || failed="$failed $name"
    grep -E '^stat::(number_of_executed_units|slowest_unit)|ERROR|SUMMARY' "$build/$name.log" || true
done
[ -z "$failed" ] || {
    echo "findings in:$failed (see $build/findings)"
    exit 1
}
