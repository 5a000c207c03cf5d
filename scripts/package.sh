#!/usr/bin/env bash
# Makes build/zelsyshelper-<version>-win64.zip. The same commit gives the same bytes, wherever it is built.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/bootstrap.sh
[ -f build/build.ninja ] || cmake --preset windows >/dev/null
cmake --build --preset windows --target shipped
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
export SOURCE_DATE_EPOCH
python3 tools/package/package.py
