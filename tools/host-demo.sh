#!/bin/sh
# Usage: tools/host-demo.sh BINDIR [SCREENSHOT]
#
# Shows the client and its host application talking over the two host message queues: makes
# a private device root (KELO_ROOT) with the queues' key file, starts BINDIR/kelo_client M110 en
# headless (DirectFB's dummy system), lets BINDIR/kelo_host send a few host messages and finally
# the quit message KELO_MSG_STUB_UNINIT, prints both sides' standard output (prefixed "client|"
# and "host  |"), reports both exit statuses and removes the queues and the root. The client
# writes a PNG screenshot of its screen to SCREENSHOT (default BINDIR/../kelo-screenshot.png)
# when the quit message arrives; `file` and `pngcheck` judge it. Exit status 0 when the client
# exited 0 after answering the quit message as expected and the screenshot is a valid PNG.
set -u
BIN=${1:?usage: tools/host-demo.sh BINDIR [SCREENSHOT]}
SHOT=${2:-$(dirname "$BIN")/kelo-screenshot.png}
rm -f "$SHOT"
for prog in kelo_client kelo_host; do
    if [ ! -x "$BIN/$prog" ]; then
        echo "host-demo: $BIN/$prog is missing (build it first)" >&2
        exit 2
    fi
done

ROOT=$(mktemp -d /tmp/kelo-host-demo-XXXXXX)
mkdir -p "$ROOT/usr/local/bin"
: > "$ROOT/usr/local/bin/kelo_client"
export KELO_ROOT="$ROOT"
CLIENT_PID=""

cleanup() {
    if [ -n "$CLIENT_PID" ] && kill -0 "$CLIENT_PID" 2>/dev/null; then
        kill "$CLIENT_PID" 2>/dev/null
    fi
    for id in $(sed -n 's/^host: queues app=\([0-9]*\) stub=\([0-9]*\)$/\1 \2/p' \
                    "$ROOT/host.out" 2>/dev/null | head -n 1); do
        ipcrm -q "$id" 2>/dev/null
    done
    rm -rf "$ROOT"
}
trap cleanup EXIT INT TERM

echo "== host-demo: KELO_ROOT=$ROOT"
echo "== starting: kelo_client M110 en"
(
    KELO_SCREENSHOT="$SHOT" "$BIN/kelo_client" M110 en 2>"$ROOT/client.err"
    echo $? > "$ROOT/client.status"
) | sed -u 's/^/client| /' &
CLIENT_PID=$!

# The host creates (or attaches) the queues itself, so it may start at once; its messages wait
# in the queue until the client polls (once a second).
"$BIN/kelo_host" --timeout 60 \
    "send KELO_MSG_STUB_INIT ui4_width=1280 ui4_height=720" \
    "wait 3" \
    "send KELO_MSG_SS_ON" \
    "send KELO_MSG_SS_OFF" \
    "send KELO_MSG_STUB_UNINIT" \
    "expect KELO_MSG_STUB_UNINIT_RET" \
    "expect KELO_MSG_EXIT_SELF" > "$ROOT/host.out" 2>&1 &
HOST_PID=$!
tail -f --pid=$HOST_PID "$ROOT/host.out" 2>/dev/null | sed -u 's/^/host  | /' &
TAIL_PID=$!
wait $HOST_PID
HOST_STATUS=$?
wait $TAIL_PID 2>/dev/null
wait $CLIENT_PID
CLIENT_STATUS=$(cat "$ROOT/client.status" 2>/dev/null || echo "none")
CLIENT_PID=""

echo "== host exit status: $HOST_STATUS"
echo "== client exit status: $CLIENT_STATUS"
if [ -s "$ROOT/client.err" ]; then
    echo "== client standard error:"
    sed 's/^/client! /' "$ROOT/client.err"
fi
SHOT_STATUS=1
if [ -s "$SHOT" ]; then
    echo "== screenshot: $SHOT"
    file "$SHOT"
    pngcheck "$SHOT" && SHOT_STATUS=0
else
    echo "== screenshot: $SHOT was not written"
fi
[ "$HOST_STATUS" = 0 ] && [ "$CLIENT_STATUS" = 0 ] && [ "$SHOT_STATUS" = 0 ]
