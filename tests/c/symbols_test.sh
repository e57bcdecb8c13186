#!/bin/sh
# What the C interface declares, what libQuarrow/c/functions.txt lists and what the library exports are the same functions, and
# the library needs nothing but the system's own libraries. The headers compile as the languages that they
# promise, each for itself.
# Usage: symbols_test.sh SOURCE_FOLDER LIBRARY
set -eu
source=$1 library=$2
failed=0
# same WHAT: standard input is what the list says.
same() {
    if ! difference=$(grep -v '^#' "$source/libQuarrow/c/functions.txt" | sort | diff - "$2"); then
        printf '%s (>) is not what functions.txt lists (<):\n%s\n' "$1" "$difference"
        failed=1
    fi
}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

cat "$source"/libQuarrow/c/quarrow*.h | gcc -fpreprocessed -dD -E -P -x c - | grep -oE '\bquarrow_[a-z0-9_]+\(' | tr -d '(' | sort -u >"$folder/declared"
same "what quarrow.h declares" "$folder/declared"
case $library in
    *.dll)
        objdump -p "$library" | sed -n 's/^\t\[ *[0-9]*\] \(quarrow_.*\|_Z.*\)/\1/p' | sort >"$folder/exported"
        needed=$(objdump -p "$library" | sed -n 's/.*DLL Name: //p' | grep -viE '^(kernel32|msvcrt|advapi32|user32|shell32|ntdll|api-ms-win-.*|ucrtbase)\.dll$' || true)
        ;;
    *)
        nm -D --defined-only "$library" | sed -n 's/.* T \([^@]*\).*/\1/p' | sort >"$folder/exported"
        needed=$(nm -D --defined-only "$library" | grep -vE ' T quarrow_| A QUARROW_' || true)
        needed=$needed$(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | grep -vE '^(libc|libm|libz|liblzma|libbz2|ld-linux-x86-64|libdl|libpthread)\.so' || true)
        ;;
esac
same "what $library exports" "$folder/exported"
if [ -n "$needed" ]; then
    echo "$library exports or needs what no program in C has: $needed"
    failed=1
fi

for language in 'gcc -std=c99 -x c' 'gcc -std=c11 -x c' 'g++ -std=c++98 -x c++' 'g++ -std=c++17 -x c++' \
    'clang -std=c99 -x c' 'clang++ -std=c++98 -x c++'; do
    for header in "$source"/libQuarrow/c/quarrow*.h; do
        # shellcheck disable=SC2086 # a list of words
        echo "#include <libQuarrow/c/$(basename "$header")>" | $language -Wall -Wextra -pedantic -Werror -fsyntax-only -I"$source" - || {
            echo "$(basename "$header") does not compile with $language"
            failed=1
        }
    done
done
exit $failed
