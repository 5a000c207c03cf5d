#!/usr/bin/env bash
# Builds the benchmarks, runs them under Wine and prints their results:
#   scripts/bench.sh [NAME...]    default: all of them
#   scripts/bench.sh --write      all of them; also writes docs/benchmarks.md and docs/benchmarks.svg
#   scripts/bench.sh --growth     measures how cost grows, and draws charts for docs/benchmarks.md
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh python3-matplotlib
[ -f build/build.ninja ] || cmake --preset windows >/dev/null
cmake --build --preset windows --target zelsyshelper bench load_bench >&2

source scripts/wine.sh
trap wine_stop EXIT
trap 'exit 130' INT TERM
wine_start
# Debian's own Python has the matplotlib that bootstrap.sh installs.
PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 bench/run.py "$@"
