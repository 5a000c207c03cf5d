#!/usr/bin/env bash
# Builds everything and runs all tests:
#   - each fuzzer for 10 seconds, and the pure logic natively, both with sanitizers;
#   - the tests under Wine, with the shipped build and with the hardened one;
#   - the short soak.
# Arguments go to ctest and select tests under Wine, for instance: scripts/test.sh -R events
# Set WINEPREFIX only to a prefix that is for tests: they change its settings and end its programs.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/build.sh
cmake --preset sanitize >/dev/null
cmake --build --preset sanitize
cmake --preset hardened >/dev/null
cmake --build --preset hardened
scripts/fuzz.sh 10

source scripts/wine.sh
trap wine_stop EXIT
trap 'exit 130' INT TERM
wine_start

ctest --preset sanitize
ctest --preset windows --no-tests=error "$@"
ctest --preset hardened "$@"
[ $# -gt 0 ] || PYTHONDONTWRITEBYTECODE=1 python3 tests/soak/soak.py --short
