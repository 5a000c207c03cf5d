#!/usr/bin/env bash
# Runs one Windows program in the Wine prefix WINEPREFIX. CMake calls it as the emulator of the cross build.
set -euo pipefail
: "${WINEPREFIX:?run the tests with scripts/test.sh, which creates a Wine prefix}"
source "$(dirname "$0")/wine.sh"
exec "$WINE" "$@"
