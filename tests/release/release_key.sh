#!/usr/bin/env bash
# The release preset refuses a key anyone could sign with, and says what to pass; a fresh key, or
# the test key with a test host, configures.
set -euo pipefail
root=$(realpath "$(dirname "$0")/../..")
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
example=f83OJ3D2xF1Bg8vub9tLe1gHMzV76e8Tus9uPHvRVEXH8UTNG72bfocs3-257rn0s2ldbqkLJK2KRiMohYjlrQ
# A new P-256 key: the last 64 bytes of the public key's DER are X||Y.
fresh=$(openssl ecparam -name prime256v1 -genkey -noout |
  openssl ec -pubout -outform DER 2>/dev/null |
  tail -c 64 | basenc --base64url -w0 | tr -d =)
placeholder=$(printf 'A%.0s' $(seq 86))
failed=0
# row <name> <expected: fails|configures> [-D...]: a fresh build folder each.
row() {
  local name=$1 expected=$2 got=configures
  shift 2
  cmake -S "$root" --preset windows-release -B "$tmp/$name" "$@" >"$tmp/$name.log" 2>&1 || got=fails
  if [ "$got" != "$expected" ]; then
    echo "$name: $got, expected it $expected" >&2
    failed=1
  elif [ "$got" = fails ] && ! grep -q -- '-DNV_UPDATE_PUBLIC_KEY=<' "$tmp/$name.log"; then
    echo "$name: fails without saying what to pass:" >&2
    cat "$tmp/$name.log" >&2
    failed=1
  fi
  rm -rf "${tmp:?}/$name"
}
row no-key fails
row example-key fails "-DNV_UPDATE_PUBLIC_KEY=$example"
row placeholder-key fails "-DNV_UPDATE_PUBLIC_KEY=$placeholder"
row short-key fails "-DNV_UPDATE_PUBLIC_KEY=${fresh:0:85}"
row fresh-key configures "-DNV_UPDATE_PUBLIC_KEY=$fresh"
row example-key-test-host configures "-DNV_UPDATE_PUBLIC_KEY=$example" \
  -DNV_UPDATE_HOST=updates.tenebrix.test
row example-key-host-containing-test fails "-DNV_UPDATE_PUBLIC_KEY=$example" \
  -DNV_UPDATE_HOST=updates.test.example
exit $failed
