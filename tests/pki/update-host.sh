#!/usr/bin/env bash
# update-host.sh install|remove <update-root.crt> [<host>], as root: puts the CA into the system
# store (where Wine's crypt32 finds its roots) and maps the host to 127.0.0.1 in /etc/hosts, or
# takes both out. Both are keyed by the CA's fingerprint, so checkouts testing at once touch only
# their own. Idempotent.
set -euo pipefail
action=$1 ca=$2 host=${3:-updates.tenebrix.test}
fingerprint=$(openssl x509 -in "$ca" -noout -fingerprint -sha256 |
  sed 's/.*=//; s/://g' | tr A-F a-f)
tag=tenebrix-update-${fingerprint:0:16}
stored=/usr/local/share/ca-certificates/$tag.crt
exec 9>/tmp/nv-update-host.lock
flock -w 60 9
# /etc/hosts may be a mount point: rewrite it in place, never replace it.
lines=$(grep -vF "# $tag" /etc/hosts || true)
case $action in
  install)
    if ! cmp -s "$ca" "$stored"; then
      mkdir -p "${stored%/*}"
      install -m 644 "$ca" "$stored"
      update-ca-certificates >/dev/null 2>&1
    fi
    printf '%s\n127.0.0.1 %s # %s\n' "$lines" "$host" "$tag" >/etc/hosts ;;
  remove)
    if [ -e "$stored" ]; then
      rm -f "$stored"
      update-ca-certificates --fresh >/dev/null 2>&1
    fi
    printf '%s\n' "$lines" >/etc/hosts ;;
  *)
    echo "usage: $0 install|remove <ca.crt> [<host>]" >&2
    exit 2 ;;
esac
