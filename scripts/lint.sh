#!/usr/bin/env bash
# Compiles the Windows tree with GCC, as a second compiler. Runs clang-tidy over all .cpp files except the
# tests. Takes minutes.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh
[ -f build/gcc/build.ninja ] ||
    cmake -G Ninja -S . -B build/gcc -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/gcc --target all bench load_bench
cmake --preset windows -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null
cmake --build --preset windows --target headers_size headers_speed headers_test
git ls-files '*.cpp' | grep -v '^tests/' | xargs -n 4 -P "$(nproc)" clang-tidy --quiet -p build
echo "lint: clean"
