#!/usr/bin/env bash
# Builds everything and runs all tests: the pure logic natively under sanitizers, the rest under Wine.
# Arguments go to ctest, for instance: scripts/test.sh -R events
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/build.sh
cmake --preset sanitize >/dev/null
cmake --build --preset sanitize

source scripts/wine.sh
trap wine_stop EXIT
trap 'exit 130' INT TERM
wine_start

status=0
ctest --preset sanitize "$@" || status=$?
ctest --preset windows "$@" || status=$?
exit $status
