#!/bin/bash
# The manual page and the completions know every command and option that `quarrow --help` and each command's own help list,
# and no others; the guide shows pieces of the examples, which are built and run.
# Usage: documents_test.sh SOURCE_FOLDER TOOL
set -u
source=$1 tool=$2
failed=0
complain() {
    echo "$*" >&2
    failed=1
}

# options_in COMMAND: the options that the help of that command, or with an empty one the help of all, lists.
options_in() {
    # shellcheck disable=SC2086 # no word without a command
    "$tool" $1 --help | grep -oE '^ +(-[a-z],)?--[a-z]+' | grep -oE -- '--[a-z]+' | sort -u
}

commands=$("$tool" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]\+\) .*/\1/p' | sort)
general=$(options_in "")
options=$(for command in "" $commands; do options_in "$command"; done | sort -u)
[ "$(wc -w <<<"$commands $options")" -ge 20 ] || complain "the help lists hardly any commands and options"

manual=$(sed 's/\\-/-/g' "$source/docs/quarrow.1")
for command in $commands; do
    grep -qE "^\.B[RI]? $command( |$)" <<<"$manual" || complain "docs/quarrow.1 lacks the command $command"
done
for option in $options; do
    grep -qE "^\.B[RI]? .*$option( |$)" <<<"$manual" || complain "docs/quarrow.1 lacks the option $option"
done
for option in $(grep -oE -- '--[a-z]+' <<<"$manual" | sort -u); do
    grep -qx -- "$option" <<<"$options" || complain "docs/quarrow.1 has $option, which the tool has not"
done

# shellcheck source=tools/quarrow/quarrow.bash-completion
. "$source/tools/quarrow/quarrow.bash-completion"
# completes WORD...: what the last word is completed to, one line each, sorted.
completes() {
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=()
    _quarrow 2>/dev/null
    printf '%s\n' "${COMPREPLY[@]}" | sort
}
[ "$(completes quarrow "")" = "$commands" ] || complain "completes other commands than $commands"
[ "$(completes quarrow --json --machine /etc/passwd "")" = "$commands" ] || complain "no commands after options"
[ "$(completes quarrow --)" = "$general" ] || complain "completes other options than $general"
for command in $commands; do
    expected=$({ echo "$general"; options_in "$command"; } | sort -u)
    [ "$(completes quarrow "$command" --)" = "$expected" ] || complain "completes other options of $command than $expected"
done
# The other shells need not be here, so their files are read; which command has which option this does not see.
zsh=$(grep -oE "^ +'[a-z]+:" "$source/tools/quarrow/_quarrow" | tr -d " ':" | sort)
fish=$(sed -n 's/^complete .* -a \([a-z]*\) -d .*/\1/p' "$source/tools/quarrow/quarrow.fish" | sort)
[ "$zsh" = "$commands" ] || complain "zsh completes other commands than $commands"
[ "$fish" = "$commands" ] || complain "fish completes other commands than $commands"
zsh=$(grep -oE -- '--[a-z]+' "$source/tools/quarrow/_quarrow" | sort -u)
fish=$(sed -n 's/^complete .* -l \([a-z]*\) .*/--\1/p' "$source/tools/quarrow/quarrow.fish" | sort -u)
[ "$zsh" = "$options" ] || complain "zsh completes other options than $options"
[ "$fish" = "$options" ] || complain "fish completes other options than $options"
[ "$(completes quarrow --log "")" = "$(seq 4)" ] || complain "does not complete --log"
[ "$(completes quarrow --machine "$source/READ")" = "$source/README.md" ] || complain "does not complete files"
[ "$(completes quarrow --machine = "$source/READ")" = "$source/README.md" ] || complain "does not complete files after ="
[ "$(completes quarrow --machine = /etc/passwd "")" = "$commands" ] || complain "no commands after an option with ="
[ "$(completes quarrow baseline nati)" = native ] || complain "does not complete this machine's name"
[ "$(completes quarrow cpus "" | head -1)" = 0 ] || complain "does not complete processor numbers"

# shown DOCUMENT: its pieces of C++, without indentation, stand so in one of the examples.
shown() {
    awk '/^```cpp$/ { piece = ++n; next } /^```$/ { piece = 0 } piece { sub(/^ +/, ""); print > (folder "/" piece) }' \
        folder="$1" "$source/docs/guide.md"
}
pieces=$(mktemp -d)
trap 'rm -rf "$pieces"' EXIT
shown "$pieces"
examples=$(sed 's/^ *//' "$source"/examples/*)
[ -f "$pieces/4" ] || complain "docs/guide.md shows fewer than four pieces of C++"
for piece in "$pieces"/*; do
    [[ $examples == *"$(cat "$piece")"* ]] || complain "docs/guide.md shows what is in no example: $(cat "$piece")"
done
exit $failed
