#!/usr/bin/env bash
# Installs the Debian packages that build, tests and demo need, and those that its arguments name. Does
# nothing if all of them are installed.
set -euo pipefail

packages=(
    clang
    clang-format
    clang-tidy
    cmake
    doxygen
    g++
    g++-mingw-w64-x86-64-posix
    git
    gnutls-bin # brings the library that Wine uses for TLS
    googletest
    libclang-rt-dev
    liblnk-utils
    libsimpleini-dev
    lld
    llvm
    ninja-build
    nsis
    openssl
    osslsigncode
    python3
    wine # without it a prefix of Wine 10 has no services
    wine64
    xvfb
)
packages+=("$@")

missing=()
for package in "${packages[@]}"; do
    state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$state" = installed ] || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

echo "bootstrap: installing ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "bootstrap: these packages are missing: ${missing[*]}" >&2
        echo "bootstrap: run this as root, install sudo, or ask your administrator to install them" >&2
        exit 1
    fi
    as_root=(sudo)
fi
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
echo "bootstrap: done"
