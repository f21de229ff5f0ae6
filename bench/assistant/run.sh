#!/usr/bin/env bash
# The Export Assistant's table browser on the large sample and on a
# text-heavy table of the same size, beside mdb-export reading the
# interviews, on the same run.
#   bench/assistant/run.sh [BUILD_DIR] [ROWS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
rows=${2:-1000000}
bench="$build/bench/assistant/table_browser_bench"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$build/tools/mksample/mksample" --large "$rows" --templates "$build/samples/templates" \
  "$here/../../samples/survey.txt" "$work/large.mdb" > /dev/null
"$bench" --add-text-table "$rows" "$work/large.mdb"
export QT_QPA_PLATFORM=offscreen
interview_columns=(Week "Soak Time (hrs)" InterviewDate FishingStartTime "Time In MU")
text_columns=(Angler "Time Block" Site Comments)
echo "== the sample ($(du -h "$build/samples/survey.mdb" | cut -f1)), tblInterview"
"$bench" "$build/samples/survey.mdb" tblInterview "${interview_columns[@]}"
echo "== the large sample, $rows interviews ($(du -h "$work/large.mdb" | cut -f1)), tblInterview"
"$bench" "$work/large.mdb" tblInterview "${interview_columns[@]}"
echo "== the large sample, tblAnglerNotes ($rows rows of text)"
"$bench" "$work/large.mdb" tblAnglerNotes "${text_columns[@]}"
start=$(date +%s%N)
mdb-export "$work/large.mdb" tblInterview > /dev/null
echo "mdb-export tblInterview: $(( ($(date +%s%N) - start) / 1000000 )) ms"
