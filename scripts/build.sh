#!/usr/bin/env bash
# Builds build/bin/zelsyshelper.dll, the host program beside it, and the tests.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh
[ -f build/build.ninja ] || cmake --preset windows
cmake --build --preset windows
