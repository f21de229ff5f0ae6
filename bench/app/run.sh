#!/usr/bin/env bash
# Start-up to the listed reports, and double-click to "Status: Complete!" for
# a report of 65,535 rows x 8 columns with the office already running.
#   bench/app/run.sh [BUILD_DIR] [ROUNDS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen} exec "$build/bench/app/report_run_bench" "${2:-3}"
