#!/usr/bin/env bash
# Builds the library and shows it at work under Wine. Leaves nothing behind but the build.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/build.sh
source scripts/wine.sh
unset WINEPREFIX # the demo trusts an authority of its own, which no lasting prefix should
display_folder=$(mktemp -d)
stop() {
    wine_stop
    [ -z "${display:-}" ] || kill "$display" 2>/dev/null || true
    rm -rf "$display_folder"
}
trap stop EXIT
trap 'exit 130' INT TERM

# A display for the windows of the demo, known to Wine's server from its start.
Xvfb -displayfd 3 -screen 0 800x600x24 3>"$display_folder/number" 2>/dev/null &
display=$!
for _ in $(seq 100); do [ -s "$display_folder/number" ] || sleep 0.1; done
DISPLAY=:$(cat "$display_folder/number")
export DISPLAY
wine_start
PYTHONDONTWRITEBYTECODE=1 python3 tools/loopback/demo.py
