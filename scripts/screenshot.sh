#!/usr/bin/env bash
# Takes docs/window.png: the window of examples/single_instance during a download from a server on loopback.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh fonts-wine imagemagick
[ -f build/build.ninja ] || cmake --preset windows
cmake --build --preset windows --target zelsyshelper single_instance

source scripts/wine.sh
WINEPREFIX=$(mktemp -d) # a fresh prefix has the default colours and sizes
export WINEPREFIX
trap 'wine_stop; rm -rf "$WINEPREFIX"' EXIT
trap 'exit 130' INT TERM
# Wine draws the buttons of a title bar with its own font. $WINE finds it in the prefix only.
mkdir -p "$WINEPREFIX/drive_c/windows/Fonts"
cp /usr/share/wine/fonts/marlett.ttf "$WINEPREFIX/drive_c/windows/Fonts"
wine_display 700x360
wine_start
PYTHONDONTWRITEBYTECODE=1 python3 tools/loopback/screenshot.py docs/window.png
