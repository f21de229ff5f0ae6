#!/usr/bin/env bash
# The Export Assistant's table browser on the large sample, beside
# mdb-export reading the same table, on the same run.
#   bench/assistant/run.sh [BUILD_DIR] [ROWS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
rows=${2:-1000000}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$build/tools/mksample/mksample" --large "$rows" --templates "$build/samples/templates" \
  "$here/../../samples/survey.txt" "$work/large.mdb" > /dev/null
echo "== the sample ($(du -h "$build/samples/survey.mdb" | cut -f1))"
QT_QPA_PLATFORM=offscreen "$build/bench/assistant/table_browser_bench" "$build/samples/survey.mdb" tblInterview Catch
echo "== the large sample, $rows interviews ($(du -h "$work/large.mdb" | cut -f1))"
QT_QPA_PLATFORM=offscreen "$build/bench/assistant/table_browser_bench" "$work/large.mdb" tblInterview Catch
start=$(date +%s%N)
mdb-export "$work/large.mdb" tblInterview > /dev/null
echo "mdb-export tblInterview: $(( ($(date +%s%N) - start) / 1000000 )) ms"
