#!/usr/bin/env bash
# Start-up to the listed reports, and double-click to "Status: Complete!" for
# a report of 65,535 rows x 8 columns with the office already running, into
# .xls, .xlsx and .ods; how soon Cancel takes effect; and the sample's
# "Weekly catch" from the window and as a batch run, each with a cold office.
#   bench/app/run.sh [BUILD_DIR] [ROUNDS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)
rounds=${2:-3}
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
"$build/bench/app/report_run_bench" "$rounds"
for i in $(seq 1 "$rounds"); do
  "$build/bench/app/report_run_bench" --weekly "$build/samples/survey.mdb"
done

# A batch run is a whole process: start, open the database, start the office,
# run, save, end.
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
for i in $(seq 1 "$rounds"); do
  start=$(date +%s%N)
  "$build/src/app/tabulon" --run "Weekly catch" --output "$out/weekly$i.xls" \
    --database "$build/samples/survey.mdb" 2>/dev/null
  echo "sample's Weekly catch as a batch run (tabulon --run, whole process, cold office) $i: $(( ($(date +%s%N) - start) / 1000000 )) ms"
done
