#!/usr/bin/env bash
# Installs the Debian packages that building, testing and benchmarking need.
# Quick when everything is already there: apt runs only for what is missing.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config ccache clang-14 libclang-rt-14-dev
  liblua5.1-0-dev libluajit-5.1-dev lua5.1
  libboost-dev libboost-regex-dev libicu-dev nlohmann-json3-dev
  libcairo2-dev libpango1.0-dev libpng-dev libjpeg-dev libgdk-pixbuf-2.0-dev
  libsdl2-dev fonts-dejavu-core

  libegl-dev libgl-dev libgles-dev libegl-mesa0 libgl1-mesa-dri
  libgtest-dev libgmock-dev libbenchmark-dev valgrind python3
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ "${#missing[@]}" -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  sudo_cmd=()
  [ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
  "${sudo_cmd[@]}" apt-get update -qq
  "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
