#!/usr/bin/env bash
# Builds the library and shows it at work under Wine. Leaves nothing behind but the build.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/build.sh
source scripts/wine.sh
unset WINEPREFIX # the demo trusts an authority of its own, which no lasting prefix should
trap wine_stop EXIT
trap 'exit 130' INT TERM

wine_display 800x600
wine_start
PYTHONDONTWRITEBYTECODE=1 python3 tools/loopback/demo.py
