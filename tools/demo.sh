#!/usr/bin/env bash
# The main job: the client program against the host simulator, then the client's own tools
# (configuration, JSON, start-up graph, notes, HTTP fetch, the Lua interpreter) on sample inputs.
set -euo pipefail
bindir=$(cd "${1:-build/bin}" && pwd)
top="$(cd "$(dirname "$0")/.." && pwd)"
samples="$top/tools/kelotool/samples"

echo "== kelo_client M110 en against the host simulator (client| and host | prefixes)"
"$top/tools/host-demo.sh" "$bindir"

echo
echo "== kelotool config: the program entry's configuration text"
"$bindir/kelotool" config "$samples/entry-config.txt"

echo
echo "== kelotool json: a catalogue page (comments allowed in input)"
"$bindir/kelotool" json "$samples/catalog.json"

echo
echo "== kelotool startup: the service graph started in dependency order, then stopped in reverse"
"$bindir/kelotool" startup

echo
echo "== kelotool config with a bad line (console logging on): exit status 2 expected"
set +e
printf '[misc]\ntaskSchedulerIoTasks = 16\nthis line has no equals sign\n' |
    VLOGTOCONSOLE=1 VLOGLEVEL=warning "$bindir/kelotool" config
echo "exit status $?"
set -e

echo
echo "== kelotool note: a catalogue request note as XML, binary (hex), URL query and URL path"
note_work=$(mktemp -d)
"$bindir/kelotool" note convert --from xml --to bin "$samples/catalog-request.xml" >"$note_work/note.bin"
od -An -tx1 "$note_work/note.bin"
"$bindir/kelotool" note convert --from bin --to url "$note_work/note.bin"
"$bindir/kelotool" note convert --from bin --to path "$note_work/note.bin"
"$bindir/kelotool" note convert --from bin --to xml "$note_work/note.bin"
echo "signed with a fresh 2048-bit key, then verified; a changed byte is not verified (status 1)"
openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out "$note_work/key.pem" 2>/dev/null
openssl pkey -in "$note_work/key.pem" -pubout -out "$note_work/pub.pem"
"$bindir/kelotool" note sign --key "$note_work/key.pem" "$note_work/note.bin" >"$note_work/signed.bin"
"$bindir/kelotool" note verify --key "$note_work/pub.pem" "$note_work/signed.bin"
sed 's/drama/Drama/' "$note_work/signed.bin" >"$note_work/changed.bin"
set +e
"$bindir/kelotool" note verify --key "$note_work/pub.pem" "$note_work/changed.bin"
echo "exit status $?"
set -e
rm -rf "$note_work"

echo
echo "== kelotool fetch: one request through the client's HTTP layer to a loopback server"
work=$(mktemp -d)
server_pid=""
cleanup() {
    [ -n "$server_pid" ] && kill "$server_pid" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
/usr/bin/python3 "$top/tests/fixtures/http_server.py" >"$work/port" 2>/dev/null &
server_pid=$!
for _ in $(seq 50); do [ -s "$work/port" ] && break; sleep 0.1; done
port=$(head -n1 "$work/port")
"$bindir/kelotool" fetch --output "$work/body" "http://127.0.0.1:$port/fixed"
cat "$work/body"
"$bindir/kelotool" fetch --range 100-199 --output "$work/range" "http://127.0.0.1:$port/bytes/1000"
echo "a stalled body with a 2-second timeout: exit status 1 and result 28 expected"
set +e
"$bindir/kelotool" fetch --timeout 2 "http://127.0.0.1:$port/stall/10?seconds=5"
echo "exit status $?"
set -e

echo
echo "== kelo-lua: the client's interpreter (32-bit integers beside doubles, preloaded modules)"
"$bindir/kelo-lua" -e 'print(_VERSION); print(2147483647 + 1, 5 / 2, 6 / 2, 0.1 + 0.2)'
"$bindir/kelo-lua" -e 'local json = require "json"; local b64 = require "crypto.base64"
print(json.encode({movie = "Night Train", year = 1999}))
io.write(b64.encode("kelo")); print(b64.decode(b64.encode("kelo")))'
