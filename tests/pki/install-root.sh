#!/usr/bin/env bash
# Puts test roots into the system certificate store, where Wine's crypt32
# finds the roots it trusts. Run as root, after the build has made the PKI.
#
# Usage: install-root.sh <root.crt> [<root.crt> ...]
#   e.g. tests/pki/install-root.sh build/windows/pki/root.crt
#
# Each root is copied to /usr/local/share/ca-certificates under a name made
# from its fingerprint, so the roots of several build directories can live
# side by side; update-ca-certificates runs only when something was added.
# Running it again changes nothing.
set -euo pipefail

if [ $# -lt 1 ]; then
  echo "usage: $0 <root.crt> [<root.crt> ...]" >&2
  exit 2
fi
store=/usr/local/share/ca-certificates
mkdir -p "$store"
changed=0
for cert in "$@"; do
  fingerprint=$(openssl x509 -in "$cert" -noout -fingerprint -sha256 | sed 's/.*=//; s/://g' | tr 'A-F' 'a-f')
  target="$store/tenebrix-test-root-${fingerprint:0:16}.crt"
  if [ -f "$target" ] && cmp -s "$cert" "$target"; then continue; fi
  cp "$cert" "$target"
  chmod 644 "$target"
  changed=1
done
if [ "$changed" -eq 1 ]; then
  update-ca-certificates >/dev/null
fi
