#!/usr/bin/env bash
# Installs, on a Debian machine, whatever of the build and test tools is missing.
set -euo pipefail
packages=(
  cmake ninja-build g++ pkg-config
  g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
  libgtest-dev googletest libbenchmark-dev libssl-dev
  clang libclang-rt-14-dev
  wine wine64 xvfb xdotool x11-utils imagemagick osslsigncode openssl ca-certificates
  python3 python3-pytest
  clang-format-16 black shellcheck
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo_cmd apt-get update -q
  $sudo_cmd apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
