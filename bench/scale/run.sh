#!/usr/bin/env bash
# The engine at survey scale, each step a fresh process:
#   bench/scale/run.sh [BUILD_DIR] [ROWS] [BASELINE_BUILD_DIR]
# builds the large sample (ROWS interviews, default 1,000,000), runs the
# report queries, exports tblInterview (beside mdb-export), commits one
# interview, and builds the sample at twice the size. With a baseline build
# (an older checkout built the same way) each figure is measured for both.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)
rows=${2:-1000000}
baseline=${3:-}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
script=$here/../../samples/survey.txt
templates=$build/samples/templates

# Drop the system's file cache when allowed, so reads start cold.
cold() { sync; echo 3 > /proc/sys/vm/drop_caches 2>/dev/null || true; }

# Runs a command, prints its label, wall time and peak memory.
measure() {
  local label=$1; shift
  cold
  /usr/bin/time -f "$label: %e s, %M KB peak" "$@" > "$scratch/out" 2> "$scratch/err" || { cat "$scratch/err"; return 1; }
  tail -1 "$scratch/err"
}

for which in new ${baseline:+baseline}; do
  dir=$build; [ "$which" = baseline ] && dir=$(cd "$baseline" && pwd)
  echo "== $which ($dir)"
  db=$scratch/$which.mdb
  measure "mksample --large $rows" "$dir/tools/mksample/mksample" --large "$rows" --templates "$templates" "$script" "$db"
  jetdump=$dir/tools/jetdump/jetdump
  measure "qryCatchByWeek 2021-05-01 2021-09-30" "$jetdump" "$db" --run qryCatchByWeek 2021-05-01 2021-09-30
  measure "qryInterviewsAtSite 3" "$jetdump" "$db" --run qryInterviewsAtSite 3
  echo "   rows out: $(($(wc -l < "$scratch/out") - 1))"
  measure "qryCatchByUnitAndGear" "$jetdump" "$db" --run qryCatchByUnitAndGear
  measure "jetdump --csv tblInterview" "$jetdump" --csv tblInterview "$db"
  [ "$which" = new ] && measure "mdb-export tblInterview (peer)" mdb-export "$db" tblInterview
  cp "$db" "$scratch/insert.mdb"
  cold  # its sync keeps the copy's writes out of the commit's first sync
  "$dir/bench/writer/writer_bench" interview "$scratch/insert.mdb" || echo "   (no interview mode in this build)"
  measure "mksample --large $((rows * 2))" "$dir/tools/mksample/mksample" --large $((rows * 2)) --templates "$templates" "$script" "$scratch/double.mdb"
  rm -f "$scratch"/*.mdb
done
