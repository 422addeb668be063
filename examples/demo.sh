#!/usr/bin/env bash
# Demo: audits the bundled example installation (the base manager kern and
# the mail manager mailpnl, in English and Russian) with the full report.
#
# Installs what building and running the programs needs (tools/setup.sh),
# builds the programs when needed (not the tests), saying how long each took
# when there was something to do, installs them into a scratch directory,
# copies the example's XML files in, adds the manager link bin/mailpnl -> kern
# and runs "sbin/msglint mailpnl -f en ru" there. The run pauses 10 seconds
# while the panel restarts. Prints the report, then the audit file
# var/test_msgs, then the exit status; then the check of the findings file
# (sbin/msglint-report --check) and writes its HTML page to
# build/mailpnl-findings.html.
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build"

# Where the time of a first run goes: one line for the packages, one for
# the build, shown when there was something to do.
timings=()
seconds_since() { echo $(( $(date +%s) - $1 )); }

missing=0
for package in $(bash "$root/tools/setup.sh" --list); do
  dpkg -s "$package" >/dev/null 2>&1 || missing=1
done
started=$(date +%s)
bash "$root/tools/setup.sh"
if [ "$missing" = 1 ]; then
  timings+=("packages installed: $(seconds_since "$started") s (tools/setup.sh; the tests' own come with tools/setup.sh --tests)")
fi

started=$(date +%s)
if [ ! -f "$build/CMakeCache.txt" ]; then
  cmake -S "$root" -B "$build" -G Ninja >/dev/null
fi
# Only the programs: the tests, the fuzz targets and the benchmark are
# built by the test command.
build_log="$(mktemp)"
if ! cmake --build "$build" --target programs >"$build_log" 2>&1; then
  cat "$build_log" >&2
  rm -f "$build_log"
  exit 1
fi
if ! grep -q 'no work to do' "$build_log"; then
  timings+=("build: $(seconds_since "$started") s (the programs only)")
fi
rm -f "$build_log"

dir="$(mktemp -d)"
stop_panels() {
  # Stop the panels that the run started in the scratch directory.
  for pidfile in "$dir"/var/run/*.pid; do
    [ -f "$pidfile" ] || continue
    kill "$(cat "$pidfile")" 2>/dev/null || true
  done
  rm -rf "$dir"
}
trap stop_panels EXIT

cmake --install "$build" --prefix "$dir" >/dev/null
cp -R "$root/examples/install/." "$dir/"
ln -s kern "$dir/bin/mailpnl"

cd "$dir"
for line in "${timings[@]}"; do echo "== $line"; done
echo "== sbin/msglint mailpnl -f en ru (in $dir)"
status=0
sbin/msglint mailpnl -f en ru || status=$?
echo
echo "== var/test_msgs"
cat var/test_msgs 2>/dev/null || echo "(no audit file)"
echo
echo "== exit status: $status"
echo
echo "== sbin/msglint-report --check"
sbin/msglint-report --check || true
sbin/msglint-report --format html > "$build/mailpnl-findings.html"
echo
echo "== the findings page: $build/mailpnl-findings.html"
