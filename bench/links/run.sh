#!/usr/bin/env bash
# Tables linked to PostgreSQL against the same work on the Jet file, in one
# run on one machine:
#   bench/links/run.sh [BUILD_DIR] [ROWS] [ROUNDS]
# starts a throw-away PostgreSQL 15 cluster (bench/links/links_server),
# builds the large sample (ROWS interviews, default 1,000,000), keeps it as
# the Jet file and upsizes a copy with jetdump --upsize (ROUNDS times,
# default 5, each into an emptied server database), then runs each step
# ROUNDS times on both, alternating, as whole processes with the caches
# warm: two report queries, a CSV export of tblInterview (mdb-export
# on the Jet file for scale) and the sample's "Weekly catch" as a batch run.
# Prints medians and the highest peak memory of the rounds.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)
rows=${2:-1000000}
rounds=${3:-5}
tabulon=$build/src/app/tabulon
scratch=$(mktemp -d)
chmod 755 "$scratch"
# A copy, so that a rebuild during the run changes nothing measured.
jetdump=$scratch/jetdump
cp "$build/tools/jetdump/jetdump" "$jetdump"
server_pid=

finish() {
  if [ -n "$server_pid" ]; then
    kill -TERM "$server_pid" 2>/dev/null || true
    wait "$server_pid" 2>/dev/null || true
  fi
  rm -rf "$scratch"
}
trap finish EXIT

# The machine may be shared: its load is printed beside the figures.
load_before=$(cut -d' ' -f1-3 /proc/loadavg)

# --- the server --------------------------------------------------------------
: > "$scratch/server"
"$build/bench/links/links_server" > "$scratch/server" 2> "$scratch/server.err" &
server_pid=$!
until [ "$(wc -l < "$scratch/server")" -ge 3 ]; do
  kill -0 "$server_pid" 2>/dev/null || { cat "$scratch/server.err"; exit 1; }
  sleep 0.2
done
connect=$(sed -n 1p "$scratch/server")
password=$(sed -n 2p "$scratch/server")
socket=$(sed -n 3p "$scratch/server")
port=$(sed -n 's/.*PORT=\([0-9]*\).*/\1/p' <<< "$connect")
server_sql() {
  PGOPTIONS="-c client_min_messages=warning" psql -X -q -v ON_ERROR_STOP=1 -h "$socket" -p "$port" -U tabulon -d survey -c "$1"
}
map="{PostgreSQL Unicode}={PostgreSQL Unicode};PWD=$password"

# Medians of a step's rounds (NAME.times: "ms peak-KB" a line) and the
# highest peak memory.
median_ms() { sort -n "$scratch/$1.times" | awk '{ t[NR] = $1 } END { print t[int((NR + 1) / 2)] }'; }
peak_mb() { awk '$2 > m { m = $2 } END { printf "%.0f", m / 1024 }' "$scratch/$1.times"; }

# --- the two files -------------------------------------------------------------
jet=$scratch/jet.mdb
links=$scratch/links.mdb
"$build/tools/mksample/mksample" --large "$rows" --templates "$build/samples/templates" \
  "$here/../../samples/survey.txt" "$jet" > /dev/null

# Each round moves a fresh copy to an emptied server database. Every progress
# line of the upsize is stamped with the nanoseconds since it began.
upsize_round() {
  server_sql "DROP SCHEMA public CASCADE; CREATE SCHEMA public"
  cp "$jet" "$links"
  local start=$(date +%s%N)
  /usr/bin/time -f "%M" -o "$scratch/upsize.kb" "$jetdump" "$links" --upsize "$connect" 2>&1 >/dev/null |
    while IFS= read -r line; do echo "$(( $(date +%s%N) - start )) $line"; done > "$scratch/upsize.log" || true
  local ms=$(( ($(date +%s%N) - start) / 1000000 ))
  grep -q "moved .* tables" "$scratch/upsize.log" || { cat "$scratch/upsize.log"; exit 1; }
  # tblInterview's last progress line: "NS tblInterview: N rows".
  local copied=$(awk '$2 == "tblInterview:" { ns = $1; n = $3 } END { printf "%.0f", (ns > 0 ? n / (ns / 1e9) : 0) }' \
    "$scratch/upsize.log")
  echo "$ms $(cat "$scratch/upsize.kb") $copied" >> "$scratch/upsize.times"
}
for i in $(seq 1 "$rounds"); do upsize_round; done
upsize_ms=$(median_ms upsize)
interview_rate=$(sort -n -k3 "$scratch/upsize.times" | awk '{ r[NR] = $3 } END { print r[int((NR + 1) / 2)] }')

