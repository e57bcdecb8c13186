#!/bin/sh
# The ZIP archive for Windows works where it is unpacked: the tool runs with the DLLs that come along, and the examples
# build and run, with find_package and with pkg-config. Programs run under Wine.
# Usage: install_windows_test.sh SOURCE_FOLDER BUILD_FOLDER COMPILER
set -eu
source=$1 build=$2 compiler=$3
work=$build/install_test suffix=.exe run=$source/scripts/run-under-wine.sh
# shellcheck source=tests/install/examples.sh
. "$source/tests/install/examples.sh"
version=$(sed -n 's/^project(Quarrow VERSION \([0-9.]*\) .*/\1/p' "$source/CMakeLists.txt")
rm -rf "$work"
mkdir -p "$work/unpacked"

cpack --config "$build/CPackConfig.cmake" -B "$work/packages" >"$work/log" 2>&1 || fail "$(cat "$work/log")"
cmake -E chdir "$work/unpacked" cmake -E tar xf "$work"/packages/*.zip
root=$(echo "$work"/unpacked/quarrow-*)

answers "quarrow $version" "$run" "$root/bin/quarrow.exe" --version
answers "2 packages, 4 cores, 8 threads" "$run" "$root/bin/quarrow.exe" --machine "$source/tests/machines/intel-2p-smt.txt"

grep -q "#include <fmt/" "$root/THIRD-PARTY.txt" || fail "the archive lacks the licences of what it is built with"

# The Boost headers are the programmer's own; here those that the build uses. WINEPATH is where DLLs are looked for.
WINEPATH=$(echo "Z:$root/bin" | tr / '\134')
export WINEPATH
with_find_package "$root" -DCMAKE_TOOLCHAIN_FILE="$source/cmake/windows-mingw.cmake" \
    -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH -DBoost_NO_BOOST_CMAKE=ON -DBoost_INCLUDE_DIR="$build/dependencies"
with_pkg_config "$root" -isystem "$build/dependencies"
in_c "$root" x86_64-w64-mingw32-gcc-posix
