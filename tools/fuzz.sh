#!/usr/bin/env bash
# Builds the libFuzzer targets (clang) in build-fuzz, replays each target's
# seed corpus (fuzz/corpus/NAME) and then fuzzes each target for SECONDS
# (default 60). New inputs go to build-fuzz/corpus/NAME, the seeds stay as
# they are; the targets change their current directory, so every path
# given to them is absolute. An input that crashes a target is written to
# build-fuzz/artifacts/ and the script fails.
#
#   tools/fuzz.sh [SECONDS] [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-60}"
shift || true
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(xml_queries request_parser includes audit)

build=build-fuzz
CC=clang CXX=clang++ cmake -S . -B "$build" -G Ninja -DMSGLINT_FUZZ=ON >/dev/null
cmake --build "$build" --target fuzzers

mkdir -p "$build/artifacts"
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=0"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"
status=0
for t in "${targets[@]}"; do
  program="$build/fuzz/${t}_fuzzer"
  seeds="$PWD/fuzz/corpus/$t"
  work="$PWD/$build/corpus/$t"
  mkdir -p "$work"
  log="$build/artifacts/$t.log"
  echo "fuzz: $t: replaying $(ls "$seeds" | wc -l) seeds, then fuzzing ${seconds} s" >&2
  # Messages of the parser about malformed inputs go to the log; the tail of
  # the log is shown when something was found.
  if ! "$program" -runs=0 -timeout=20 -rss_limit_mb=4096 \
         -artifact_prefix="$PWD/$build/artifacts/$t-" "$seeds" >"$log" 2>&1 ||
     ! "$program" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=4096 \
         -max_len=65536 -close_fd_mask=1 -print_final_stats=1 \
         -artifact_prefix="$PWD/$build/artifacts/$t-" "$work" "$seeds" >>"$log" 2>&1; then
    echo "fuzz: $t FAILED; the end of $log:" >&2
    tail -n 60 "$log" >&2
    status=1
  else
    grep -E '^stat::number_of_executed_units|^#[0-9]+.*DONE' "$log" | tail -n 2 >&2 || true
  fi
done
exit $status
