#!/usr/bin/env bash
# What sharing one file between programs costs, on the large survey sample:
#   bench/sharing/run.sh [BUILD_DIR] [ROWS]
# the look for others' changes on 10,000 one-row lookups, one-row commits
# alone and against three busy writers, four writers at once, and what an
# idle Tabulon does (locks held, system calls in 10 s).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)
rows=${2:-1000000}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
bench=$build/bench/sharing/sharing_bench
db=$scratch/large.mdb
"$build/tools/mksample/mksample" --large "$rows" --templates "$build/samples/templates" "$here/../../samples/survey.txt" "$db" > /dev/null
sleep 1  # let the file's change time fall behind the clock's tick
echo "== freshness check on one-row lookups"
"$bench" lookups "$db" 10000
echo "== one-row commits on $rows interviews"
"$bench" commits "$db" 200 0
"$bench" commits "$db" 200 3
echo "== four writers at once"
"$bench" stress "$db"
echo "== idle Tabulon (offscreen) on the same file"
QT_QPA_PLATFORM=offscreen "$build/src/app/tabulon" --database "$db" > /dev/null 2>&1 &
app=$!
sleep 5
echo "locks held: $(grep -c " $app " /proc/locks || true)"
strace -f -c -o "$scratch/idle" -p "$app" & tracer=$!
sleep 10
kill -INT "$tracer"; wait "$tracer" 2>/dev/null || true
echo "system calls in 10 s idle: $(awk '/total/ {print $4}' "$scratch/idle")"
cat "$scratch/idle"
kill "$app"; wait "$app" 2>/dev/null || true
