#!/usr/bin/env bash
# Installs the Debian packages the project needs. As root it runs apt-get; as
# anyone else it prints the exact line to run and fails.
set -euo pipefail
packages=(
  cmake ninja-build g++ make pkg-config dpkg-dev
  libgtest-dev libgmock-dev libbenchmark-dev libpugixml-dev libxxhash-dev libsqlite3-dev
  qt6-base-dev libgl-dev
  clang-format libxml2-utils xvfb xauth python3 valgrind
  clang-14 libclang-rt-14-dev
  desktop-file-utils appstream help2man librsvg2-bin
)
missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0
if [ "$(id -u)" -ne 0 ]; then
  echo "Missing Debian packages. Run as root:" >&2
  echo "  apt-get update && apt-get install -y ${missing[*]}" >&2
  exit 1
fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq --no-install-recommends "${missing[@]}"
