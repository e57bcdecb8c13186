#!/bin/sh
# Runs every built fuzz target for SECONDS each (60 unless told): tests/fuzz/run.sh BUILD_FOLDER [SECONDS] [FOLDER...]
# Each begins with what fits it: seeds/, the project's own machines, and the dumps of the folders and of their other-formats.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
build=$1 seconds=${2:-60}
[ $# -lt 2 ] && shift $# || shift 2

# files_of NAME PATTERN FOLDER...: the files of that name, at any depth, in which a line fits the pattern. Those above 64 KB
# say the same of more processors, and would slow every run down.
files_of() {
    name=$1 pattern=$2
    shift 2
    find "$@" -type f -name "$name" -size -128 -exec grep -lE -e "$pattern" {} + || true
}
# What begins a line of a text of the cpuid program, and of libcpuid; other texts are reports.
raw='^(CPU( [0-9]+)?:|   0x[0-9a-f]{8} )' libcpuid='^(basic|ext)_cpuid'

# The seeds of a target, from the folders, the first two of which are seeds/ and the project's machines.
seeds_of() {
    target=$1
    shift
    case $target in
    recording) files_of '*' . "$@" ;;
    quarrow) files_of '*.txt' "$raw" "$@" ;;
    libcpuid) files_of '*.txt' "$libcpuid" "$@" ;;
    report_text) files_of '*.txt' '^ *CPUID [0-9A-F]{8}' "$@" ;;
    hwloc) files_of 'pu[0-9]*' '=>' "$@" ;;
    cpuidwin) files_of '*.xml' '<cpuid' "$@" ;;
    firecracker) files_of '*.json' cpuid_modifiers "$@" ;;
    esac
    [ ! -d "$here/seeds/$target" ] || find "$here/seeds/$target" -type f
}

# wrap TARGET CORPUS FOLDER...: seeds that are made: recordings for the C interface, archives of the folders of
# hwloc-gather-cpuid, compressed files, UTF-16.
wrap() {
    target=$1 corpus=$2
    shift 2
    case $target in
    tar)
        find "$@" -type f -name pu0 | while read -r file; do
            folder=$(dirname "$file")
            tar -C "$folder/.." -cf "$corpus/$(basename "$folder").tar" "$(basename "$folder")"
        done ;;
    compressed)
        for program in gzip xz bzip2; do
            ! command -v $program >/dev/null || $program -c "$here/../machines/intel-2p-smt.txt" >"$corpus/intel-2p-smt.$program"
        done ;;
    c) # what follows a first byte of 255 is a recording
        for machine in "$here"/../machines/*.txt; do
            { printf '\377' && cat "$machine"; } >"$corpus/$(basename "$machine")"
        done ;;
    recording) iconv -t UTF-16 "$here/../machines/intel-2p-smt.txt" >"$corpus/intel-2p-smt.utf16" ;;
    esac
}

failed=""
for fuzzer in "$build"/bin/*_fuzz; do
    name=$(basename "$fuzzer")
    corpus="$build/corpus/$name"
    of=${name%_fuzz} of=${of#format_}
    mkdir -p "$corpus" "$build/findings"
    seeds_of "$of" "$here/seeds" "$here/../machines" "$@" | sort -u | while read -r file; do
        cp "$file" "$corpus/$(echo "$file" | sha1sum | cut -c 1-16)"
    done
    wrap "$of" "$corpus" "$here/seeds" "$@"
    echo "$name: $seconds s, from $(find "$corpus" -type f | wc -l) files"
    "$fuzzer" -max_total_time="$seconds" -timeout=1 -rss_limit_mb=4096 -print_final_stats=1 \
        -artifact_prefix="$build/findings/$name-" "$corpus" >"$build/$name.log" 2>&1 || failed="$failed $name"
    grep -E '^stat::(number_of_executed_units|slowest_unit)|ERROR|SUMMARY' "$build/$name.log" || true
done
[ -z "$failed" ] || {
    echo "findings in:$failed (see $build/findings)"
    exit 1
}
