#!/usr/bin/env bash
# Installs the Debian packages that msglint needs, when some are missing, in
# two sets:
#  - always: what building and running the programs needs: a C++20
#    compiler, CMake, Ninja, pkg-config, libxml2, nlohmann-json (the findings
#    file, the report tool and the fixer), libgettextpo (the fixer's PO
#    files) and killall (psmisc, run by every audit);
#  - with --tests: also what the tests need: GoogleTest, python3-jsonschema
#    (the SARIF schema), chromium (the HTML page), clang with its libFuzzer
#    and sanitizer runtimes (the fuzz targets), dpkg-dev (dpkg-shlibdeps, for
#    the package), lintian and man-db (the package's checks), gettext
#    (msgfmt, which checks the fixer's PO files) and libxml2-utils (xmllint,
#    which checks the message files that it writes).
# Packages are installed without their recommended packages. Does nothing
# when all are there.
#
#   tools/setup.sh [--tests] [--list]
#
# --list prints the set, one package a line, and installs nothing.
#
# Installing needs root: run as root, it uses apt-get itself; run by another
# user, it uses sudo when sudo can be used, and otherwise says what to
# install and exits with status 1. apt-get needs network access to the Debian
# archive.
set -euo pipefail

say() { echo "tools/setup.sh: $*" >&2; }

tests=0
list=0
for arg in "$@"; do
  case "$arg" in
    --tests) tests=1 ;;
    --list) list=1 ;;
    *) say "unknown option: $arg (usage: tools/setup.sh [--tests] [--list])"; exit 2 ;;
  esac
done

packages=(g++ cmake ninja-build pkg-config libxml2-dev nlohmann-json3-dev libgettextpo-dev psmisc)
if [ "$tests" = 1 ]; then
  packages+=(libgtest-dev libgmock-dev python3-jsonschema chromium clang libclang-rt-14-dev
    dpkg-dev lintian man-db gettext libxml2-utils)
fi

if [ "$list" = 1 ]; then
  printf '%s\n' "${packages[@]}"
  exit 0
fi

if ! command -v dpkg >/dev/null 2>&1; then
  say "dpkg not found: the set-up knows Debian packages only;" \
      "install by hand: ${packages[*]}"
  exit 1
fi

missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=()
if [ "$(id -u)" -ne 0 ]; then
  # sudo without a password, or with a terminal to ask for one.
  if command -v sudo >/dev/null 2>&1 && { sudo -n true 2>/dev/null || [ -t 0 ]; }; then
    sudo=(sudo)
  else
    say "missing Debian packages: ${missing[*]}"
    say "installing them needs root (or sudo), and network access to the Debian archive."
    say "As root, run:"
    echo "    apt-get update && apt-get install -y --no-install-recommends ${missing[*]}" >&2
    say "then run tools/setup.sh again."
    exit 1
  fi
fi

say "installing: ${missing[*]}"
if ! "${sudo[@]}" apt-get update -qq; then
  say "apt-get update failed: the set-up needs network access to the Debian archive"
  exit 1
fi
if ! "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y -qq --no-install-recommends "${missing[@]}"; then
  say "apt-get install failed for: ${missing[*]}"
  exit 1
fi
