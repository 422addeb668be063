#!/usr/bin/env bash
# bench/make_manager.py writes the same bytes for the same arguments: twice
# in a row, and as the sums stored below (made when the realistic mode was
# fitted), whatever Python 3 runs it. Every file it writes is well-formed.
# The default mode's bytes are held by the identity test's stored cases.
#
#   make_manager_test.sh SOURCE_DIR
set -euo pipefail
source_dir="$1"
generator="$source_dir/bench/make_manager.py"
python="${PYTHON:-python3}"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
failed=0

# One sha256 of the names and contents of the files of a generated etc/xml.
sums() {
  (cd "$1/etc/xml" && LC_ALL=C ls | while IFS= read -r f; do
     printf '%s %s\n' "$f" "$(sha256sum <"$f" | cut -d' ' -f1)"
   done) | sha256sum | cut -d' ' -f1
}

check() {
  local expected="$1"; shift
  local label="$*"
  "$python" "$generator" "$scratch/a" big "$@"
  "$python" "$generator" "$scratch/b" big "$@"
  if ! diff -r "$scratch/a" "$scratch/b" >/dev/null; then
    echo "FAIL: $label: two runs wrote different bytes"; failed=1
  fi
  if ! "$python" - "$scratch/a/etc/xml" <<'PY'
import os, sys
import xml.etree.ElementTree as ET
for name in sorted(os.listdir(sys.argv[1])):
    ET.parse(os.path.join(sys.argv[1], name))
PY
  then
    echo "FAIL: $label: a file is not well-formed"; failed=1
  fi
  local got
  got="$(sums "$scratch/a")"
  if [ "$got" != "$expected" ]; then
    echo "FAIL: $label: sums $got, stored $expected"; failed=1
  else
    echo "ok: $label"
  fi
  rm -rf "$scratch/a" "$scratch/b"
}

check \
  cc59d84a94127f3283592d9b8a1499a24f4832902cd492c6ca9d52fea62f7513 60 1 --realistic
check \
  3e382a8e86cf595d50491af954d1dce49fe820de7ab3df105fb85db2fe717c59 40 2 --realistic --hostile
check \
  c8af4e21612f46b0e9937500b9ee577f76abf8f8d35538b62540ca37d3286063 60 2 --realistic
exit "$failed"
