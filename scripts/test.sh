#!/usr/bin/env bash
# Builds everything and runs all tests:
#   - each fuzzer for 10 seconds, and the pure logic natively, both with sanitizers;
#   - the tests under Wine, with the shipped build and with the hardened one;
#   - the short soak, unless there are arguments.
# Arguments go to ctest and select tests under Wine, for instance: scripts/test.sh -R events
#   --quick   first argument: runs only the tests under Wine, with the shipped build, and keeps their prefix
# Set WINEPREFIX only to a prefix that is for tests: they change its settings and end its programs.
set -euo pipefail
cd "$(dirname "$0")/.."

stage() { # NAME COMMAND...
    local name=$1 begin=$SECONDS
    shift
    echo "== $name"
    "$@"
    echo "== $name: $((SECONDS - begin)) s"
}
build_preset() {
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1"
}
soak() {
    PYTHONDONTWRITEBYTECODE=1 python3 tests/soak/soak.py --short
}

quick=
if [ "${1:-}" = --quick ]; then
    quick=yes
    shift
    export WINEPREFIX=${WINEPREFIX:-$PWD/build/prefix}
fi

stage "build, windows" scripts/build.sh
if [ -z "$quick" ]; then
    stage "build, benchmarks" cmake --build --preset windows --target bench load_bench
    stage "build, sanitize" build_preset sanitize
    stage "build, hardened" build_preset hardened
    stage "fuzzers" scripts/fuzz.sh 10
    stage "tests, sanitize" ctest --preset sanitize
fi

source scripts/wine.sh
trap wine_stop EXIT
trap 'exit 130' INT TERM
stage "Wine's prefix" wine_start
stage "tests, windows" ctest --preset windows --no-tests=error "$@"
[ -z "$quick" ] || exit 0
stage "tests, hardened" ctest --preset hardened "$@"
[ $# -gt 0 ] || stage "soak" soak
