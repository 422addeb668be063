#!/usr/bin/env bash
# The Debian package, built from the build tree: lintian finds no error or warning in
# it; unpacked into a scratch root (dpkg -x), an installation is laid over
# its programs (the example installation, manager mailpnl) and the example
# audit runs there through /usr/bin/msglint: the report, the audit file and
# the exit status must be those of the end-to-end case
# example_installation_full_report. Then, as root on a machine where no
# msglint package is installed, it is installed with apt-get, its
# msglint --version and man -w msglint are checked, and it is purged:
# nothing that it installed may be left.
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
for dependency in libxml2 libc6 libstdc++6 libgettextpo0 psmisc; do
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
# Every manual page of the source, compressed, on the system's manual path.
for page in "$source"/man/*.[1-8]; do
  name="$(basename "$page")"
  packaged="$root/usr/share/man/man${name##*.}/$name.gz"
  [ -f "$packaged" ] && gzip -dc "$packaged" | cmp -s "$page" - ||
    fail "manual page $name.gz missing from usr/share/man/man${name##*.}"
done
# The changelog speaks of the package's version.
changelog_version="$(gzip -dc "$root/usr/share/doc/msglint/changelog.gz" |
  sed -n '1s/^msglint (\([^)]*\)).*/\1/p')"
[ "$changelog_version" = "$version" ] ||
  fail "the changelog's first entry is for version '$changelog_version', not $version"

# lintian: no error and no warning.
command -v lintian >/dev/null || fail "lintian not found (tools/setup.sh --tests installs it)"
if ! lintian --fail-on error,warning "$deb" >"$work/lintian.log" 2>&1; then
  cat "$work/lintian.log" >&2
  fail "lintian found errors or warnings in $(basename "$deb")"
fi
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

# What dpkg knows of a msglint package: "" (nothing), "not-installed",
# "installed", "config-files", ...
package_state() { dpkg-query -W -f='${db:Status-Status}' msglint 2>/dev/null || true; }

# Installed and purged for real, as root and only where no msglint package
# is installed already (the test never removes a package it did not
# install).
if [ "$(id -u)" -ne 0 ]; then
  echo "package_test: not root: the package is not installed with apt-get" >&2
elif [ -n "$(package_state)" ] && [ "$(package_state)" != not-installed ]; then
  echo "package_test: a msglint package is installed already: not installing this one" >&2
else
  purge() { apt-get purge -y -qq msglint >/dev/null 2>&1 || true; }
  trap 'purge; cleanup' EXIT
  apt-get install -y -qq --no-install-recommends "$deb" >"$work/apt.log" 2>&1 ||
    { cat "$work/apt.log" >&2; fail "apt-get install $(basename "$deb") failed"; }
  [ "$(msglint --version)" = "msglint $version" ] || fail "installed: msglint --version"
  [ "$(man -w msglint)" = /usr/share/man/man1/msglint.1.gz ] ||
    fail "installed: man -w msglint gives '$(man -w msglint 2>&1)'"
  installed="$(dpkg-query -L msglint)"
  apt-get purge -y -qq msglint >"$work/apt.log" 2>&1 ||
    { cat "$work/apt.log" >&2; fail "apt-get purge msglint failed"; }
  [ -z "$(package_state)" ] || [ "$(package_state)" = not-installed ] ||
    fail "msglint is left in the state '$(package_state)' after the purge"
  while IFS= read -r path; do
    # Directories the system shares (/usr, /usr/bin, ...) stay.
    if [ -L "$path" ] || { [ -e "$path" ] && [ ! -d "$path" ]; } ||
       [[ -d "$path" && ( "$path" == /usr/lib/msglint* || "$path" == /usr/share/doc/msglint ) ]]; then
      fail "$path is left after the purge"
    fi
  done <<<"$installed"
  trap cleanup EXIT
  echo "package_test: installed with apt-get, then purged without a trace"
fi
echo "package_test: $(basename "$deb") installs and audits the example installation"
