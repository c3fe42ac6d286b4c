#!/usr/bin/env bash
# Compares two builds by the instructions that each measurement executes, which a busy machine doesn't
# change. Needs valgrind.
#
#     scripts/bench-compare.sh BUILD_A BUILD_B [NAME [FILTER]]
#
# BUILD_A and BUILD_B are build folders of the preset `bench`. A row has the millions of instructions of
# one pass of a measurement in each, setting up included, and B over A; rows that differ by more than
# two in a hundred are marked, and then the exit is 1.
set -euo pipefail

if [ "$#" -lt 2 ]; then
    sed -n '2,9s/^# \{0,1\}//p' "$0" >&2
    exit 2
fi
build_a=$1
build_b=$2
only=${3:-}
filter=${4:-}
if ! command -v valgrind >/dev/null 2>&1; then
    echo "valgrind isn't there; on Debian and Ubuntu: apt-get install valgrind" >&2
    exit 2
fi
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT

# instructions PROGRAM MEASUREMENT: of one pass.
instructions() {
    # Fair: a thread that waits for another must not spin until its time is up.
    valgrind --tool=callgrind --fair-sched=yes --callgrind-out-file="$out/callgrind" "$1" \
        --benchmark_min_time=0 --benchmark_filter="^$2\$" >"$out/log" 2>&1 || { cat "$out/log" >&2; return 1; }
    if grep -q "Failed to match" "$out/log"; then
        cat "$out/log" >&2
        return 1
    fi
    awk '/^(summary|totals):/ {print $2; exit}' "$out/callgrind"
}

marked=0
printf '%-44s %12s %12s %8s\n' measurement A B B/A
for program in "$build_a"/bench/*; do
    name=$(basename "$program")
    if [ ! -f "$program" ] || [ ! -x "$program" ] || { [ -n "$only" ] && [ "$only" != "$name" ]; }; then
        continue
    fi
    if [ ! -x "$build_b/bench/$name" ]; then
        echo "$name: not in $build_b" >&2
        continue
    fi
    while IFS= read -r measurement; do
        a=$(instructions "$program" "$measurement")
        b=$(instructions "$build_b/bench/$name" "$measurement")
        row=$(awk -v a="$a" -v b="$b" -v n="$name/${measurement%/*_time}" 'BEGIN {
            r = b / a; mark = r > 1.02 || r < 0.98 ? " *" : "";
            printf "%-44s %12.2f %12.2f %8.3f%s", n, a / 1e6, b / 1e6, r, mark }')
        echo "$row"
        [ "${row: -1}" != "*" ] || marked=1
    done < <("$program" --benchmark_list_tests | grep -E -- "${filter:-.}")
done
exit "$marked"
