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
# What users unpack is enough for the tool, and what developers unpack over it for the rest.
users=$work/packages/quarrow-$version-windows-x86_64.zip
cmake -E chdir "$work/unpacked" cmake -E tar xf "$users"
root=$(echo "$work"/unpacked/quarrow-*)
[ ! -d "$root/include" ] || fail "the archive for users has headers"
[ -s "$root/README.txt" ] || fail "the archive for users has no README.txt"

answers "quarrow $version" "$run" "$root/bin/quarrow.exe" --version
answers "2 packages, 4 cores, 8 threads" "$run" "$root/bin/quarrow.exe" --machine "$source/tests/machines/intel-2p-smt.txt"

grep -q "#include <fmt/" "$root/THIRD-PARTY.txt" || fail "the archive lacks the licences of what it is built with"

# What Windows shows of a binary, and the manifest by which the tool takes any path and any letter.
for binary in "$root"/bin/quarrow.exe "$root"/bin/libQuarrow.dll "$root"/bin/quarrow.dll "$root"/bin/zel.dll; do
    strings -el "$binary" | grep -A1 '^ProductVersion$' | grep -qx "$version" || fail "$binary does not tell its version"
done
for setting in 'activeCodePage .*>UTF-8<' 'longPathAware .*>true<'; do
    strings "$root/bin/quarrow.exe" | grep -q "$setting" || fail "the manifest of quarrow.exe lacks $setting"
done

cmake -E chdir "$work/unpacked" cmake -E tar xf "${users%.zip}-dev.zip"
[ "$(echo "$work"/unpacked/*)" = "$root" ] || fail "the archives unpack into folders of different names"

# The headers compile together, and after the system's own, which define words such as interface.
(cd "$root/include" && find zel libKernelMode pci libQuarrow -name '*.h') | sed 's/.*/#include <&>/' >"$work/headers"
[ "$(wc -l <"$work/headers")" -gt 30 ] || fail "headers are missing: $(cat "$work/headers")"
{ echo "#include <windows.h>"; cat "$work/headers"; } |
    "$compiler" -std=c++17 -Wall -Wextra -Werror -fsyntax-only -I"$root/include" -isystem "$build/dependencies" -x c++ - ||
    fail "the headers do not compile after those of Windows"

# The Boost headers are the programmer's own; here those that the build uses. WINEPATH is where DLLs are looked for.
WINEPATH=$(echo "Z:$root/bin" | tr / '\134')
export WINEPATH
with_find_package "$root" -DCMAKE_TOOLCHAIN_FILE="$source/cmake/windows-mingw.cmake" \
    -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH -DBoost_NO_BOOST_CMAKE=ON -DBoost_INCLUDE_DIR="$build/dependencies"
with_pkg_config "$root" -isystem "$build/dependencies"
in_c "$root" x86_64-w64-mingw32-gcc-posix
