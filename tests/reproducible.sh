#!/usr/bin/env bash
# Rebuilds NightveilMode.exe from a copy of the sources elsewhere: it must be byte for byte $1,
# untouched by the time of a build and its source or build directory.
set -euo pipefail
first=$(realpath "$1")
root=$(realpath "$(dirname "$0")/..")
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
# The first build's configuration: the preset plus what its cache overrides (a test build's update
# server).
cache=$(dirname "$first")/CMakeCache.txt
vars=()
if [ -f "$cache" ]; then
  mapfile -t vars < <(sed -n -E 's/^((NV_[A-Z0-9_]+|CMAKE_BUILD_TYPE):[A-Z]+=.*)$/-D\1/p' "$cache" |
    grep -v '^-DNV_TESTS:')
fi

mkdir "$tmp/src"
tar -C "$root" --exclude=./build --exclude=./.git -cf - . | tar -C "$tmp/src" -xf -
cmake -S "$tmp/src" --preset windows -B "$tmp/build" "${vars[@]}" -DNV_TESTS=OFF >/dev/null
cmake --build "$tmp/build" -j "$(nproc)" --target NightveilMode
second=$tmp/build/NightveilMode.exe

sha256sum "$first" "$second"
# On a difference: the offsets and octal bytes of the first twenty.
if ! cmp "$first" "$second"; then
  cmp -l "$first" "$second" | head -20 >&2 || true
  echo "NightveilMode.exe is not reproducible" >&2
  exit 1
fi
