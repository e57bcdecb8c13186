#!/bin/sh
# The rules of the house that a compiler does not check: which folder may include which, and that conditionals on the
# operating system or the compiler, and the system's own headers, stay in the os/ folders and the instruction routines.
# Usage: layering_test.sh SOURCE_FOLDER
set -u
cd "$1" || exit 2
failed=0

# forbid NAME PATTERN FOLDER... : no line of the folders' sources may match.
forbid() {
    name=$1 pattern=$2
    shift 2
    hits=$(grep -rnE --include='*.cpp' --include='*.h' "$pattern" "$@" | grep -vE "${allowed:-^$}")
    if [ -n "$hits" ]; then
        printf '%s:\n%s\n\n' "$name" "$hits"
        failed=1
    fi
}

all=$(ls -d zel libKernelMode pci libQuarrow tools 2>/dev/null)
allowed='^[^:]*/os/(windows|linux)/|^libQuarrow/os/InstructionRoutines\.'
forbid 'A conditional on the system or the compiler outside os/' \
    '^[[:space:]]*#[[:space:]]*(if|ifdef|ifndef|elif).*(_WIN|WIN32|_MSC_VER|__linux|__unix|__GNUC__|__clang__|__MINGW|__x86_64|_M_X64)' $all
forbid "A header of the system's own outside os/" \
    '#[[:space:]]*include[[:space:]]*<(windows|winternl|sched|unistd|pthread|fcntl|dlfcn|sys/.*|cpuid|.*intrin)(\.h)?>' $all
forbid 'An instruction executed outside the instruction routines' '(__asm|\basm\b[[:space:]]*(\(|volatile)|__cpuid|__rdtsc|_xgetbv)' $all

