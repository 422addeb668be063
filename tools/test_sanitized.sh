#!/usr/bin/env bash
# Builds everything with AddressSanitizer and UndefinedBehaviorSanitizer in
# build-asan and runs the whole test suite there. Every sanitizer report,
# from a test program or from any program it starts (the launcher and the
# module it loads, bin/kern, sbin/pnlctl), is written to a file of its own
# under build-asan/sanitizer-reports; the script fails when a test fails or
# when any report was written, and shows the reports.
#
#   tools/test_sanitized.sh [ctest arguments...]
set -euo pipefail
cd "$(dirname "$0")/.."

build=build-asan
cmake -S . -B "$build" -G Ninja -DMSGLINT_SANITIZE=ON >/dev/null
cmake --build "$build"

reports="$PWD/$build/sanitizer-reports"
rm -rf "$reports"
mkdir -p "$reports"
# The end-to-end runs preload a library into the launcher, which puts it
# before the sanitizer runtime: that order is fine here.
asan="verify_asan_link_order=0:exitcode=86:log_path=$reports/asan"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:exitcode=86:log_path=$reports/ubsan"

# Leaks are looked for in the tests labelled leak_checked: the unit tests
# of the library, the module's audits, the report tool and the fixer, which
# start no module. The
# others run without: LeakSanitizer's tracer crashes (signal 11) at the end
# of full-mode runs of the module in the PID namespace the suite runs in,
# failing runs that leak nothing.
status=0
ASAN_OPTIONS="detect_leaks=1:$asan" \
  ctest --test-dir "$build" --output-on-failure -L leak_checked "$@" || status=1
ASAN_OPTIONS="detect_leaks=0:$asan" \
  ctest --test-dir "$build" --output-on-failure -LE leak_checked "$@" || status=1
if [ -n "$(ls -A "$reports")" ]; then
  echo "sanitizer reports:" >&2
  for f in "$reports"/*; do
    echo "==== $f" >&2
    cat "$f" >&2
  done
  status=1
fi
exit $status
