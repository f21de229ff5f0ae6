#!/usr/bin/env bash
# Runs every command README.md shows, as written, so that a documented
# command cannot break unnoticed.
#   readme_commands_test.sh SOURCE_DIR BUILD_DIR FIXTURES_DIR
#
# Commands are the README's indented lines that start with ./, build/, cmake
# or "(cd"; a crontab line runs its command part, and a systemd unit's
# ExecStart= runs with %h standing for the home folder, as systemd reads it.
# Lines starting with ./ run in the source folder; the rest run in a scratch
# folder that holds what the examples name: build (the build tree),
# survey.mdb (a copy of the sample), old97.mdb and linked.mdb (test
# databases, read in place). A fuzz campaign keeps its corpus and log in the
# scratch folder too, not beside a real campaign's in the build tree.
# ./test is the command that runs this suite, so it is the one command not
# run here.
set -uo pipefail
# The README's server commands need a PostgreSQL server: the whole script
# runs inside a throw-away cluster (PGHOST, PGPORT, PGUSER and PGPASSWORD
# point at it), with the database those commands name.
if [ -z "${README_TEST_SERVER:-}" ]; then
  export README_TEST_SERVER=1
  exec pg_virtualenv -v 15 bash "$0" "$@"
fi
createdb survey || { echo "FAILED: no PostgreSQL database for the server commands" >&2; exit 1; }
source_dir=$(cd "$1" && pwd)
build_dir=$(cd "$2" && pwd)
fixtures=$(cd "$3" && pwd)

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
work="$scratch/work"
mkdir -p "$work" "$scratch/home" "$scratch/config/Varnel Technologies"
ln -s "$build_dir" "$work/build"
cp "$build_dir/samples/survey.mdb" "$work/survey.mdb"
ln -s "$fixtures/jet/charsetGBK.mdb" "$work/old97.mdb"
ln -s "$fixtures/jet/linked.mdb" "$work/linked.mdb"
# A recorded database for the commands that use the recorded one.
cp "$build_dir/samples/survey.mdb" "$scratch/home/survey.mdb"
printf '[StartUp]\nDatabasePath="%s"\n' "$scratch/home/survey.mdb" >"$scratch/config/Varnel Technologies/Ondara3.conf"

export XDG_CONFIG_HOME="$scratch/config"
export TABULON_FUZZ_CAMPAIGNS="$scratch/fuzz-campaigns"
export HOME="$scratch/home"
export PATH="$build_dir/src/app:$PATH"
unset DISPLAY

failures=0
ran=0
fail() {
  echo "FAILED: $1" >&2
  failures=$((failures + 1))
}

recorded_path() {
  sed -n 's/^DatabasePath="\{0,1\}\([^"]*\)"\{0,1\}$/\1/p' "$XDG_CONFIG_HOME/Varnel Technologies/Ondara3.conf" | head -1
}

# ./run builds, records the database and then stays in the program's
# window until the person closes it: it passes when it is still running
# after starting the program, with the expected database recorded.
run_start_command() {
  local command=$1 expected=$2
  printf '[StartUp]\n' >"$XDG_CONFIG_HOME/Varnel Technologies/Ondara3.conf"
  (cd "$source_dir" && QT_QPA_PLATFORM=offscreen bash -c "$command" >"$scratch/run.out" 2>&1) &
  local runner=$! started=""
  for _ in $(seq 1 600); do
    if pgrep -f "^$source_dir/build/src/app/tabulon" >/dev/null; then started=yes; break; fi
    kill -0 "$runner" 2>/dev/null || break
    sleep 0.5
  done
  sleep 2
  if [ -n "$started" ] && pgrep -f "^$source_dir/build/src/app/tabulon" >/dev/null; then
    pkill -f "^$source_dir/build/src/app/tabulon"
  else
    fail "$command did not keep the program running"; cat "$scratch/run.out" >&2
  fi
  wait "$runner" 2>/dev/null
  [ "$(recorded_path)" = "$expected" ] || fail "$command recorded '$(recorded_path)', not '$expected'"
}

run_command() {
  local command=$1 folder=$2
  ran=$((ran + 1))
  echo "== $command"
  if ! (cd "$folder" && timeout 600 sh -c "$command" >"$scratch/out" 2>"$scratch/err"); then
    fail "$command"; cat "$scratch/err" >&2
  fi
}

cron='^[0-9*/,-]+ [0-9*/,-]+ [0-9*/,-]+ [0-9*/,-]+ [0-9*/,-]+ '
while IFS= read -r line; do
  command=${line#    }
  command=$(printf '%s' "$command" | sed -E 's/[[:space:]]+#[^"'\'']*$//')
  case "$command" in
    ./test*) echo "== $command (this suite; run by CI)" ;;
    "./run") ran=$((ran + 1)); echo "== $command"
      run_start_command "$command" "$build_dir/samples/survey.mdb" ;;
    "./run "*) ran=$((ran + 1)); echo "== $command"
      run_start_command "$command" "$(cd "$source_dir" && realpath "${command#./run }")" ;;
    ./*) run_command "$command" "$source_dir" ;;
    build/* | cmake\ * | "(cd "*) run_command "$command" "$work" ;;
    ExecStart=*) run_command "$(printf '%s' "${command#ExecStart=}" | sed "s|%h|$HOME|g")" "$work" ;;
    *)
      if printf '%s' "$command" | grep -Eq "$cron"; then
        run_command "$(printf '%s' "$command" | sed -E "s/$cron//")" "$work"
      fi ;;
  esac
done < <(grep -E '^    [^ ]' "$source_dir/README.md")

[ -f "$HOME/weekly-catch.xls" ] || fail "the scheduled run wrote no workbook"
grep -q "stat::number_of_executed_units" "$TABULON_FUZZ_CAMPAIGNS"/*/log ||
  fail "the fuzz campaign left no figures in its log"
echo "$ran commands run, $failures failed"
[ "$ran" -ge 15 ] || fail "only $ran commands found in README.md"
exit $((failures > 0))
