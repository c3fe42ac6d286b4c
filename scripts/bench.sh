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
    libglib2.0-dev qtbase5-dev rapidjson-dev libprotobuf-dev protobuf-compiler \
    python3-gi python3-pyqt5

headline "Build (build/bench)"
cmake --preset bench
cmake --build --preset bench --parallel "$jobs"

names=("$@")
[ "${#names[@]}" -gt 0 ] || mapfile -t names < <(names_of bench/bench_)
for name in "${names[@]}"; do
    headline "bench/$name"
    time_arg=--benchmark_min_time=${BENCH_TIME:-0.5}
    if [ "$name" = python ]; then
        # Which runs bench/python itself.
        "$(sed -n 's/^_Python3_EXECUTABLE:[A-Z]*=//p' build/bench/CMakeCache.txt)" \
            bench/bench_python.py build/bench "$time_arg"
    else
        "build/bench/bench/$name" "$time_arg"
    fi
done
