#!/bin/sh
# A long fuzzing campaign of one target, with the seeds and dictionary its
# smoke test uses plus every small fixture:
#
#   fuzz/run-campaign.sh TARGET SECONDS [FOLDER]
#
# TARGET is reader_fuzzer, saved_query_fuzzer, report_layer_fuzzer,
# writer_fuzzer or jet_sql_fuzzer, built by ./test (or ./run) in
# build/fuzz-build/fuzz. The corpus grows in FOLDER/corpus (default
# build/fuzz-campaigns/TARGET), inputs that fail land in FOLDER/artifacts,
# and libFuzzer's log in FOLDER/log. The run goes on past a failing input
# (fork mode), so one campaign finds every failure it can; the last line of
# the log gives executions, coverage and corpus size.
set -eu
cd "$(dirname "$0")/.."
target=$1
seconds=$2
folder=${3:-build/fuzz-campaigns/$target}
fuzzer=build/fuzz-build/fuzz/$target
fixtures=$(cd ../shared/fixtures/jet && pwd)
[ -x "$fuzzer" ] || { echo "$fuzzer is not built: run ./test first" >&2; exit 2; }
mkdir -p "$folder/corpus" "$folder/artifacts"

# Seeds, read in place through links (fork mode takes seed folders only):
# the fixtures small enough to fuzz (whole databases), or SQL text.
seeds=$folder/seeds
rm -rf "$seeds"
mkdir -p "$seeds"
dict=""
case $target in
  jet_sql_fuzzer)
    dict=fuzz/dictionaries/jet_sql.dict
    ln -s "$PWD"/fuzz/seeds/sql/*.sql "$seeds"/ ;;
  report_layer_fuzzer)
    ln -s "$PWD/build/samples/survey.mdb" "$seeds"/ ;;
  *)
    for f in "$fixtures"/*.mdb; do
      [ "$(stat -c %s "$f")" -le 300000 ] && ln -s "$f" "$seeds"/
    done ;;
esac
set -- -fork=1 -ignore_crashes=1 -ignore_timeouts=1 -ignore_ooms=1 -max_total_time="$seconds" \
  -timeout=10 -rss_limit_mb=2048 -max_len=1100000 -artifact_prefix="$folder/artifacts/"
[ -n "$dict" ] && set -- "$@" -dict="$dict"
exec "$fuzzer" "$@" "$folder/corpus" "$seeds" >"$folder/log" 2>&1
