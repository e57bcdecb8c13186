#!/bin/bash
# Collects a fleet as docs/fleet.md says, asks it the page's questions in SQL, and lets promtool read what is for it, where
# these programs are installed.
# Usage: fleet_test.sh SOURCE_FOLDER TOOL
set -u
source=$1 tool=$2
failed=0
complain() {
    echo "$*" >&2
    failed=1
}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" || exit 2

count=0
for machine in "$source"/tests/machines/*.txt; do
    "$tool" --machine "$machine" export jsonl --name "$(basename "$machine" .txt)" || complain "$machine gives no line"
    count=$((count + 1))
done >fleet.jsonl
[ "$(wc -l <fleet.jsonl)" -eq "$count" ] || complain "not one line for each machine"
[ "$("$tool" fleet --json fleet.jsonl | grep -oE '"count":[0-9]+' | awk -F: '{ sum += $2 } END { print sum }')" -eq "$count" ] ||
    complain "the groups do not have all machines"

if command -v sqlite3 >/dev/null; then
    # The page's own lines: first those for the shell, then each question, which ends in a semicolon.
    eval "$(sed -n 's/^    \(sqlite3 .*\)/\1/p' "$source/docs/fleet.md")" || complain "sqlite3 cannot import the lines"
    awk '/^    SELECT/ { shown = 1 } shown; /;$/ { shown = 0 }' "$source/docs/fleet.md" >questions.sql
    [ "$(grep -c ';$' questions.sql)" -ge 3 ] || complain "docs/fleet.md has fewer than three questions"
    sqlite3 -bail fleet.db <questions.sql >answers || complain "sqlite3 refuses a question"
    [ "$(sqlite3 fleet.db 'SELECT count(*) FROM fleet')" -eq "$count" ] || complain "not every line was imported"
    # Of the second question: the machines without AVX-512 are those that do not list it.
    sqlite3 fleet.db "$(awk -v RS=';' 'NR == 2' questions.sql)" | sort >without
    for machine in "$source"/tests/machines/*.txt; do
        "$tool" --machine "$machine" features | sed -n '/can use/,$p' | grep -qw avx512f || basename "$machine" .txt
    done | sort >expected
    cmp -s without expected || complain "the question for AVX-512 finds other machines: $(diff without expected)"
fi
if command -v promtool >/dev/null; then
    for machine in "$source"/tests/machines/*.txt; do
        "$tool" --machine "$machine" export prometheus | promtool check metrics || complain "promtool refuses $machine"
    done
fi
# The labels are as Kubernetes has them: a namespace, and 63 characters at most, the first and last a letter or digit.
for machine in "$source"/tests/machines/*.txt; do
    bad=$("$tool" --machine "$machine" export nfd |
        grep -vE '^feature\.node\.kubernetes\.io/[A-Za-z0-9]([A-Za-z0-9._-]{0,61}[A-Za-z0-9])?=[A-Za-z0-9]([A-Za-z0-9._-]{0,61}[A-Za-z0-9])?$')
    [ -z "$bad" ] || complain "no labels: $bad"
done
exit $failed
