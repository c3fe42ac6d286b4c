#!/usr/bin/env bash
# Threads that read while nothing writes, and between changes, under the thread sanitizer, with what each
# got compared with what one thread reads; then random edits of a scene with undo and redo under the address
# sanitizer, with the saved bytes of each state compared. The tests run each for a few seconds; this for
# longer.
#
#     scripts/soak.sh                     ten minutes each, as many threads as there are cores, four at least
#     scripts/soak.sh SECONDS [THREADS [SEED]]
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_missing "${build_packages[@]}" "${test_packages[@]}"
[ "$#" -gt 0 ] || set -- 600

headline "Build (build/tsan, build/asan)"
cmake --preset tsan
cmake --build --preset tsan --parallel "$jobs" --target zel_test_soak
cmake --preset asan
cmake --build --preset asan --parallel "$jobs" --target zel_test_node

headline "Readers"
"${fixed_addresses[@]}" build/tsan/tests/zel_test_soak "$@"

headline "Edits"
# The test starts a program of 500 edits at each seed.
programs=4
first=${3:-1}
seed=$first
end=$((SECONDS + ${1%.*}))
while [ "$seed" -eq "$first" ] || [ "$SECONDS" -lt "$end" ]; do
    ZEL_TEST_SEED=$seed ZEL_TEST_OPERATIONS=$((programs * 500)) "${fixed_addresses[@]}" \
        build/asan/tests/zel_test_node --gtest_brief=1 \
        --gtest_filter=SceneUndo.EveryStateComesBackToTheByte
    seed=$((seed + programs))
done
say "seeds $first to $((seed - 1)), $(((seed - first) * 500)) edits: every state came back"
