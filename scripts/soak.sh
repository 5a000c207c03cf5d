#!/usr/bin/env bash
# Soak, storm and kill tests under Wine: some 20 minutes, with --short one and a half. Prints one table, and ends with an
# error when a promise of docs/reliability.md was broken. Names of parts choose among them: scripts/soak.sh storm
# With --write the table goes to docs/reliability.md.
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
