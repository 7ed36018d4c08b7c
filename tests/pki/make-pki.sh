#!/usr/bin/env bash
# Makes the test PKI in <dir>, which must lie in a build directory since it holds
# the private keys: root.crt/.key, "Tenebrix Test Root <random>", and the
# code-signing certificates of the host's and Qt's signers (paltalk, qt) and of the installer's two
# signers (orvane, elin).
set -euo pipefail
dir=$1 days=3650
mkdir -p "$dir"
cd "$dir"
openssl req -x509 -newkey rsa:2048 -nodes -sha256 -days $days -keyout root.key -out root.crt \
  -subj "/CN=Tenebrix Test Root $(openssl rand -hex 4)" -addext "basicConstraints=critical,CA:TRUE" \
  -addext "keyUsage=critical,keyCertSign,cRLSign" -addext "subjectKeyIdentifier=hash" 2>/dev/null
printf '%s\n' "basicConstraints=critical,CA:FALSE" "keyUsage=critical,digitalSignature" \
  "extendedKeyUsage=codeSigning" "subjectKeyIdentifier=hash" "authorityKeyIdentifier=keyid" >leaf.ext
leaf() {
  openssl req -newkey rsa:2048 -nodes -sha256 -keyout "$1.key" -subj "/CN=$2" 2>/dev/null |
    openssl x509 -req -sha256 -days $days -CA root.crt -CAkey root.key -set_serial "0x$(openssl rand -hex 8)" \
      -extfile leaf.ext -out "$1.crt" 2>/dev/null
}
leaf paltalk "Paltalk US LLC"
leaf qt "The QT Company Oy"
leaf orvane "Orvane Labs LLC"
leaf elin "Elin Varro"
touch complete