# --- runs ----------------------------------------------------------------------
# run NAME COMMAND...: one round; its wall time in ms and peak memory in KB
# go to NAME.times, its output to NAME.out.
run() {
  local name=$1; shift
  local began=$(date +%s%N)
  /usr/bin/time -f "%M" -o "$scratch/kb" "$@" > "$scratch/$name.out" 2> "$scratch/$name.err" ||
    { echo "$name failed:"; cat "$scratch/$name.err"; exit 1; }
  echo "$(( ($(date +%s%N) - began) / 1000000 )) $(tail -1 "$scratch/kb")" >> "$scratch/$name.times"
}

# The links' password from the settings of a home of the bench's own.
home=$scratch/home
mkdir -p "$home/.config/Varnel Technologies"
printf '[TabulonODBC]\nMap1="%s"\n' "$map" > "$home/.config/Varnel Technologies/Ondara3.conf"
report() { env HOME="$home" QT_QPA_PLATFORM=offscreen "$tabulon" --run "Weekly catch" --output "$scratch/$1.xls" --database "$2"; }

# One round, not counted, starts the office and fills the caches.
report warm-jet "$jet" > /dev/null 2>&1 || true
report warm-links "$links" > /dev/null 2>&1 || true
for i in $(seq 1 "$rounds"); do
  for which in jet links; do
    file=$scratch/$which.mdb
    run "week-$which" "$jetdump" --odbc-map "$map" "$file" --run qryCatchByWeek 2021-05-01 2021-09-30
    run "site-$which" "$jetdump" --odbc-map "$map" "$file" --run qryInterviewsAtSite 3
    run "report-$which" env HOME="$home" QT_QPA_PLATFORM=offscreen "$tabulon" --run "Weekly catch" \
      --output "$scratch/report-$which.xls" --overwrite --database "$file"
  done
  run csv-links "$jetdump" --odbc-map "$map" --csv tblInterview "$links"
  run csv-jet "$jetdump" --csv tblInterview "$jet"
  run mdb-export mdb-export "$jet" tblInterview
done

# The links must give what the file gives.
for step in week site csv; do
  [ "$step" = csv ] && other=csv-jet || other=$step-jet
  cmp -s "$scratch/$step-links.out" "$scratch/$other.out" || echo "!! $step: the links' output differs from the file's"
done

# --- figures -------------------------------------------------------------------
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2fx", (b > 0 ? a / b : 0) }'; }
line() { printf '%-44s %10s %10s %8s   %s\n' "$@"; }
echo
echo "$rows interviews, $rounds rounds each (median wall time; peak memory: highest of the rounds)"
echo "load average before: $load_before; after: $(cut -d' ' -f1-3 /proc/loadavg); $(nproc) cores"
line "step" "Jet file" "links" "links/Jet" "target"
all_rate=$(awk -v n="$rows" -v ms="$upsize_ms" 'BEGIN { printf "%.0f", n / (ms / 1000) }')
line "jetdump --upsize, whole process (all tables)" "" "$upsize_ms ms" "" ""
line "  tblInterview rows/s, to its last progress mark" "" "$interview_rate" "" ">= 200000"
line "  tblInterview rows / whole-process s" "" "$all_rate" "" ""
line "  peak memory" "" "$(peak_mb upsize) MB" "" ""
for step in week site report; do
  case $step in
    week) label="qryCatchByWeek 2021-05-01 2021-09-30"; target="< 2x" ;;
    site) label="qryInterviewsAtSite 3 ($(($(wc -l < "$scratch/site-jet.out") - 1)) rows)"; target="< 2x" ;;
    report) label="tabulon --run \"Weekly catch\" (.xls)"; target="" ;;
  esac
  jet_ms=$(median_ms "$step-jet"); links_ms=$(median_ms "$step-links")
  line "$label" "$jet_ms ms" "$links_ms ms" "$(ratio "$links_ms" "$jet_ms")" "$target"
  [ "$step" = week ] && mem_target="< 80 MB (links)" || mem_target=""
  line "  peak memory" "$(peak_mb "$step-jet") MB" "$(peak_mb "$step-links") MB" "" "$mem_target"
done
line "jetdump --csv tblInterview" "$(median_ms csv-jet) ms" "$(median_ms csv-links) ms" \
  "$(ratio "$(median_ms csv-links)" "$(median_ms csv-jet)")" ""
line "  peak memory" "$(peak_mb csv-jet) MB" "$(peak_mb csv-links) MB" "" ""
line "mdb-export tblInterview (Jet file, for scale)" "$(median_ms mdb-export) ms" "" "" ""
