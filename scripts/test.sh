#!/usr/bin/env bash
# Builds everything and runs all tests: the pure logic natively under sanitizers, 10 seconds of each fuzzer, the rest
# under Wine: as it is shipped, with a guarded heap and traps for undefined behaviour, and the short soak.
# Arguments choose among the tests under Wine, for instance: scripts/test.sh -R events
# A prefix that WINEPREFIX names is for tests only: they change its settings, and end what runs in it.
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
