#!/usr/bin/env bash
# Writer speed on scratch copies of the Northwind fixture.
#   bench/writer/run.sh [BUILD_DIR]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
fixtures=${TABULON_FIXTURES:-$here/../../../shared/fixtures}/jet
bench=$build/bench/writer/writer_bench
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fresh() {
  cp "$fixtures/npsmith88-Northwind.mdb" "$scratch/bench.mdb"
  chmod u+w "$scratch/bench.mdb"
}

echo "== bulk inserts in one transaction (3 runs)"
for _ in 1 2 3; do fresh; "$bench" inserts "$scratch/bench.mdb" 10000; done
echo "== one-row commits (5 runs, same file)"
fresh
for _ in 1 2 3 4 5; do "$bench" one-row "$scratch/bench.mdb"; done
