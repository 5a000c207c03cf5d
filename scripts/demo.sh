#!/usr/bin/env bash
# Builds the library and demonstrates it under Wine. Leaves only the build tree.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/build.sh
source scripts/wine.sh
unset WINEPREFIX # the demo trusts its own certificate authority, which no permanent prefix should
trap wine_stop EXIT
trap 'exit 130' INT TERM

wine_display 800x600
wine_start
PYTHONDONTWRITEBYTECODE=1 python3 tools/loopback/demo.py
