#!/usr/bin/env bash
# Installs the Debian packages the build, tests, benchmarks and fuzzers need.
# Idempotent: asks dpkg what is missing, runs apt-get update at most once and installs only that.
set -euo pipefail

PACKAGES=(
    # toolchain
    build-essential cmake ninja-build ccache pkg-config
    clang libclang-rt-14-dev
    # tests and benchmarks
    googletest libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev
    python3
    # libraries
    libssl-dev openssl libcurl4-openssl-dev libxml2-dev zlib1g-dev
    libdirectfb-dev libdirectfb-extra libsqlite3-dev libpng-dev libsdl2-dev
    # tools the tests judge with, and test servers
    libxml2-utils jq strace nginx-light lua5.1 dpkg-dev curl time
    sqlite3 pngcheck python3-pil iproute2 file
)

missing=()
for p in "${PACKAGES[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done

top=$(cd "$(dirname "$0")/.." && pwd)
fetch_sources() {
    # Third-party sources the project patches (from Debian's source packages, into .cache/).
    if [ -x "$top/tools/fetch-sources.sh" ]; then
        "$top/tools/fetch-sources.sh"
    fi
}

if [ ${#missing[@]} -eq 0 ]; then
    fetch_sources
    exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then
    SUDO="sudo"
fi
echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
fetch_sources
