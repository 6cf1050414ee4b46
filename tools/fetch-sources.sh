#!/usr/bin/env bash
# Fetches the pristine sources of the third-party code the project patches (Lua 5.1 and
# LuaSocket) from Debian's source packages into .cache/src/<package>/ (unpacked, upstream
# tree only: Debian's own patches are not applied). Uses a private apt configuration under
# .cache/apt so the machine's apt set-up is left as it is. Idempotent: exits at once when both
# trees are already unpacked.
set -euo pipefail

top=$(cd "$(dirname "$0")/.." && pwd)
cache="$top/.cache"
src="$cache/src"
apt_dir="$cache/apt"
PACKAGES=(lua5.1 luasocket)

have_all=1
for p in "${PACKAGES[@]}"; do
    [ -f "$src/$p/.unpacked" ] || have_all=0
done
if [ "$have_all" = 1 ]; then
    exit 0
fi

mkdir -p "$src" "$apt_dir/lists/partial" "$apt_dir/cache/archives/partial" "$apt_dir/dl"

# deb-src entries for the suites the machine already installs binaries from.
suite=$(. /etc/os-release && echo "${VERSION_CODENAME:-bookworm}")
cat > "$apt_dir/sources.list" <<EOF
deb-src http://deb.debian.org/debian $suite main
deb-src http://deb.debian.org/debian $suite-updates main
deb-src http://deb.debian.org/debian-security $suite-security main
EOF

APT_OPTS=(
    -o "Dir::Etc::sourcelist=$apt_dir/sources.list"
    -o "Dir::Etc::sourceparts=-"
    -o "Dir::State::Lists=$apt_dir/lists"
    -o "Dir::Cache=$apt_dir/cache"
    -o "APT::Sandbox::User=root"
    -o "Debug::NoLocking=1"
)

if ! ls "$apt_dir/lists/"*Sources* >/dev/null 2>&1; then
    echo "fetch-sources: updating the private source index"
    apt-get "${APT_OPTS[@]}" -q update >/dev/null
fi

# The upstream tarball named by the package's .dsc, checked against the .dsc's SHA-256 (apt has
# checked the .dsc against the signed index). Debian's own packaging tarball is not needed; a
# failure to fetch only that one is tolerated.
for p in "${PACKAGES[@]}"; do
    if [ -f "$src/$p/.unpacked" ]; then
        continue
    fi
    echo "fetch-sources: fetching $p"
    (cd "$apt_dir/dl" && apt-get "${APT_OPTS[@]}" -q source --download-only "$p" \
        >"$apt_dir/dl/$p.log" 2>&1) || true
    dsc=$(ls -t "$apt_dir/dl/${p}_"*.dsc 2>/dev/null | head -n 1 || true)
    if [ -z "$dsc" ]; then
        cat "$apt_dir/dl/$p.log" >&2
        echo "fetch-sources: could not fetch the source package $p" >&2
        exit 1
    fi
    line=$(sed -n '/^Checksums-Sha256:/,/^[^ ]/p' "$dsc" | grep -E ' [^ ]+\.orig\.tar\.[a-z0-9]+$' \
        | head -n 1)
    sum=$(echo "$line" | awk '{print $1}')
    orig=$(echo "$line" | awk '{print $3}')
    if [ -z "$orig" ] || [ ! -f "$apt_dir/dl/$orig" ]; then
        cat "$apt_dir/dl/$p.log" >&2
        echo "fetch-sources: the upstream tarball of $p is missing" >&2
        exit 1
    fi
    if ! echo "$sum  $apt_dir/dl/$orig" | sha256sum -c --quiet -; then
        echo "fetch-sources: checksum mismatch for $orig" >&2
        exit 1
    fi
    rm -rf "$src/$p" "$src/$p.tmp"
    mkdir -p "$src/$p.tmp"
    tar -xf "$apt_dir/dl/$orig" -C "$src/$p.tmp" --strip-components=1
    echo "$orig" > "$src/$p.tmp/.unpacked"
    mv "$src/$p.tmp" "$src/$p"
done
