#!/bin/sh
# bench-fetch.sh KELOTOOL [SIZE_MB]: throughput and idle cost of the client's curl layer.
#
# 1. Makes a sparse file of SIZE_MB MiB (default 1024, i.e. 1 GiB) in a temporary directory,
#    serves it with loopback nginx (tests/fixtures/nginx/run-nginx.sh) and downloads it to
#    /dev/null three times with "KELOTOOL fetch --output /dev/null" and three times with
#    "curl -s -o /dev/null", alternating, after one untimed warm-up download. Prints the best MB/s of each (MB = 10^6 bytes) and
#    the ratio kelotool/curl (target: at least 0.9).
# 2. Starts the loopback test server (tests/fixtures/http_server.py) and runs
#    "KELOTOOL fetch --timeout 10" against a transfer that stalls after 100 bytes, under
#    /usr/bin/time: prints the user+system CPU seconds used during those 10 s (target: about
#    zero; the transfer waits in epoll).
#
# KELOTOOL should be a Release build (e.g. build-bench/bin/kelotool). Needs nginx, curl,
# /usr/bin/python3 and /usr/bin/time. Everything it starts is stopped again; the temporary
# directory is removed.
set -eu

if [ $# -lt 1 ] || [ $# -gt 2 ]; then
    echo "usage: $0 KELOTOOL [SIZE_MB]" >&2
    exit 64
fi
KELOTOOL=$1
SIZE_MB=${2:-1024}
HERE=$(cd "$(dirname "$0")/.." && pwd)
for tool in curl /usr/bin/time /usr/bin/python3 /usr/sbin/nginx; do
    command -v "$tool" >/dev/null 2>&1 || { echo "bench-fetch: $tool is missing" >&2; exit 2; }
done

WORK=$(mktemp -d "${TMPDIR:-/tmp}/kelo-bench-fetch.XXXXXX")
NGINX_PID=""
SERVER_PID=""
cleanup() {
    [ -n "$NGINX_PID" ] && kill "$NGINX_PID" 2>/dev/null && wait "$NGINX_PID" 2>/dev/null || true
    [ -n "$SERVER_PID" ] && kill "$SERVER_PID" 2>/dev/null && wait "$SERVER_PID" 2>/dev/null || true
    rm -rf "$WORK"
}
trap cleanup EXIT INT TERM

mkdir "$WORK/root"
truncate -s "${SIZE_MB}M" "$WORK/root/big.bin"
BYTES=$((SIZE_MB * 1024 * 1024))

# Waits for a child's first output line (the port) in FILE.
port_of() {
    i=0
    while [ ! -s "$1" ] && [ $i -lt 200 ]; do sleep 0.05; i=$((i + 1)); done
    head -n 1 "$1"
}

/bin/sh "$HERE/tests/fixtures/nginx/run-nginx.sh" "$WORK/root" > "$WORK/nginx.port" &
NGINX_PID=$!
PORT=$(port_of "$WORK/nginx.port")
URL="http://127.0.0.1:$PORT/big.bin"
i=0
until curl -s -o /dev/null -r 0-0 "$URL" || [ $i -ge 100 ]; do sleep 0.1; i=$((i + 1)); done

# One untimed full download first: nginx's first pass over a file is slower than later ones.
curl -s -o /dev/null "$URL"

best_kelo=0
best_curl=0
for round in 1 2 3; do
    line=$("$KELOTOOL" fetch --output /dev/null "$URL")
    case "$line" in
        "result=0 http=200 bytes=$BYTES "*) ;;
        *) echo "bench-fetch: kelotool fetch failed: $line" >&2; exit 1 ;;
    esac
    secs=${line##*seconds=}
    kelo=$(awk -v b="$BYTES" -v s="$secs" 'BEGIN { printf "%.1f", b / s / 1e6 }')
    curl_secs=$(curl -s -o /dev/null -w '%{time_total}' "$URL")
    curl_rate=$(awk -v b="$BYTES" -v s="$curl_secs" 'BEGIN { printf "%.1f", b / s / 1e6 }')
    echo "round $round: kelotool ${kelo} MB/s (${secs} s), curl ${curl_rate} MB/s (${curl_secs} s)"
    best_kelo=$(awk -v a="$best_kelo" -v b="$kelo" 'BEGIN { print (b > a) ? b : a }')
    best_curl=$(awk -v a="$best_curl" -v b="$curl_rate" 'BEGIN { print (b > a) ? b : a }')
done
kill "$NGINX_PID" 2>/dev/null && wait "$NGINX_PID" 2>/dev/null || true
NGINX_PID=""
ratio=$(awk -v a="$best_kelo" -v b="$best_curl" 'BEGIN { printf "%.3f", a / b }')
echo "throughput (${SIZE_MB} MiB from loopback nginx, best of 3):" \
    "kelotool ${best_kelo} MB/s, curl ${best_curl} MB/s, ratio ${ratio}"

/usr/bin/python3 "$HERE/tests/fixtures/http_server.py" > "$WORK/server.port" &
SERVER_PID=$!
PORT=$(port_of "$WORK/server.port")
/usr/bin/time -f "%U %S" -o "$WORK/time.txt" \
    "$KELOTOOL" fetch --timeout 10 "http://127.0.0.1:$PORT/stall/100?seconds=30" \
    > "$WORK/stall.txt" 2>/dev/null || true
cpu=$(tail -n 1 "$WORK/time.txt" | awk '{ printf "%.3f", $1 + $2 }')
echo "stalled transfer: $(cat "$WORK/stall.txt")"
echo "CPU during a 10 s stalled transfer: ${cpu} s (user+system)"
