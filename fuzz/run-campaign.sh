#!/bin/sh
# A long fuzzing campaign of one target, with the seeds and dictionary its
# smoke test uses plus every small fixture:
#
#   fuzz/run-campaign.sh TARGET SECONDS [FOLDER]
#
# TARGET is reader_fuzzer, saved_query_fuzzer, report_layer_fuzzer,
# writer_fuzzer or jet_sql_fuzzer, built by ./test (or ./run) in
# build/fuzz-build/fuzz. The corpus grows in FOLDER/corpus (default
# build/fuzz-campaigns/TARGET, or $TABULON_FUZZ_CAMPAIGNS/TARGET when that
# is set), inputs that fail land in FOLDER/artifacts, and libFuzzer's log in
# FOLDER/log.
#
# The kept corpus is first merged into the fewest inputs that cover what it
# covers, and each run loads it with the seeds, so the log's INITED line is
# the coverage reached so far and any later NEW line is coverage never seen
# before. The target then fuzzes in one process: on inputs as large as whole
# databases that runs a good deal faster than libFuzzer's fork mode, which
# reloads part of the corpus for every job. An input that fails ends the
# process; it is kept in FOLDER/artifacts and fuzzing starts again from the
# corpus until SECONDS have passed, so one campaign finds every failure it
# can. Each run closes with its executions (stat::number_of_executed_units)
# and peak memory.
#
# The report layer is the exception. Its inputs are whole sample databases
# of about a megabyte, and one process holds its whole corpus in memory, so
# a long run would reach the memory limit from the corpus alone. It runs in
# fork mode: each job loads a few corpus inputs, the memory limit is that of
# the inputs being fuzzed, and a failing input is kept while the jobs go on.
set -eu
cd "$(dirname "$0")/.."
target=$1
seconds=$2
folder=${3:-${TABULON_FUZZ_CAMPAIGNS:-build/fuzz-campaigns}/$target}
fuzzer=build/fuzz-build/fuzz/$target
fixtures=$(cd ../shared/fixtures/jet && pwd)
[ -x "$fuzzer" ] || { echo "$fuzzer is not built: run ./test first" >&2; exit 2; }
end=$(($(date +%s) + seconds))
mkdir -p "$folder/corpus" "$folder/artifacts"

# Seeds, read in place through links: the fixtures small enough to fuzz
# (whole databases), or SQL text.
seeds=$folder/seeds
rm -rf "$seeds"
mkdir -p "$seeds"
dict=""
mode=""
case $target in
  jet_sql_fuzzer)
    dict=-dict=fuzz/dictionaries/jet_sql.dict
    ln -s "$PWD"/fuzz/seeds/sql/*.sql "$seeds"/ ;;
  report_layer_fuzzer)
    mode="-fork=1 -ignore_crashes=1 -ignore_ooms=1 -ignore_timeouts=1"
    ln -s "$PWD/build/samples/survey.mdb" "$seeds"/ ;;
  *)
    for f in "$fixtures"/*.mdb; do
      [ "$(stat -c %s "$f")" -le 300000 ] && ln -s "$f" "$seeds"/
    done ;;
esac
limits="-timeout=10 -rss_limit_mb=2048 -max_len=1100000"

# The merge runs the inputs in a child process, started again past one that
# fails, so a failing input is left out rather than ending the campaign. The
# seeds stay where they are: every run reads them beside the corpus and
# writes only to the corpus.
rm -rf "$folder/merged"
mkdir -p "$folder/merged"
if "$fuzzer" -merge=1 $limits "$folder/merged" "$folder/corpus" >"$folder/log" 2>&1; then
  rm -rf "$folder/corpus"
  mv "$folder/merged" "$folder/corpus"
fi

while left=$((end - $(date +%s))); [ "$left" -gt 0 ]; do
  "$fuzzer" $limits $mode $dict -max_total_time="$left" -print_final_stats=1 \
    -artifact_prefix="$folder/artifacts/" "$folder/corpus" "$seeds" >>"$folder/log" 2>&1 || true
done
