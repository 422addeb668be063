#!/usr/bin/env bash
# The two package sets of tools/setup.sh, as --list prints them: what the
# demo installs (building and running the programs) holds nothing that only
# the tests need, and --tests adds exactly the tests' packages.
#
# Usage: package_sets_test.sh SOURCE_DIR
set -euo pipefail

setup="$1/tools/setup.sh"

programs='g++
cmake
ninja-build
pkg-config
libxml2-dev
nlohmann-json3-dev
libgettextpo-dev
psmisc'
tests='libgtest-dev
libgmock-dev
python3-jsonschema
chromium
clang
libclang-rt-14-dev
dpkg-dev
lintian
man-db
gettext
libxml2-utils'

ok=1
check() {  # WHAT EXPECTED ARGS...
  local what="$1" expected="$2"
  shift 2
  local status=0 out
  out="$(bash "$setup" "$@" 2>&1)" || status=$?
  if [ "$status" != 0 ] || [ "$out" != "$expected" ]; then
    echo "tools/setup.sh $*: $what differs (status $status):" >&2
    diff <(echo "$expected") <(echo "$out") >&2 || true
    ok=0
  fi
}
check "the programs' set" "$programs" --list
check "the tests' set" "$programs
$tests" --list --tests
check "the tests' set" "$programs
$tests" --tests --list

status=0
bash "$setup" --list --demo >/dev/null 2>&1 || status=$?
[ "$status" = 2 ] || { echo "an unknown option gave status $status, not 2" >&2; ok=0; }
[ "$ok" = 1 ] && echo "package_sets_test: both sets as expected"
[ "$ok" = 1 ]
