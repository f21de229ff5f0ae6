#!/usr/bin/env bash
# Reader speed and memory against mdbtools' mdb-export, in one run.
#   bench/reader/run.sh [BUILD_DIR]
# Whole-process comparison: `jetdump --csv` and `mdb-export` on the same
# tables, best of several runs each, so both pay their own start-up.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
fixtures=${TABULON_FIXTURES:-$here/../../../shared/fixtures}/jet
jetdump=$build/tools/jetdump/jetdump
bench=$build/bench/reader/reader_bench

best_ms() {  # best wall time of 7 runs of a command, in ms
  local best=999999
  for _ in 1 2 3 4 5 6 7; do
    local t0 t1
    t0=$(date +%s%N); "$@" >/dev/null 2>&1; t1=$(date +%s%N)
    local ms=$(( (t1 - t0) / 1000000 ))
    (( ms < best )) && best=$ms
  done
  echo "$best"
}

echo "== open + list tables"
for i in 1 2 3; do "$bench" open-list "$fixtures/xtreme.mdb"; done

echo "== full scan, whole process (best of 7)"
printf '%-42s %8s %10s %12s %12s %7s\n' table rows jetdump_ms mdb-export_ms "ours rows/s" ratio
scan() {
  local file=$1 table=$2
  local rows; rows=$(( $("$jetdump" --csv "$table" "$fixtures/$file" | wc -l) - 1 ))
  local ours theirs
  ours=$(best_ms "$jetdump" --csv "$table" "$fixtures/$file")
  theirs=$(best_ms mdb-export "$fixtures/$file" "$table")
  (( ours == 0 )) && ours=1
  printf '%-42s %8d %10d %12d %12d %6.1fx\n' "$file:$table" "$rows" "$ours" "$theirs" $(( rows * 1000 / ours )) \
    "$(echo "scale=2; $theirs / $ours" | bc)"
}
scan xtreme.mdb "Orders Detail"
scan xtreme.mdb Orders
scan nwind.mdb "Order Details"
scan npsmith88-Northwind.mdb "Order Details"
scan compIndexTestV2000.mdb Table1

echo "== in-process decode + format throughput (no start-up)"
"$bench" scan "$fixtures/xtreme.mdb" "Orders Detail" 200
"$bench" scan "$fixtures/nwind.mdb" "Order Details" 200
