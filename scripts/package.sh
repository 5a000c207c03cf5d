#!/usr/bin/env bash
# Creates build/zelsyshelper-<version>-win64.zip. The same commit gives the same bytes in every folder.
#
#   --sign CERTIFICATE KEY   PEM files; signs the DLL and the host program in the archive, and names it
#                            zelsyshelper-<version>-win64-signed.zip. The files in build/ stay unsigned.
#   --passphrase FILE        reads the passphrase of KEY from FILE
#   --timestamp URL          time-stamps the signatures with this RFC 3161 server
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd) # no cd here: arguments may be relative to the caller's folder

(
    cd "$root"
    scripts/bootstrap.sh
    [ -f build/build.ninja ] || cmake --preset windows >/dev/null
    cmake --build --preset windows --target shipped
)
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git -C "$root" log -1 --format=%ct)}
export SOURCE_DATE_EPOCH
python3 "$root/tools/package/package.py" "$@"
