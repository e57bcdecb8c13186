#!/bin/sh
# What is installed, and the Debian packages, work in a clean place: every header compiles alone, the tool runs, and the
# examples build and run, with find_package and with pkg-config.
# Usage: install_linux_test.sh SOURCE_FOLDER BUILD_FOLDER COMPILER
set -eu
source=$1 build=$2 compiler=$3
work=$build/install_test
# shellcheck source=tests/install/examples.sh
. "$source/tests/install/examples.sh"
version=$(sed -n 's/^project(Quarrow VERSION \([0-9.]*\) .*/\1/p' "$source/CMakeLists.txt")
rm -rf "$work"
mkdir -p "$work"

# Installed, then moved: nothing may remember where it was first.
cmake --install "$build" --prefix "$work/first" --strip >"$work/log" || fail "$(cat "$work/log")"
root=$work/moved
mv "$work/first" "$root"

foreign=$(grep -rhoE '#include <[a-z_A-Z]+/' "$root/include" | grep -vE '<(zel|libKernelMode|pci|libQuarrow|boost)/$' || true)
[ -z "$foreign" ] || fail "public headers need more than Boost: $foreign"
(cd "$root/include" && find zel libKernelMode pci libQuarrow -name '*.h') >"$work/headers"
[ "$(wc -l <"$work/headers")" -gt 30 ] || fail "headers are missing: $(cat "$work/headers")"
# Each compiles alone. A header that its own source includes first has shown that: those are compiled together.
compiles() { "$compiler" -std=c++17 -Wall -Wextra -Werror -fsyntax-only -I"$root/include" "$@" -x c++ /dev/null; }
together=""
while read -r header; do
    body=$source/${header%.h}.cpp
    if [ -f "$body" ] && [ "$(grep -m1 '^#include' "$body")" = "#include <$header>" ]; then
        together="$together -include $header"
    else
        compiles -include "$header" || fail "$header does not compile alone"
    fi
done <"$work/headers"
# shellcheck disable=SC2086 # a list of words
compiles $together || fail "a header includes what is not installed"
echo "$(wc -l <"$work/headers") headers compile"

# What others wrote is listed with its licence, whatever header of theirs a source of ours includes.
notice=$root/share/doc/quarrow/copyright
for package in "libquarrow${version%%.*}" libquarrow-dev; do
    cmp "$notice" "$root/share/doc/$package/copyright" || fail "the packages tell different licences"
done
for folder in $(cd "$source" && grep -rhoE '#include <[a-zA-Z_0-9]+/' zel libKernelMode libQuarrow tools | sed 's/.*<//' | sort -u); do
    case $folder in
        zel/ | libKernelMode/ | pci/ | libQuarrow/ | tools/ | sys/ | linux/) ;;
        *) grep -q "#include <$folder" "$notice" || fail "$notice does not list $folder" ;;
    esac
done

