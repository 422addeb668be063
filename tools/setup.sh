#!/usr/bin/env bash
# Installs the Debian packages that building, testing, packaging and running
# msglint need, when some are missing: a C++20 compiler, CMake, Ninja,
# pkg-config, libxml2, GoogleTest, killall (psmisc), nlohmann-json (the
# findings file and the fixer), dpkg-shlibdeps (dpkg-dev, for the package),
# python3-jsonschema and chromium (for the tests of the findings reports),
# and clang with its libFuzzer and sanitizer runtimes (for the fuzz
# targets). Does nothing when all are there.
#
# Installing needs root: run as root, it uses apt-get itself; run by another
# user, it uses sudo when sudo can be used, and otherwise says what to
# install and exits with status 1. apt-get needs network access to the Debian
# archive.
set -euo pipefail

packages=(g++ cmake ninja-build pkg-config libxml2-dev libgtest-dev libgmock-dev psmisc dpkg-dev
  nlohmann-json3-dev python3-jsonschema chromium clang libclang-rt-14-dev)

say() { echo "tools/setup.sh: $*" >&2; }

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
    echo "    apt-get update && apt-get install -y ${missing[*]}" >&2
    say "then run tools/setup.sh again."
    exit 1
  fi
fi

say "installing: ${missing[*]}"
if ! "${sudo[@]}" apt-get update -qq; then
  say "apt-get update failed: the set-up needs network access to the Debian archive"
  exit 1
fi
if ! "${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}"; then
  say "apt-get install failed for: ${missing[*]}"
  exit 1
fi
