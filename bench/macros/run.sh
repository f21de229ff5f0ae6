#!/usr/bin/env bash
# The macro rewriting and the macro check on a template of 20 recorded
# modules (macro_bench), then the sample's "Weekly catch" (a template with
# two macro modules) from the window and as a batch run: bench/app/run.sh.
#   bench/macros/run.sh [BUILD_DIR] [ROUNDS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)
rounds=${2:-3}
"$build/bench/macros/macro_bench" "$rounds"
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
for i in $(seq 1 "$rounds"); do
  "$build/bench/app/report_run_bench" --weekly "$build/samples/survey.mdb"
done
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
for i in $(seq 1 "$rounds"); do
  start=$(date +%s%N)
  "$build/src/app/tabulon" --run "Weekly catch" --output "$out/weekly$i.xls" --database "$build/samples/survey.mdb"
  echo "Weekly catch as a batch run (whole process, cold office) $i: $(( ($(date +%s%N) - start) / 1000000 )) ms"
done
