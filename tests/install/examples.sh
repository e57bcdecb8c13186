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
    for example in one_thread_per_core print_tree share_l3 watch_temperature; do
        [ -f "$1/$example${suffix:-}" ] || fail "$example was not built in $1"
    done
    machines=$source/tests/machines
    answers "The thread runs on 0,2" ${run:+"$run"} "$1/one_thread_per_core${suffix:-}" "$machines/amd-family17-smt.txt"
    answers "package 0: " ${run:+"$run"} "$1/print_tree${suffix:-}"
    answers "The thread runs on 0:000000000000000Fh" ${run:+"$run"} "$1/share_l3${suffix:-}" "$machines/amd-family17-smt.txt"
    answers "package 0: 59 " ${run:+"$run"} "$1/watch_temperature${suffix:-}" "$machines/intel-thermal.txt"
}

# with_find_package ROOT OPTION...: builds the examples as a CMake project of their own.
with_find_package() {
    root=$1
    shift
    rm -rf "$work/find_package"
    {
        cmake -S "$source/examples" -B "$work/find_package" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
            -DCMAKE_PREFIX_PATH="$root" "$@" && cmake --build "$work/find_package"
    } >"$work/log" 2>&1 || fail "find_package(Quarrow): $(cat "$work/log")"
    run_examples "$work/find_package"
    echo "examples built with find_package and run: $root"
}

# with_pkg_config ROOT OPTION...: builds one by hand, with the options and those that pkg-config gives.
with_pkg_config() {
    root=$1
    shift
    export PKG_CONFIG_PATH="$root/lib/pkgconfig"
    # shellcheck disable=SC2046 # lists of words
    "$compiler" -std=c++17 "$@" $(pkg-config --cflags quarrow) "$source/examples/watch_temperature.cpp" \
        -o "$work/by_hand${suffix:-}" $(pkg-config --libs quarrow) -pthread || fail "pkg-config"
    answers "package 0: 59 " ${run:+"$run"} "$work/by_hand${suffix:-}" "$source/tests/machines/intel-thermal.txt"
    echo "an example built with pkg-config and run: $root"
}
