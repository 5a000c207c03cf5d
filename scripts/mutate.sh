#!/usr/bin/env bash
# Puts random single-line faults into the product, one at a time, and counts those that the tests notice:
#   scripts/mutate.sh [--seed N] [--count K] [--quick] [FOLDER...]    default: seed 1, 20 faults, all folders
# Works in a copy, build/mutate, so that this tree stays as it is. A fault takes about a minute. With --quick,
# only the programs of its folder and the fuzzers run, except before the first fault and after the last.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh
source scripts/wine.sh
trap wine_stop EXIT
faults=
# Bash runs a trap only after a foreground program has ended, but at once during `wait`.
trap 'if [ -n "$faults" ]; then kill $faults && wait $faults; fi || true; exit 130' INT TERM
wine_start
PYTHONDONTWRITEBYTECODE=1 python3 tools/mutate/mutate.py "$@" &
faults=$!
wait $faults
