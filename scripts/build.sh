#!/usr/bin/env bash
# Builds build/bin/zelsyshelper.dll, the host program beside it, and the tests.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh
# CMake ignores a changed toolchain in an existing build tree: --fresh discards a tree of another toolchain.
grep -qs '^CMAKE_TOOLCHAIN_FILE:.*/clang-mingw.cmake$' build/CMakeCache.txt || cmake --preset windows --fresh
cmake --build --preset windows
