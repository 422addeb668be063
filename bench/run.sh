#!/usr/bin/env bash
# Times a full-mode run of msglint on a large generated manager.
#
#   bench/run.sh [FORMS [LISTS]]      (default 1000 forms and 1000 lists)
#
# Builds the project if needed, installs it into a scratch directory, writes
# the manager there with make_manager.py and runs `sbin/msglint big -f en ru`
# under the test preload library (the fixed pause returns at once), printing
# the wall time and the size of the report. The report is kept as
# DIR/report.txt for comparing two builds.
set -euo pipefail
here="$(cd "$(dirname "$0")/.." && pwd)"
forms="${1:-1000}"
lists="${2:-1000}"
build="$here/build"

[ -d "$build" ] || cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" >/dev/null

dir="$(mktemp -d /tmp/msglint-bench-XXXXXX)"
cmake --install "$build" --prefix "$dir" >/dev/null
python3 "$here/bench/make_manager.py" "$dir" big "$forms" "$lists"
ln -s kern "$dir/bin/big"

cd "$dir"
start=$(date +%s.%N)
status=0
LD_PRELOAD="$build/tests/libnosleep.so" sbin/msglint big -f en ru >report.txt 2>stderr.txt || status=$?
end=$(date +%s.%N)
echo "forms=$forms lists=$lists status=$status seconds=$(awk "BEGIN { printf \"%.2f\", $end - $start }")"
echo "report: $(wc -l <report.txt) lines, audit file: $(wc -l <var/test_msgs) lines ($dir)"
for pid in var/run/*.pid; do [ -f "$pid" ] && kill "$(cat "$pid")" 2>/dev/null || true; done
