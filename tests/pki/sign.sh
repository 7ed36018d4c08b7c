#!/usr/bin/env bash
# Signs a PE file with one signer of the test PKI (see make-pki.sh): SHA-256,
# no timestamp, nothing fetched from the network.
#
# Usage: sign.sh <pki-dir> <signer> <in> <out> [-nest]
#
#   <signer>  paltalk | qt | paltalk-europe | someone-else
#   -nest     <in> is already signed: keep its signature and add this one as
#             a nested (secondary) signature.
set -euo pipefail

if [ $# -lt 4 ] || [ $# -gt 5 ] || { [ $# -eq 5 ] && [ "$5" != "-nest" ]; }; then
  echo "usage: $0 <pki-dir> <signer> <in> <out> [-nest]" >&2
  exit 2
fi
pki=$1 signer=$2 in=$3 out=$4
nest=()
if [ $# -eq 5 ]; then nest=(-nest); fi
for f in "$pki/$signer.crt" "$pki/$signer.key" "$in"; do
  [ -f "$f" ] || { echo "$0: missing $f" >&2; exit 1; }
done

tmp="$out.signing"
rm -f "$tmp"
osslsigncode sign "${nest[@]}" -h sha256 -certs "$pki/$signer.crt" -key "$pki/$signer.key" \
  -in "$in" -out "$tmp" >/dev/null
mv -f "$tmp" "$out"
