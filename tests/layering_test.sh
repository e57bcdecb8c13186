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

all="zel libKernelMode libQuarrow tools"
allowed='^[^:]*/os/(windows|linux)/|^libQuarrow/os/InstructionRoutines\.'
forbid 'A conditional on the system or the compiler outside os/' \
    '^[[:space:]]*#[[:space:]]*(if|ifdef|ifndef|elif).*(_WIN|WIN32|_MSC_VER|__linux|__unix|__GNUC__|__clang__|__MINGW|__x86_64|_M_X64)' $all
forbid "A header of the system's own outside os/" \
    '#[[:space:]]*include[[:space:]]*<(windows|winternl|sched|unistd|pthread|fcntl|dlfcn|sys/.*|cpuid|.*intrin)(\.h)?>' $all
forbid 'An instruction executed outside the instruction routines' '(__asm|\basm\b[[:space:]]*(\(|volatile)|__cpuid|__rdtsc|_xgetbv)' $all

allowed='^$'
forbid 'zel includes a library above it' '#[[:space:]]*include[[:space:]]*<(libKernelMode|libQuarrow)/' zel
forbid 'libKernelMode includes a library above it' '#[[:space:]]*include[[:space:]]*<libQuarrow/' libKernelMode
allowed='^libQuarrow/os/recorded/MachineRecorder\.cpp:' # asks the decoders, so that it notes what they read
forbid 'os/ includes decoders' '#[[:space:]]*include[[:space:]]*<libQuarrow/cpu/x86/' libQuarrow/os
allowed='^$'
forbid 'cpu/ includes cpu/x86/' '#[[:space:]]*include[[:space:]]*<libQuarrow/cpu/x86/' libQuarrow/cpu/*.h libQuarrow/cpu/*.cpp
forbid 'Something below the topology includes it' '#[[:space:]]*include[[:space:]]*<libQuarrow/topology/' \
    libQuarrow/machine libQuarrow/cpu libQuarrow/os libQuarrow/recording libQuarrow/memory libQuarrow/io
allowed='^libQuarrow/topology/ProcessorAffinity\.h:' # the one conversion
forbid 'The headers of the topology show more than the standard library' \
    '#[[:space:]]*include[[:space:]]*<(boost|zel|libQuarrow/cpu)/' libQuarrow/topology/*.h
allowed='^$'
forbid 'The library includes the tool' '#[[:space:]]*include[[:space:]]*<tools/' zel libKernelMode libQuarrow
forbid 'Formatting and logging libraries show through zel' '#[[:space:]]*include[[:space:]]*<(fmt|spdlog)/' libKernelMode libQuarrow zel/*.h
forbid 'The tool reaches past the seam' 'libQuarrow/os/(windows|linux)/' tools
exit $failed
