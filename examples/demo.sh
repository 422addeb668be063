#!/usr/bin/env bash
# Demo: audits the bundled example installation (the base manager kern and
# the mail manager mailpnl, in English and Russian) with the full report.
#
# Builds the project when needed, installs it into a scratch directory,
# copies the example's XML files in, adds the manager link bin/mailpnl -> kern
# and runs "sbin/msglint mailpnl -f en ru" there. The run pauses 10 seconds
# while the panel restarts. Prints the report, then the audit file
# var/test_msgs, then the exit status; then the check of the findings file
# (sbin/msglint-report --check) and writes its HTML page to
# build/mailpnl-findings.html.
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build"

bash "$root/tools/setup.sh"

if [ ! -x "$build/src/launcher/msglint" ] || [ ! -f "$build/src/testutils/msglint.so" ]; then
  cmake -S "$root" -B "$build" -G Ninja
fi
cmake --build "$build"

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
