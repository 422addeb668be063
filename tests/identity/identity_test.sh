#!/usr/bin/env bash
# Byte identity of whole runs on generated managers.
#
#   identity_test.sh PREFIX LITERAL NOSLEEP SOURCE_DIR [record]
#
# For every case directory under cases/ (named N-SEED-MODE: a manager of N
# objects written by bench/make_manager.py with SEED, audited in MODE "f" or
# "s" in en ru fr de; N-SEED-MODE-hostile: the same with the generator's
# names written with references and blanks, audited in en ru fr de and its
# two languages "a&b" and "t<TAB>b"), runs the installed launcher of PREFIX and the literal
# program LITERAL (every query evaluated as written) in a scratch
# installation, both with the no-sleep preload library NOSLEEP, and checks
# that standard output, var/test_msgs, ecl.xml and the exit status are the
# same bytes, and that they and the cache the panel left (one line per file:
# its SHA-256 and path) are the bytes stored in the case:
# expected_stdout, expected_test_msgs, expected_status, expected_cache.
# With "record", writes those files from the launcher's run instead.
#
# Every run stops the panels named kern: run it in a private PID namespace.
set -uo pipefail
prefix="$1" literal="$2" nosleep="$3" source_dir="$4" record="${5:-}"
cases="$source_dir/tests/identity/cases"
python=/usr/bin/python3
failed=0

. "$source_dir/tests/support/stop_panels.sh"

# One line per file of the cache: the SHA-256 of its bytes and its path.
cache_digest() {
  (cd var/.xmlcache && find . -type f -print0 | LC_ALL=C sort -z | xargs -0 -r sha256sum)
}

for case_dir in "$cases"/*/; do
  name="$(basename "$case_dir")"
  IFS=- read -r n seed mode variant <<<"$name"
  langs=(en ru fr de)
  options=()
  if [ "$variant" = hostile ]; then
    langs+=('a&b' $'t\tb')
    options=(--hostile)
  fi
  dir="$(mktemp -d "/tmp/msglint identity-XXXXXX")"
  (
    set -e
    cd "$dir"
    mkdir -p bin sbin lib/modules
    ln -s "$prefix/bin/kern" bin/kern
    ln -s "$prefix/sbin/pnlctl" sbin/pnlctl
    ln -s "$prefix/sbin/msglint" sbin/msglint
    ln -s "$prefix/lib/modules/msglint.so" lib/modules/msglint.so
    ln -s kern bin/big
    "$python" "$source_dir/bench/make_manager.py" . big "$n" "$seed" "${options[@]}"
  ) || { echo "$name: cannot lay out the installation"; failed=1; continue; }
  cd "$dir"

  status=0
  LD_PRELOAD="$nosleep" sbin/msglint big "-$mode" "${langs[@]}" >fast_stdout 2>/dev/null || status=$?
  echo "$status" >fast_status
  cp var/test_msgs fast_test_msgs
  cp ecl.xml fast_ecl.xml
  cache_digest >fast_cache
  stop_panels

  if [ "$record" = record ]; then
    cp fast_stdout "$case_dir/expected_stdout"
    cp fast_test_msgs "$case_dir/expected_test_msgs"
    cp fast_status "$case_dir/expected_status"
    cp fast_cache "$case_dir/expected_cache"
    echo "$name: recorded"
  else
    lstatus=0
    LD_PRELOAD="$nosleep" "$literal" big "-$mode" "${langs[@]}" >literal_stdout 2>/dev/null || lstatus=$?
    echo "$lstatus" >literal_status
    stop_panels
    ok=1
    for what in stdout test_msgs status cache; do
      if ! cmp -s "fast_$what" "$case_dir/expected_$what"; then
        echo "$name: $what differs from the stored one:"
        diff "$case_dir/expected_$what" "fast_$what" | head -20
        ok=0
      fi
    done
    cmp -s fast_stdout literal_stdout || { echo "$name: stdout differs from the literal run:"; diff literal_stdout fast_stdout | head -20; ok=0; }
    cmp -s fast_test_msgs var/test_msgs || { echo "$name: var/test_msgs differs from the literal run"; ok=0; }
    cmp -s fast_ecl.xml ecl.xml || { echo "$name: ecl.xml differs from the literal run"; ok=0; }
    cmp -s fast_status literal_status || { echo "$name: exit status $status, literal $lstatus"; ok=0; }
    if [ "$ok" = 1 ]; then
      echo "$name: identical ($(wc -l <fast_stdout) report lines, status $status)"
    else
      failed=1
    fi
  fi
  cd /
  rm -rf "$dir"
done
exit "$failed"
