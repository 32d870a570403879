#!/usr/bin/env bash
# Installs the Debian packages that building, testing and benchmarking need, when any is
# missing. Runs apt-get as root, or through sudo.
set -euo pipefail

packages=(
  build-essential cmake git pkg-config clang-format
  zlib1g-dev libcurl4-openssl-dev
  libgtest-dev libgmock-dev libbenchmark-dev libeigen3-dev liborocos-kdl-dev
  python3 libxml2-utils gzip clang libclang-rt-14-dev gnuplot-nox
)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [[ $status == "install ok installed" ]] || missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "Installing: ${missing[*]}"
as_root=()
[[ $(id -u) -eq 0 ]] || as_root=(sudo)
"${as_root[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
