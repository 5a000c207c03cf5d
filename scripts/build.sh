#!/usr/bin/env bash
# Builds build/bin/zelsyshelper.dll, the host program beside it, and the tests.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh
# A tree that another toolchain has configured keeps it until it is configured from the beginning.
grep -qs '^CMAKE_TOOLCHAIN_FILE:.*/clang-mingw.cmake$' build/CMakeCache.txt || cmake --preset windows --fresh
cmake --build --preset windows
