#!/usr/bin/env bash
# The macro rewriting and the macro check on a template of 20 recorded
# modules. The sample's "Weekly catch", whose template has two macro
# modules, from the window and as a batch run: bench/app/run.sh.
#   bench/macros/run.sh [BUILD_DIR] [ROUNDS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)
"$build/bench/macros/macro_bench" "${2:-3}"