allowed='^$'
forbid 'An include that is not by its path from the root' '#[[:space:]]*include[[:space:]]*"' $all
allowed='^libQuarrow/topology/ProcessorAffinity\.h:' # the one conversion
forbid 'The headers of the topology show more than the standard library' \
    '#[[:space:]]*include[[:space:]]*<(boost|zel|libQuarrow/cpu)/' libQuarrow/topology/*.h libQuarrow/topology/leaves/*.h
allowed='^$'
forbid 'The tool reaches past the seam' 'libQuarrow/os/(windows|linux)/' tools

# folder: the folders that its files may include, besides its own; each has a row above, so that no two need each other.
# A row is for the folders below it as well that have none of their own. Where headers and sources of a folder stand on
# different floors, each has a row: the classic classes are declared below the decoders, and answer by what lies above.
x86=libQuarrow/cpu/x86
recorder=libQuarrow/os/recorded/MachineRecorder.cpp # asks the decoders, so that it notes what they read
table="
zel/*.h:
zel/*.cpp:                   fmt spdlog
libKernelMode:               zel
libKernelMode/os:            zel libKernelMode
pci:                         zel libKernelMode
pci/os:                      zel pci libKernelMode
libQuarrow:                  zel
libQuarrow/machine:          zel libQuarrow libKernelMode pci
libQuarrow/memory:           zel libQuarrow libKernelMode
libQuarrow/io:               zel libQuarrow libKernelMode
libQuarrow/cpu:              zel libQuarrow libQuarrow/machine
$x86/*.h:                    zel libQuarrow libQuarrow/machine libQuarrow/cpu
$x86/decode/fields:
$x86/decode:                 zel libQuarrow/machine $x86 $x86/decode/fields
$x86/topology:               zel libQuarrow/machine libQuarrow/cpu $x86 $x86/decode
$x86/caches:                 zel libQuarrow/machine libQuarrow/cpu $x86 $x86/decode $x86/topology
$x86/speed:                  zel libQuarrow libQuarrow/machine pci $x86 $x86/decode
$x86/intel:                  zel libQuarrow libQuarrow/machine $x86 $x86/decode $x86/caches $x86/speed
$x86/amd:                    zel libQuarrow libQuarrow/machine pci $x86 $x86/decode $x86/caches $x86/speed
$x86/*.cpp:                  zel libKernelMode libQuarrow libQuarrow/machine libQuarrow/cpu
                             $x86/decode $x86/topology $x86/caches $x86/speed $x86/intel $x86/amd
libQuarrow/os:               libQuarrow/machine
libQuarrow/os/linux/cpu/x86:   zel libQuarrow libQuarrow/cpu
libQuarrow/os/windows/cpu/x86: zel libQuarrow libQuarrow/cpu
libQuarrow/os/linux:         zel libKernelMode pci libQuarrow/machine libQuarrow/os libQuarrow/os/linux/cpu/x86
libQuarrow/os/windows:       zel libKernelMode pci libQuarrow/machine libQuarrow/os libQuarrow/os/windows/cpu/x86
libQuarrow/recording:        pci libQuarrow/machine
libQuarrow/recording/formats: zel pci libQuarrow libQuarrow/machine libQuarrow/recording nlohmann
libQuarrow/os/recorded:      zel libKernelMode pci libQuarrow libQuarrow/machine libQuarrow/cpu $x86/decode libQuarrow/recording
libQuarrow/topology/features/*.h: libQuarrow $x86/decode/fields
libQuarrow/topology/features: libQuarrow/machine $x86/decode $x86/decode/fields
libQuarrow/topology/*.h:     libQuarrow/topology/features zel libQuarrow libQuarrow/machine libQuarrow/cpu
libQuarrow/topology/names:   libQuarrow libQuarrow/topology libQuarrow/topology/features
libQuarrow/topology/decode:  libQuarrow/topology/features zel libQuarrow libQuarrow/machine libQuarrow/cpu $x86/decode libQuarrow/topology
libQuarrow/topology/speed:   libQuarrow/topology/features libKernelMode zel libQuarrow/machine $x86 $x86/decode $x86/speed $x86/intel $x86/amd
                             libQuarrow/topology libQuarrow/topology/decode
libQuarrow/topology/leaves:  libQuarrow libQuarrow/machine $x86/decode $x86/decode/fields libQuarrow/topology libQuarrow/topology/decode
libQuarrow/topology/TopologyBuilder.h: libQuarrow/machine libQuarrow/topology/decode
libQuarrow/topology/*.cpp:   zel libQuarrow libQuarrow/machine libQuarrow/cpu $x86/decode libQuarrow/topology/decode libQuarrow/topology/speed libQuarrow/topology/leaves
$recorder: zel libKernelMode pci libQuarrow libQuarrow/machine libQuarrow/cpu $x86 $x86/decode libQuarrow/recording libQuarrow/topology
libQuarrow/document:         zel libQuarrow/topology libQuarrow/topology/names nlohmann
libQuarrow/c:                zel libQuarrow/cpu libQuarrow/recording/formats
                             libQuarrow/os/recorded libQuarrow/topology libQuarrow/topology/names libQuarrow/topology/features
                             libQuarrow/topology/leaves libQuarrow/document
tools/quarrow/os/*.h:
tools/quarrow/os:            zel tools/quarrow/os
tools/quarrow:               zel libQuarrow/cpu libQuarrow/topology libQuarrow/topology/leaves libQuarrow/topology/names libQuarrow/topology/features libQuarrow/document
                             tools/quarrow/os nlohmann
tools/quarrow/picture:       zel libQuarrow/topology tools/quarrow
tools/quarrow/page:          zel libQuarrow/topology tools/quarrow tools/quarrow/picture
tools/quarrow/classic:       zel libKernelMode libQuarrow/machine libQuarrow/cpu $x86 $x86/caches libQuarrow/topology tools/quarrow tools/quarrow/picture nlohmann
tools/quarrow/document:      libQuarrow/topology libQuarrow/document tools/quarrow nlohmann
tools/quarrow/fleet:         zel libQuarrow/recording libQuarrow/recording/formats libQuarrow/os/recorded libQuarrow/topology
                             libQuarrow/topology/names tools/quarrow tools/quarrow/page nlohmann
tools/quarrow/export:        zel libQuarrow/topology libQuarrow/topology/features tools/quarrow tools/quarrow/fleet nlohmann
tools/quarrow/commands:      zel libKernelMode pci libQuarrow/machine libQuarrow/cpu $x86 $x86/caches libQuarrow/recording libQuarrow/recording/formats
                             libQuarrow/os/recorded libQuarrow/topology libQuarrow/topology/names libQuarrow/topology/features
                             tools/quarrow tools/quarrow/os tools/quarrow/document tools/quarrow/classic
                             tools/quarrow/picture tools/quarrow/page tools/quarrow/fleet tools/quarrow/export nlohmann
tools/quarrow/main.cpp:      zel libQuarrow/recording libQuarrow/recording/formats libQuarrow/os/recorded
                             tools/quarrow tools/quarrow/os tools/quarrow/classic tools/quarrow/commands CLI
"
# shellcheck disable=SC2086 # a list of words
wrong=$(grep -rnE --include='*.cpp' --include='*.h' '#[[:space:]]*include[[:space:]]*<[^>]*/' $all |
    awk -v table="$table" '
    BEGIN {
        words = split("fmt spdlog CLI nlohmann", word)
        for (i = 1; i <= words; ++i) others[word[i]]
        words = split(table, word)
        for (i = 1; i <= words; ++i) {
            if (sub(/:$/, "", word[i])) may[row = word[i]] = " "
            else if (word[i] in may || word[i] "/*.h" in may || word[i] in others) may[row] = may[row] word[i] " "
            else print "the row of " row " names " word[i] ", which has none above it"
        }
    }
    # The row of a file: the nearest folder that has one.
    function row_of(file, folder, suffix) {
        if (file in may) return file
        folder = file
        sub(/\/[^\/]*$/, "", folder)
        suffix = file ~ /\.h$/ ? "/*.h" : "/*.cpp"
        if (folder suffix in may) return folder suffix
        while (!(folder in may) && sub(/\/[^\/]*$/, "", folder)) {}
        return folder in may ? folder : ""
    }
    {
        file = $0; sub(/:.*/, "", file)
        own = file; sub(/\/[^\/]*$/, "", own)
        included = $0; sub(/^[^<]*</, "", included); sub(/>.*/, "", included); sub(/\/[^\/]*$/, "", included)
        if (included !~ /^(zel|libKernelMode|pci|libQuarrow|tools)(\/|$)/) sub(/\/.*/, "", included)
        if (included ~ /^(boost|sys|linux|arpa)$/ || included == own) next
        row = row_of(file)
        if (row == "") print $0 " (the folder has no row)"
        else if (index(may[row], " " included " ") == 0) print $0
    }')
if [ -n "$wrong" ]; then
    printf 'A folder includes what stands above it or beside it (the table in %s):\n%s\n' "$0" "$wrong"
    failed=1
fi
exit $failed
