#!/usr/bin/env bash
# Builds the measurements and runs them, each operation beside its baseline: all of them, or those named.
#
#     scripts/bench.sh                         all
#     scripts/bench.sh values lists            two programs
#     BENCH_TIME=0.1 scripts/bench.sh          a quick look; seconds for each operation, 0.5 at first
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

install_missing "${build_packages[@]}" libbenchmark-dev pkg-config \
    libglib2.0-dev qtbase5-dev

headline "Build (build/bench)"
cmake --preset bench
cmake --build --preset bench --parallel "$jobs"

names=("$@")
if [ "${#names[@]}" -eq 0 ]; then
    for source in bench/bench_*.cpp; do
        name=${source#bench/bench_}
        names+=("${name%.cpp}")
    done
fi
for name in "${names[@]}"; do
    headline "bench/$name"
    "build/bench/bench/$name" --benchmark_min_time="${BENCH_TIME:-0.5}"
done
