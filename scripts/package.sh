#!/usr/bin/env bash
# Makes build/zelsyshelper-<version>-win64.zip. The same commit gives the same bytes, wherever it is built.
#
#   --sign CERTIFICATE KEY   PEM files; signs the archive's DLL and host program, and names the archive
#                            zelsyshelper-<version>-win64-signed.zip. Nothing else in build/ is signed.
#   --passphrase FILE        the passphrase of KEY is the contents of FILE
#   --timestamp URL          time-stamps the signatures by an RFC 3161 server
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd) # relative paths of the arguments belong to the caller's folder

(
    cd "$root"
    scripts/bootstrap.sh
    [ -f build/build.ninja ] || cmake --preset windows >/dev/null
    cmake --build --preset windows --target shipped
)
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git -C "$root" log -1 --format=%ct)}
export SOURCE_DATE_EPOCH
python3 "$root/tools/package/package.py" "$@"
