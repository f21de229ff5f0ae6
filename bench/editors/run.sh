#!/usr/bin/env bash
# The report editors opening on the sample database, and the query
# selection's OK for 50 reports x 20 queries.
#   bench/editors/run.sh [BUILD_DIR] [ROUNDS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen} exec "$build/bench/editors/report_editors_bench" \
  "$build/samples/survey.mdb" "${2:-5}"
