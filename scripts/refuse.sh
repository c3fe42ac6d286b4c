#!/usr/bin/env bash
# Memory refused at every single allocation of every piece of work that the tests have, under the address
# and undefined behaviour sanitizers, each place in a process of its own. Prints for each work how many
# places it has, and at how many the process crashed, what was done afterwards failed (stuck), and something
# was lost without a report, leaked, or came out differently at a second try (wrong).
#
#     scripts/refuse.sh                     all works, three times as large as in the tests
#     scripts/refuse.sh TIMES [WORK...]     those named, such as LoadingAList
#
# What is found is described in build/refuse.log.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

times=${1:-3}
[ "$#" -eq 0 ] || shift
filter='*Refused*'
[ "$#" -eq 0 ] || filter=$(printf '*.%s:' "$@")

install_missing "${build_packages[@]}" "${test_packages[@]}"

headline "Build (build/asan)"
cmake --preset asan
cmake --build --preset asan --parallel "$jobs" --target zel_test_faults

headline "Refused memory, works $times times as large"
program=$PWD/build/asan/tests/zel_test_faults
code=0
(cd tests && LSAN_OPTIONS=suppressions=$PWD/leaks.supp:print_suppressions=0 PYTHONMALLOC=malloc \
    ZEL_REFUSE=$times "${fixed_addresses[@]}" "$program" --gtest_filter="$filter" 2>../build/refuse.log |
    grep --line-buffered -E ' places, |SKIPPED|FAILED  \]') || code=$?
say "$([ "$code" -eq 0 ] && echo "0 crashes, 0 stuck, 0 wrong" || echo "failed, see build/refuse.log")"
exit "$code"
