#!/usr/bin/env bash
# tools/setup.sh as a user who is neither root nor allowed to use sudo, on a
# machine that lacks some packages: it says which packages to install and
# how, and exits with status 1 without trying to install anything.
#
# The commands that the script asks the system through are stand-ins here,
# on a search path of their own: dpkg knows only some of the packages, id says
# the user is not root, apt-get records that it was called, and there is no
# sudo.
#
# Usage: setup_test.sh SOURCE_DIR
set -euo pipefail

source="$1"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

stub() {
  printf '#!%s\n%s\n' "$(command -v bash)" "$2" >"$work/bin/$1"
  chmod +x "$work/bin/$1"
}
mkdir "$work/bin"
stub dpkg 'case "$2" in cmake|psmisc) exit 1 ;; *) exit 0 ;; esac'
stub id 'echo 1000'
stub apt-get "touch '$work/apt-get-called'"

status=0
PATH="$work/bin" "$(command -v bash)" "$source/tools/setup.sh" \
  >"$work/stdout" 2>"$work/stderr" </dev/null || status=$?

expected_stderr='tools/setup.sh: missing Debian packages: cmake psmisc
tools/setup.sh: installing them needs root (or sudo), and network access to the Debian archive.
tools/setup.sh: As root, run:
    apt-get update && apt-get install -y --no-install-recommends cmake psmisc
tools/setup.sh: then run tools/setup.sh again.'

ok=1
[ "$status" = 1 ] || { echo "exit status $status, expected 1" >&2; ok=0; }
[ ! -s "$work/stdout" ] || { echo "standard output not empty:" >&2; cat "$work/stdout" >&2; ok=0; }
if [ "$(cat "$work/stderr")" != "$expected_stderr" ]; then
  echo "standard error differs:" >&2
  diff <(echo "$expected_stderr") "$work/stderr" >&2 || true
  ok=0
fi
[ ! -e "$work/apt-get-called" ] || { echo "apt-get was run" >&2; ok=0; }
[ "$ok" = 1 ]
