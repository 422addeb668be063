#!/usr/bin/env bash
# The Debian package, built from the build tree and used as a person who
# installed it would: unpacked into a scratch root (dpkg -x), an installation
# laid over its programs (the example installation, manager mailpnl), and the
# example audit run there through /usr/bin/msglint. The report, the audit
# file and the exit status must be those of the end-to-end case
# example_installation_full_report.
#
# Usage: package_test.sh BUILD_DIR SOURCE_DIR VERSION NOSLEEP_LIBRARY
set -euo pipefail

build="$1"
source="$2"
version="$3"
nosleep="$4"
expected="$source/tests/e2e/cases/example_installation_full_report"

work="$(mktemp -d)"
inst="$work/inst"
isolate=()
cleanup() {
  # Panels of a run in a PID namespace ended with it (their pid files hold
  # the namespace's numbers); other runs leave theirs to stop.
  if [ ${#isolate[@]} -eq 0 ]; then
    for pidfile in "$inst"/var/run/*.pid; do
      [ -f "$pidfile" ] && kill "$(cat "$pidfile")" 2>/dev/null || true
    done
  fi
  rm -rf "$work"
}
trap cleanup EXIT

fail() {
  echo "package_test: $*" >&2
  exit 1
}

# The package.
if ! cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work/out" \
    >"$work/cpack.log" 2>&1; then
  cat "$work/cpack.log" >&2
  fail "cpack -G DEB failed"
fi
deb="$work/out/msglint_${version}_amd64.deb"
[ -f "$deb" ] || fail "no $(basename "$deb") in: $(ls "$work/out")"

[ "$(dpkg-deb -f "$deb" Package)" = msglint ] || fail "package name"
[ "$(dpkg-deb -f "$deb" Version)" = "$version" ] || fail "package version"
depends="$(dpkg-deb -f "$deb" Depends)"
for dependency in libxml2 libc6 libstdc++6 psmisc; do
  [[ ", $depends," == *", $dependency "* || ", $depends," == *", $dependency,"* ]] ||
    fail "$dependency missing from Depends: $depends"
done

# Its files.
root="$work/root"
dpkg -x "$deb" "$root"
for file in usr/lib/msglint/bin/kern usr/lib/msglint/sbin/pnlctl \
            usr/lib/msglint/sbin/msglint usr/lib/msglint/lib/modules/msglint.so \
            usr/bin/msglint; do
  [ -e "$root/$file" ] || fail "$file missing from the package"
done
# Every manual page of the source, on the system's manual path.
for page in "$source"/man/*.[1-8]; do
  name="$(basename "$page")"
  cmp -s "$page" "$root/usr/share/man/man${name##*.}/$name" ||
    fail "manual page $name missing from usr/share/man/man${name##*.}"
done
[ "$("$root/usr/bin/msglint" --version)" = "msglint $version" ] ||
  fail "msglint --version"

# An installation laid over the package: its programs linked in, the
# example's XML files and the manager link added.
cp -rs "$root/usr/lib/msglint/." "$inst"
cp -R "$source/examples/install/." "$inst/"
ln -s kern "$inst/bin/mailpnl"

# The run stops every panel named kern that it can see: when possible it
# runs in a PID namespace of its own, where it sees only its own panels.
if unshare -p -f --mount-proc true 2>/dev/null; then
  isolate=(unshare -p -f --mount-proc)
elif unshare -r -p -f --mount-proc true 2>/dev/null; then
  isolate=(unshare -r -p -f --mount-proc)
fi

status=0
(cd "$inst" && "${isolate[@]}" env LD_PRELOAD="$nosleep" \
   "$root/usr/bin/msglint" mailpnl -f en ru \
   >"$work/stdout" 2>"$work/stderr" </dev/null) || status=$?

ok=1
if ! cmp -s "$expected/expected_stdout" "$work/stdout"; then
  echo "standard output differs from $expected/expected_stdout:" >&2
  diff "$expected/expected_stdout" "$work/stdout" >&2 || true
  ok=0
fi
if ! cmp -s "$expected/expected_test_msgs" "$inst/var/test_msgs"; then
  echo "var/test_msgs differs from $expected/expected_test_msgs:" >&2
  diff "$expected/expected_test_msgs" "$inst/var/test_msgs" >&2 || true
  ok=0
fi
if [ "$status" != "$(cat "$expected/expected_status")" ]; then
  echo "exit status $status, expected $(cat "$expected/expected_status")" >&2
  ok=0
fi
if [ "$ok" != 1 ]; then
  echo "standard error was:" >&2
  cat "$work/stderr" >&2
  exit 1
fi
echo "package_test: $(basename "$deb") installs and audits the example installation"
