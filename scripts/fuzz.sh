#!/usr/bin/env bash
# Builds the fuzzers and runs each for SECONDS, one per processor at a time:
#   scripts/fuzz.sh [SECONDS] [FUZZER...]      default: 600 seconds, all of them
# New inputs stay in build/fuzz/corpus, inputs that crash in build/fuzz/crashes.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-600}
shift || true
fuzzers=("$@")
[ $# -gt 0 ] || for folder in tests/fuzz/corpus/*/; do fuzzers+=("$(basename "$folder")"); done
for fuzzer in "${fuzzers[@]}"; do
    [ -f "tests/fuzz/$fuzzer.cpp" ] || { echo "fuzz.sh: no such fuzzer: $fuzzer" >&2; exit 2; }
done

scripts/bootstrap.sh
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

run() {
    local fuzzer=$1 log=build/fuzz/$1.log result=0
    mkdir -p "build/fuzz/corpus/$fuzzer" "build/fuzz/crashes/$fuzzer"
    # libFuzzer writes new inputs to the first folder and only reads the second.
    build/fuzz/bin/fuzz_"$fuzzer" -max_total_time="$seconds" -print_final_stats=1 \
        -artifact_prefix="build/fuzz/crashes/$fuzzer/" \
        "build/fuzz/corpus/$fuzzer" "tests/fuzz/corpus/$fuzzer" >"$log" 2>&1 || result=$?
    number() { grep -aoP "$1\s*\K\d+" "$log" | tail -n 1 | grep . || echo -; }
    local crash=none
    [ $result -eq 0 ] ||
        crash=$(grep -aoP 'Test unit written to \K.*' "$log" || echo "ended with $result, see $log")
    printf '%-10s %12s %8s %9s  %s\n' "$fuzzer" "$(number executed_units:)" "$(number exec_per_sec:)" \
        "$(number ' ft:')" "$crash"
    return $result
}
export -f run
export seconds

printf '%-10s %12s %8s %9s  %s\n' fuzzer runs runs/s features crash
printf '%s\n' "${fuzzers[@]}" | xargs -P "$(nproc)" -I {} bash -c 'run {}'
