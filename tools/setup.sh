#!/usr/bin/env bash
# Installs the Debian packages that building, testing and running msglint
# need, when some are missing: a C++20 compiler, CMake, Ninja, pkg-config,
# libxml2, GoogleTest and killall (psmisc). Does nothing when all are there.
set -euo pipefail

packages=(g++ cmake ninja-build pkg-config libxml2-dev libgtest-dev libgmock-dev psmisc)
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing: ${missing[*]}" >&2
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
