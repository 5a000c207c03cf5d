#!/usr/bin/env bash
# Runs the soak, storm and kill tests under Wine and prints one table. Exits with an error if a guarantee of
# docs/reliability.md is broken.
#   scripts/soak.sh [NAME...]    about 20 minutes; default: all parts
#   --short                      one and a half minutes
#   --write                      all parts; also writes the figures into docs/reliability.md
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh
[ -f build/build.ninja ] || cmake --preset windows >/dev/null
cmake --build --preset windows --target zelsyshelper zelsyshelper-host soak_storm soak_sweep >&2

source scripts/wine.sh
trap wine_stop EXIT
trap 'exit 130' INT TERM
wine_start
PYTHONDONTWRITEBYTECODE=1 python3 tests/soak/soak.py "$@"
