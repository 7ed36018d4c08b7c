#!/usr/bin/env bash
# install-root.sh <root.crt>..., as root: the test roots into the system store, where Wine's
# crypt32 finds them.
set -euo pipefail
store=/usr/local/share/ca-certificates changed=0
mkdir -p $store
for cert in "$@"; do
  fingerprint=$(openssl x509 -in "$cert" -noout -fingerprint -sha256 |
    sed 's/.*=//; s/://g' | tr A-F a-f)
  target=$store/tenebrix-test-root-${fingerprint:0:16}.crt
  if ! cmp -s "$cert" "$target"; then install -m 644 "$cert" "$target" && changed=1; fi
done
if [ $changed = 1 ]; then update-ca-certificates >/dev/null; fi
