#!/usr/bin/env bash
# Runs fuzz targets for as long as is asked, each from its seeds in fuzz/corpus/, under the address and
# undefined behaviour sanitizers. The tests give each a fixed number of runs; this is for finding more.
#
#     scripts/fuzz.sh                       every target for 20 minutes, as many at once as there are cores
#     scripts/fuzz.sh SECONDS [NAME...]     those named
#
# What is found lies in build/fuzz/long/NAME/: make it small with
#     build/fuzz/fuzz/fuzz_NAME -minimize_crash=1 -runs=100000 FILE
# then fix the fault, add a test, and keep the file as a seed in fuzz/corpus/NAME/.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

seconds=${1:-1200}
[ "$#" -eq 0 ] || shift
names=("$@")
[ "${#names[@]}" -gt 0 ] || mapfile -t names < <(names_of fuzz/fuzz_)

install_missing "${build_packages[@]}" "${test_packages[@]}"

headline "Build (build/fuzz)"
cmake --preset fuzz
cmake --build --preset fuzz --parallel "$jobs" --target "${names[@]/#/fuzz_}"

# long NAME: one line of what came of it; fails with what was found.
long() {
    local name=$1 found="build/fuzz/long/$1" options=()
    mkdir -p "$found/corpus"
    [ ! -f "build/fuzz/fuzz/$name.dict" ] || options+=("-dict=build/fuzz/fuzz/$name.dict")
    # What the readers report of broken input is discarded: it would be gigabytes.
    if "${fixed_addresses[@]}" "build/fuzz/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=20 \
        -rss_limit_mb=2048 -close_fd_mask=2 -artifact_prefix="$found/" "${options[@]}" \
        "$found/corpus" "fuzz/corpus/$name" >"$found/log" 2>&1; then
        say "$name: $(tail -n 1 "$found/log")"
    else
        say "$name: FAILED, see $found"
        return 1
    fi
}

headline "Fuzz, $seconds seconds each"
failed=0
for name in "${names[@]}"; do
    while [ "$(jobs -rp | wc -l)" -ge "$jobs" ]; do wait -n || failed=1; done
    long "$name" &
done
while [ -n "$(jobs -p)" ]; do
    wait -n || { [ $? -eq 127 ] && break; failed=1; }
done
exit "$failed"
