#!/usr/bin/env bash
# Builds build/bin/zelsyshelper.dll, the host program beside it, and the tests.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh
# CMake ignores a changed toolchain file in an existing build tree: --fresh discards its cache.
toolchain=cmake/clang-mingw.cmake
if [ $toolchain -nt build/build.ninja ] ||
    ! grep -qs "^CMAKE_TOOLCHAIN_FILE:.*/$toolchain$" build/CMakeCache.txt; then
    cmake --preset windows --fresh
fi
cmake --build --preset windows
