#!/usr/bin/env bash
# Runs one Windows program in the Wine prefix WINEPREFIX. CMake calls it as the emulator of the cross build.
# Repeats a program that Wine could not start; docs/testing.md says why.
set -euo pipefail
: "${WINEPREFIX:?run the tests with scripts/test.sh, which creates a Wine prefix}"
source "$(dirname "$0")/wine.sh"

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
for _ in 1 2 3; do
    code=0
    "$WINE" "$@" 2>"$folder/errors" | tee "$folder/output" || code=$?
    if [ "$code" -eq 0 ] || [ -s "$folder/output" ] ||
        ! grep -q "failed to map the shared user data" "$folder/errors"; then
        break
    fi
    echo "wine-run.sh: Wine could not start $1" >&2
done
cat "$folder/errors" >&2
exit "$code"
