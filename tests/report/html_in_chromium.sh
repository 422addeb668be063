#!/bin/sh
# Renders the HTML page of msglint-report in headless Chromium, from disk and
# without network, and checks what a person sees: the coverage of each
# language and the location of a finding; with --baseline, the page
# compared with a baseline written from the same findings: the counts of
# each language and no new finding.
#
# usage: html_in_chromium.sh MSGLINT_REPORT FINDINGS_JSON [--baseline]
set -eu
program=$1
findings=$2
with_baseline=${3:-}
chromium=/usr/bin/chromium
[ -x "$chromium" ] || { echo "chromium is not installed (tools/setup.sh installs it)" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
if [ "$with_baseline" = --baseline ]; then
  "$program" --write-baseline "$work/baseline.json" "$findings"
  "$program" --format html --baseline "$work/baseline.json" "$findings" > "$work/page.html"
else
  "$program" --format html "$findings" > "$work/page.html"
fi

timeout 120 "$chromium" --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
  --disable-background-networking --disable-component-update --disable-sync \
  --user-data-dir="$work/profile" --dump-dom "file://$work/page.html" \
  > "$work/dom.html" 2> "$work/chromium.err" || { cat "$work/chromium.err" >&2; exit 1; }

status=0
expect() {
  if ! grep -F -q -- "$1" "$work/dom.html"; then
    echo "not in the rendered page: $1" >&2
    status=1
  fi
}
# Coverage of the two languages of the example installation.
expect '<td>en</td>'
expect '84.6%'
expect '<td>ru</td>'
expect '74.4%'
# A finding of the form mailbox.edit: its location and what to add.
expect '<h3>mailbox.edit</h3>'
expect 'etc/xml/mailpnl.xml:54'
expect '&lt;msg name="hint_domain"&gt;&lt;/msg&gt;'
if [ "$with_baseline" = --baseline ]; then
  expect '<tr><td>en</td><td>0</td><td>24</td><td>0</td></tr>'
  expect '<tr><td>ru</td><td>0</td><td>27</td><td>0</td></tr>'
  expect '<tr><td>(no language)</td><td>0</td><td>11</td><td>0</td></tr>'
  expect 'No new findings.'
  expect 'No finding of the baseline is gone.'
fi
[ "$status" -eq 0 ] && echo "rendered page shows coverage and locations"
exit "$status"
