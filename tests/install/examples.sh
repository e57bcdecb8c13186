# shellcheck shell=sh disable=SC2154
# For the tests of installed files: building the examples against an installed Quarrow and running them.
# Expects $source (the checkout), $work (a folder to work in), $compiler and, for Windows programs, $suffix and $run.

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# answers TEXT COMMAND...: the command succeeds and prints the text.
answers() {
    expected=$1
    shift
    output=$("$@" 2>&1) || fail "$*: exit status $?: $output"
    case $output in
        *"$expected"*) ;;
        *) fail "$*: printed '$output' instead of '$expected'" ;;
    esac
}

# run_examples FOLDER
run_examples() {
    for example in one_thread_per_core print_tree share_l3 tree watch_temperature; do
        [ -f "$1/$example${suffix:-}" ] || fail "$example was not built in $1"
    done
    machines=$source/tests/machines
    answers "The thread runs on 0,2" ${run:+"$run"} "$1/one_thread_per_core${suffix:-}" "$machines/amd-family17-smt.txt"
    answers "package 0: " ${run:+"$run"} "$1/print_tree${suffix:-}"
    answers "The thread runs on 0:000000000000000Fh" ${run:+"$run"} "$1/share_l3${suffix:-}" "$machines/amd-family17-smt.txt"
    answers "package 0: 59 " ${run:+"$run"} "$1/watch_temperature${suffix:-}" "$machines/intel-thermal.txt"
    answers "  Core 3: CPUs 6-7" ${run:+"$run"} "$1/tree${suffix:-}" "$machines/intel-2p-smt.txt"
}

# with_find_package ROOT OPTION...: builds the examples that are installed there as a CMake project of their own.
with_find_package() {
    root=$1
    shift
    rm -rf "$work/find_package"
    {
        cmake -S "$root/share/doc/libquarrow-dev/examples" -B "$work/find_package" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
            -DCMAKE_PREFIX_PATH="$root" "$@" && cmake --build "$work/find_package"
    } >"$work/log" 2>&1 || fail "find_package(Quarrow): $(cat "$work/log")"
    run_examples "$work/find_package"
    echo "examples built with find_package and run: $root"
}

# with_pkg_config ROOT OPTION...: builds one by hand, with the options and those that pkg-config gives ($static: --static).
with_pkg_config() {
    root=$1
    shift
    export PKG_CONFIG_PATH="$root/lib/pkgconfig"
    # shellcheck disable=SC2046 # lists of words
    "$compiler" -std=c++17 "$@" $(pkg-config ${static:-} --cflags quarrow) "$source/examples/watch_temperature.cpp" \
        -o "$work/by_hand${suffix:-}" $(pkg-config ${static:-} --libs quarrow) -pthread || fail "pkg-config"
    answers "package 0: 59 " ${run:+"$run"} "$work/by_hand${suffix:-}" "$source/tests/machines/intel-thermal.txt"
    echo "an example built with pkg-config and run: $root"
}

# in_c ROOT COMPILER: builds the example in C by hand, with the options of quarrow-c's pkg-config file, and as a CMake project
# of a user who has C alone.
in_c() {
    export PKG_CONFIG_PATH="$1/lib/pkgconfig"
    recorded=$source/tests/machines/intel-2p-smt.txt
    # shellcheck disable=SC2046 # lists of words
    "$2" -std=c99 -pedantic -Werror $(pkg-config --cflags quarrow-c) "$source/examples/tree.c" \
        -o "$work/tree_by_hand${suffix:-}" $(pkg-config --libs quarrow-c) || fail "pkg-config quarrow-c"
    answers "  Core 3: CPUs 6-7" ${run:+"$run"} "$work/tree_by_hand${suffix:-}" "$recorded"
    rm -rf "$work/in_c"
    mkdir -p "$work/in_c"
    cat >"$work/in_c/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.16)
project(InC C)
set(CMAKE_DISABLE_FIND_PACKAGE_Boost ON)
find_package(Quarrow REQUIRED COMPONENTS C)
add_executable(tree $source/examples/tree.c)
target_link_libraries(tree PRIVATE Quarrow::C)
EOF
    {
        cmake -S "$work/in_c" -B "$work/in_c/build" -G Ninja -DCMAKE_C_COMPILER="$2" -DCMAKE_PREFIX_PATH="$1" \
            -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH ${suffix:+-DCMAKE_SYSTEM_NAME=Windows} &&
            cmake --build "$work/in_c/build"
    } >"$work/log" 2>&1 || fail "find_package(Quarrow COMPONENTS C): $(cat "$work/log")"
    answers "  Core 3: CPUs 6-7" ${run:+"$run"} "$work/in_c/build/tree${suffix:-}" "$recorded"
    echo "the example in C built and run: $1"
}
