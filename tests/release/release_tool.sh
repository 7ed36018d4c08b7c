#!/usr/bin/env bash
# nv-release from key to check: the manifest passes with its installer, not with a changed one; a
# version the client would refuse is refused before anything is written.
set -euo pipefail
tool=$(realpath "$1")
cd "$(mktemp -d)" && trap 'rm -rf "$PWD"' EXIT
expect() {
  local want=$1 got=0
  shift
  "$@" || got=$?
  [ "$got" -eq "$want" ] || { echo "exit $got: $*"; exit 1; }
}
key=$("$tool" keygen private.pem | head -n 1)
if [ "${#key}" -ne 86 ] || [ "$(stat -c %a private.pem)" != 600 ]; then
  echo "key: $key"
  exit 1
fi
head -c 5000 /dev/urandom >Setup.exe
expect 0 "$tool" issue private.pem 17 2.1.0 Setup.exe latest.jws --release-utc 1700000000
expect 0 "$tool" verify "$key" latest.jws Setup.exe
echo >>Setup.exe
expect 4 "$tool" verify "$key" latest.jws Setup.exe
expect 4 "$tool" issue private.pem 18 "2.1 0" Setup.exe refused.jws
[ -z "$(ls refused.jws* 2>/dev/null)" ]
