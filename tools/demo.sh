#!/usr/bin/env bash
# The main job, for now: the client's parsers and writers on sample inputs through kelotool.
set -euo pipefail
bindir=${1:-build/bin}
samples="$(cd "$(dirname "$0")" && pwd)/kelotool/samples"

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
