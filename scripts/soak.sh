#!/usr/bin/env bash
# Threads that read while nothing writes, and between changes, under the thread sanitizer, with what each
# got compared with what one thread reads. The tests run it for a few seconds; this for longer.
#
#     scripts/soak.sh                     ten minutes, as many threads as there are cores, four at least
#     scripts/soak.sh SECONDS [THREADS [SEED]]
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_missing "${build_packages[@]}" "${test_packages[@]}"

headline "Build (build/tsan)"
cmake --preset tsan
cmake --build --preset tsan --parallel "$jobs" --target zel_test_soak

headline "Soak"
[ "$#" -gt 0 ] || set -- 600
"${fixed_addresses[@]}" build/tsan/tests/zel_test_soak "$@"