# try ROOT: as a user of what lies there.
try() {
    answers "quarrow $version" "$1/bin/quarrow" --version
    answers "2 packages, 4 cores, 8 threads" "$1/bin/quarrow" --machine "$source/tests/machines/intel-2p-smt.txt"
    for file in man/man1/quarrow.1.gz doc/quarrow/recordings.md bash-completion/completions/quarrow \
        zsh/site-functions/_quarrow fish/vendor_completions.d/quarrow.fish; do
        [ -s "$1/share/$file" ] || fail "$1/share/$file is missing"
    done
    if readelf -S "$1"/lib/*.so.*.* "$1/bin/quarrow" | grep -q '\.debug_info'; then
        fail "installed with debug information"
    fi
}
try "$root"
with_find_package "$root"

cpack --config "$build/CPackConfig.cmake" -B "$work/packages" >"$work/log" 2>&1 || fail "$(cat "$work/log")"
for package in "$work"/packages/*.deb; do
    dpkg -x "$package" "$work/unpacked"
done
tool=$(echo "$work"/packages/quarrow_*.deb) libraries=$(echo "$work"/packages/libquarrow[0-9]*.deb)
development=$(echo "$work"/packages/libquarrow-dev_*.deb)
answers "libc6" dpkg-deb -f "$tool" Depends
answers "libstdc++6" dpkg-deb -f "$libraries" Depends
answers "libboost-dev" dpkg-deb -f "$development" Depends
answers "libquarrow${version%%.*} (= $version)" dpkg-deb -f "$development" Depends
# Its libraries, to which nothing but the C library's belong, are within the tool.
mkdir "$work/tool"
dpkg -x "$tool" "$work/tool"
answers "quarrow $version" "$work/tool/usr/bin/quarrow" --version
lintian --allow-root --fail-on error "$tool" "$libraries" "$development" >"$work/log" 2>&1 || fail "lintian: $(cat "$work/log")"
try "$work/unpacked/usr"
LD_LIBRARY_PATH=$work/unpacked/usr/lib with_pkg_config "$work/unpacked/usr"
LD_LIBRARY_PATH=$work/unpacked/usr/lib in_c "$work/unpacked/usr" cc

# Part of another project, with static libraries: demands neither GoogleTest nor the libraries of the tool, leaves output
# folders and warnings alone. Its C interface is for users without a compiler of C++.
mkdir -p "$work/part"
cat >"$work/part/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.22)
project(Part CXX)
set(CMAKE_DISABLE_FIND_PACKAGE_GTest ON)
set(CMAKE_DISABLE_FIND_PACKAGE_CLI11 ON)
set(BUILD_SHARED_LIBS OFF)
add_subdirectory($source quarrow)
add_executable(part part.cpp)
target_link_libraries(part PRIVATE Quarrow::Quarrow)
EOF
cat >"$work/part/part.cpp" <<EOF
#include <zel/Temperature.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>
int main(int, char**) { int unused; }
EOF
# part FOLDER OPTION...: configures it there.
part() {
    folder=$1
    shift
    cmake -S "$work/part" -B "$folder" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_UNITY_BUILD=ON \
        -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DCMAKE_CXX_FLAGS=-Og "$@" >"$work/log" 2>&1 ||
        fail "add_subdirectory: $(cat "$work/log")"
}
part "$work/part/build" -DQUARROW_BUILD_C=ON -DQUARROW_INSTALL=ON
{
    cmake --build "$work/part/build" && cmake --install "$work/part/build" --prefix "$work/static"
} >"$work/log" 2>&1 || fail "add_subdirectory: $(cat "$work/log")"
"$work/part/build/part" || fail "add_subdirectory: the program does not run"
! grep -q -e -Werror "$work/part/build/compile_commands.json" || fail "add_subdirectory: our warnings are errors of others"
[ ! -e "$work/part/build/bin" ] || fail "add_subdirectory: decides where things are built"
part "$work/part/without_json" -DCMAKE_DISABLE_FIND_PACKAGE_nlohmann_json=ON
! grep -q -e QUARROW_HAS_JSON "$work/part/without_json/compile_commands.json" || fail "add_subdirectory: uses what it was denied"
# The only source that would be another one without the library.
"$compiler" -std=c++17 -Wall -Wextra -Werror -fsyntax-only -I"$source" -I"$root/include" \
    "$source/libQuarrow/recording/formats/FirecrackerJson.cpp" || fail "does not compile without a library for JSON"
echo "built as a part of another project"

! find "$work/static" -name '*.so*' | grep . || fail "installs shared libraries where static ones were asked for"
! grep -r '/usr/' "$work"/static/lib/cmake/Quarrow || fail "the CMake package can be used only where libraries lie as here"
with_find_package "$work/static"
static=--static with_pkg_config "$work/static"
in_c "$work/static" cc
for program in "$work/by_hand" "$work/tree_by_hand" "$work/in_c/build/tree"; do
    ! readelf -d "$program" | grep -i quarrow || fail "$program is linked with a shared library of ours"
done
