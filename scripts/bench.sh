#!/usr/bin/env bash
# Builds the benchmarks, runs them under Wine and prints one table:
#   scripts/bench.sh [NAME...]    default: all of them
#   scripts/bench.sh --write      all of them; also writes the results into docs/benchmarks.md
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh
[ -f build/build.ninja ] || cmake --preset windows >/dev/null
cmake --build --preset windows --target zelsyshelper bench load_bench >&2

source scripts/wine.sh
trap wine_stop EXIT
trap 'exit 130' INT TERM
wine_start
PYTHONDONTWRITEBYTECODE=1 python3 bench/run.py "$@"
