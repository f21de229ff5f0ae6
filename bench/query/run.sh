#!/usr/bin/env bash
# Saved queries of the fixtures, first use and cached: bench/query/run.sh [BUILD_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
fx=${TABULON_FIXTURES:-$here/../../../shared/fixtures}/jet
for f in nwind.mdb npsmith88-Northwind.mdb xtreme.mdb pivot.mdb Gymnase2000.mdb accessLike.mdb reports-northwind.mdb; do
  "$build/bench/query/query_bench" "$fx/$f"
done
