#!/usr/bin/env bash
# Everything the project checks of itself. The last line is "N passed, N failed"; the exit code is 0
# only if nothing failed. What is counted: each CTest entry of each run, each build, each fuzz target,
# the format check.
set -euo pipefail
# shellcheck source=scripts/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

# Groups whose tests start threads; they run under the thread sanitizer too. Those of "node" start none of their own: what
# threads do with a scene is in "threads".
thread_groups=(host types instances micronodes overrides ordinals strings data conditions menus snapshots threads
               soak)
fuzz_runs=20000

passed=0
failed=0
failures=()

pass() { passed=$((passed + $1)); }
fail() {
    failed=$((failed + $1))
    failures+=("$2")
}

# check NAME COMMAND...: one check, reported in one line when it fails.
check() {
    local name=$1
    shift
    if "$@"; then
        pass 1
    else
        fail 1 "$name"
        say "FAILED: $name"
        return 1
    fi
}

# build PRESET [TARGET...]: configures and builds; a broken file doesn't keep the others from being built.
build() {
    local preset=$1 target arguments=()
    shift
    for target in "$@"; do arguments+=(--target "$target"); done
    cmake --preset "$preset" >"build/$preset.log" 2>&1 || { cat "build/$preset.log"; return 1; }
    cmake --build --preset "$preset" --parallel "$jobs" "${arguments[@]}" -- -k 0
}

# run_tests PRESET [CTEST ARGUMENT...]: runs the suite and adds up what ctest itself reports.
run_tests() {
    local preset=$1 log="build/$1-tests.log" code=0 total bad skipped
    shift
    "${fixed_addresses[@]}" ctest --preset "$preset" --parallel "$jobs" --no-tests=error "$@" \
        >"$log" 2>&1 || code=$?
    grep -vE '^ *(Start +[0-9]+:|[0-9]+/[0-9]+ Test +#[0-9]+: .* Passed )' "$log" || true
    read -r bad total < <(sed -nE \
        's/^[0-9]+% tests passed, ([0-9]+) tests? failed out of ([0-9]+).*/\1 \2/p' "$log") || true
    if [ -z "${total:-}" ]; then
        fail 1 "$preset: ctest ran no tests"
        return 0
    fi
    # A skipped test is part of ctest's total, a disabled one is not.
    skipped=$(grep -cE '^ *[0-9]+/[0-9]+ Test +#[0-9]+: .*\*\*\*Skipped' "$log" || true)
    pass $((total - bad - skipped))
    [ "$skipped" -eq 0 ] || say "$preset: $skipped skipped (counted neither way)"
    if [ "$bad" -gt 0 ]; then
        fail "$bad" "$preset: $bad of $total tests"
    elif [ "$code" -ne 0 ]; then
        fail 1 "$preset: ctest ended with code $code"
    fi
}

# fuzz NAME: a fixed number of runs from the seeds; what it finds stays in the build folder.
fuzz() {
    local name=$1 found="build/fuzz/found/$1" options=() runs=$fuzz_runs
    case $name in
    scene_file) runs=$((fuzz_runs / 20)) ;; # each makes and saves several scenes
    merge) runs=$((fuzz_runs / 10)) ;;      # several streams or scripts
    lsp) runs=$((fuzz_runs / 4)) ;;         # each checks several scripts
    script) runs=$((fuzz_runs / 8)) ;;      # and each of them by itself, by all rules
    esac
    mkdir -p "$found/corpus"
    [ ! -f "build/fuzz/fuzz/$name.dict" ] || options+=("-dict=build/fuzz/fuzz/$name.dict")
    [ ! -d "fuzz/corpus/$name" ] || options+=("fuzz/corpus/$name")
    "${fixed_addresses[@]}" "build/fuzz/fuzz/fuzz_$name" -runs="$runs" -seed=1 -timeout=20 \
        -rss_limit_mb=2048 -artifact_prefix="$found/" "$found/corpus" "${options[@]}" \
        >"$found/log" 2>&1 || { tail -n 60 "$found/log"; return 1; }
    tail -n 1 "$found/log"
}

# run_fuzz NAME...: the targets side by side, one for each core; each one's report is in build/fuzz/NAME.report,
# and build/fuzz/NAME.passed is there if nothing was found.
run_fuzz() {
    local name
    for name in "$@"; do
        rm -f "build/fuzz/$name.passed"
        while [ "$(jobs -rp | wc -l)" -ge "$jobs" ]; do wait -n || true; done
        { fuzz "$name" && touch "build/fuzz/$name.passed"; } >"build/fuzz/$name.report" 2>&1 &
    done
    wait
}

fuzz_report() {
    cat "build/fuzz/$1.report"
    [ -f "build/fuzz/$1.passed" ]
}

install_missing "${build_packages[@]}" "${test_packages[@]}"
mkdir -p build

headline "Build and tests (build/dev)"
check "dev: build" build dev || true
run_tests dev

headline "Tests under the address and undefined behaviour sanitizers (build/asan)"
check "asan: build" build asan || true
run_tests asan

headline "Tests of threads under the thread sanitizer (build/tsan)"
check "tsan: build" build tsan "${thread_groups[@]/#/zel_test_}" || true
run_tests tsan --label-regex "^($(IFS='|'; echo "${thread_groups[*]}"))\$"

headline "Fuzz targets, up to $fuzz_runs runs each (build/fuzz)"
check "fuzz: build" build fuzz || true
mapfile -t fuzz_names < <(names_of fuzz/fuzz_)
run_fuzz "${fuzz_names[@]}"
for name in "${fuzz_names[@]}"; do
    say "$name"
    check "fuzz: $name" fuzz_report "$name" || true
done

headline "Format"
check "format" cmake --build --preset dev --target check-format || true

headline "Summary"
for failure in ${failures[@]+"${failures[@]}"}; do say "failed: $failure"; done
say "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
