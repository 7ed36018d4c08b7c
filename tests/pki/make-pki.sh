#!/usr/bin/env bash
# Makes the test PKI for signed fixtures: a root CA and code-signing
# certificates issued by it, private keys included, so <dir> must lie in a
# build directory.
#
# Usage: make-pki.sh <dir>
#
#   <dir>/root.crt, root.key          the root CA, "Tenebrix Test Root <random>"
#   <dir>/<signer>.crt, <signer>.key  one code-signing certificate per signer:
#       paltalk          CN=Paltalk US LLC
#       qt               CN=The QT Company Oy
#       paltalk-europe   CN=Paltalk US LLC Europe   (merely contains the first name)
#       someone-else     CN=Someone Else
#
# Does nothing when <dir> already holds a complete PKI, and is safe to call
# from several build steps at once. Wine trusts the root only once it is in
# the system store: see install-root.sh.
set -euo pipefail

if [ $# -ne 1 ]; then
  echo "usage: $0 <dir>" >&2
  exit 2
fi
dir=$1
mkdir -p "$dir"
exec 9>"$dir/.lock"
flock 9
if [ -f "$dir/complete" ]; then exit 0; fi

work=$(mktemp -d "$dir/.work.XXXXXX")
trap 'rm -rf "$work"' EXIT
days=3650

openssl req -x509 -newkey rsa:2048 -nodes -sha256 -days "$days" \
  -keyout "$work/root.key" -out "$work/root.crt" \
  -subj "/CN=Tenebrix Test Root $(openssl rand -hex 4)" \
  -addext "basicConstraints=critical,CA:TRUE" \
  -addext "keyUsage=critical,keyCertSign,cRLSign" \
  -addext "subjectKeyIdentifier=hash" 2>/dev/null

cat >"$work/leaf.ext" <<'EXT'
basicConstraints=critical,CA:FALSE
keyUsage=critical,digitalSignature
extendedKeyUsage=codeSigning
subjectKeyIdentifier=hash
authorityKeyIdentifier=keyid
EXT

leaf() {
  local name=$1 subject=$2
  openssl req -newkey rsa:2048 -nodes -sha256 -keyout "$work/$name.key" -out "$work/$name.csr" \
    -subj "/CN=$subject" 2>/dev/null
  openssl x509 -req -sha256 -days "$days" -in "$work/$name.csr" -CA "$work/root.crt" -CAkey "$work/root.key" \
    -set_serial "0x$(openssl rand -hex 8)" -extfile "$work/leaf.ext" -out "$work/$name.crt" 2>/dev/null
  rm -f "$work/$name.csr"
}
leaf paltalk "Paltalk US LLC"
leaf qt "The QT Company Oy"
leaf paltalk-europe "Paltalk US LLC Europe"
leaf someone-else "Someone Else"

rm -f "$work/leaf.ext"
chmod 600 "$work"/*.key
mv "$work"/* "$dir"/
touch "$dir/complete"
