#!/usr/bin/env bash
# Builds the library and shows it at work under Wine. Leaves nothing behind but the build.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/build.sh
source scripts/wine.sh
trap wine_stop EXIT
trap 'exit 130' INT TERM
wine_start
PYTHONDONTWRITEBYTECODE=1 python3 tools/loopback/demo.py
