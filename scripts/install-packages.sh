#!/bin/sh
# Installs from Debian what building needs and this machine lacks; with "test" what testing on both platforms needs too,
# with "bench", "fuzz", "docs", "analyze" or "format" what the benchmarks, the fuzz targets, the reference documentation, the
# static analysis or the formatting need.
# Asks nothing; needs root only when something is missing.
set -eu

build="g++ cmake ninja-build pkg-config libboost-dev libfmt-dev libspdlog-dev libcli11-dev nlohmann-json3-dev
    zlib1g-dev liblzma-dev libbz2-dev libpugixml-dev"
clang="clang libclang-rt-14-dev"
test="googletest libgtest-dev libgmock-dev g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine64 dpkg-dev lintian file python3-jsonschema
    python3-yaml chromium chromium-driver cpuid hwloc-nox sqlite3 $clang"
# A faster linker, which is also the other one for Windows, an archiver, and what the Python package is tested with.
test="$test lld llvm python3-pytest python3-venv mypy"
bench="libbenchmark-dev libhwloc-dev"
fuzz="$clang"
docs="doxygen"
analyze="clang-tidy cppcheck"
format="clang-format"

case "${1:-build}" in
    build) wanted="$build" ;;
    test) wanted="$build $test" ;;
    bench) wanted="$build $bench" ;;
    fuzz) wanted="$build $fuzz" ;;
    docs) wanted="$build $docs" ;;
    analyze) wanted="$build $test $analyze" ;;
    format) wanted="$format" ;;
    *)
        echo "usage: $0 [build|test|bench|fuzz|docs|analyze|format]" >&2
        exit 2
        ;;
esac

missing=""
for package in $wanted; do
    state=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=""
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "missing packages:$missing; install them as root with: apt-get install$missing" >&2
        exit 1
    fi
    as_root="sudo"
fi
echo "Installing:$missing"
$as_root apt-get update -q
# shellcheck disable=SC2086 # a list of words
$as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends $missing
