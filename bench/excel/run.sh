#!/usr/bin/env bash
# The workbook writer's paste-and-save cost against bare office calls.
#   bench/excel/run.sh [BUILD_DIR] [ROUNDS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=${1:-$here/../../build}
exec "$build/bench/excel/excel_paste_bench" "${2:-5}"
