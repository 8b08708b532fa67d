#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, when missing,
# and any further packages named on the command line.
set -euo pipefail
packages=(cmake make g++ gcc pkg-config libexpat1-dev zlib1g-dev libgtest-dev libgmock-dev libbenchmark-dev
          libcli11-dev nlohmann-json3-dev gzip coreutils "$@")
missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  SUDO=""
  [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y "${missing[@]}"
fi
