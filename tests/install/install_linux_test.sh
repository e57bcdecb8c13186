#!/bin/sh
# What is installed, and the Debian packages, work in a clean place: every header compiles alone, the tool runs, and the
# examples build and run, with find_package and with pkg-config.
# Usage: install_linux_test.sh SOURCE_FOLDER BUILD_FOLDER COMPILER
set -eu
source=$1 build=$2 compiler=$3
work=$build/install_test
# shellcheck source=tests/install/examples.sh
. "$source/tests/install/examples.sh"
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
xargs -P "$(nproc)" -I{} "$compiler" -std=c++17 -Wall -Wextra -Werror -fsyntax-only -I"$root/include" \
    -include {} -x c++ /dev/null <"$work/headers" || fail "a header does not compile alone"
echo "$(wc -l <"$work/headers") headers compile alone"

# try ROOT: as a user of what lies there.
try() {
    answers "quarrow 1." "$1/bin/quarrow" --version
    answers "CPU:0:0:1:1:*" "$1/bin/quarrow" --machine "$source/tests/machines/intel-2p-smt.txt"
    for file in share/man/man1/quarrow.1 share/doc/quarrow/recordings.md share/bash-completion/completions/quarrow; do
        [ -s "$1/$file" ] || fail "$1/$file is missing"
    done
    if readelf -S "$1"/lib/*.so.*.* "$1/bin/quarrow" | grep -q '\.debug_info'; then
        fail "installed with debug information"
    fi
    with_find_package "$1"
    LD_LIBRARY_PATH=$1/lib with_pkg_config "$1"
}
try "$root"

cpack --config "$build/CPackConfig.cmake" -B "$work/packages" >"$work/log" 2>&1 || fail "$(cat "$work/log")"
for package in "$work"/packages/*.deb; do
    dpkg -x "$package" "$work/unpacked"
done
runtime=$(echo "$work"/packages/quarrow_*.deb) development=$(echo "$work"/packages/quarrow-dev_*.deb)
answers "libstdc++6" dpkg-deb -f "$runtime" Depends
answers "libboost-dev" dpkg-deb -f "$development" Depends
answers "quarrow (= " dpkg-deb -f "$development" Depends
mkdir "$work/runtime"
dpkg -x "$runtime" "$work/runtime"
answers "quarrow 1." "$work/runtime/usr/bin/quarrow" --version
try "$work/unpacked/usr"
