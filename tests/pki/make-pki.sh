#!/usr/bin/env bash
# Makes the test PKI, private keys included, in <dir> (a build directory): root.crt/.key
# "Tenebrix Test Root <random>" over the code-signing certificates of the host, Qt and the
# installer (paltalk, qt, orvane, elin), and update-root over the TLS certificate of the update
# host <host> (update-server).
set -euo pipefail
dir=$1 host=${2:-updates.tenebrix.test} days=3650
mkdir -p "$dir"
cd "$dir"
ca() {
  openssl req -x509 -newkey rsa:2048 -nodes -sha256 -days $days -keyout "$1.key" -out "$1.crt" \
    -subj "/CN=$2 $(openssl rand -hex 4)" -addext "basicConstraints=critical,CA:TRUE" \
    -addext "keyUsage=critical,keyCertSign,cRLSign" -addext "subjectKeyIdentifier=hash" 2>/dev/null
}
ca root "Tenebrix Test Root"
printf '%s\n' "basicConstraints=critical,CA:FALSE" "keyUsage=critical,digitalSignature" \
  "extendedKeyUsage=codeSigning" "subjectKeyIdentifier=hash" "authorityKeyIdentifier=keyid" \
  >leaf.ext
leaf() {  # <name> <common name> [<CA> <extensions>]
  openssl req -newkey rsa:2048 -nodes -sha256 -keyout "$1.key" -subj "/CN=$2" 2>/dev/null |
    openssl x509 -req -sha256 -days $days -CA "${3:-root}.crt" -CAkey "${3:-root}.key" \
      -set_serial "0x$(openssl rand -hex 8)" -extfile "${4:-leaf.ext}" -out "$1.crt" 2>/dev/null
}
leaf paltalk "Paltalk US LLC"
leaf qt "The QT Company Oy"
leaf orvane "Orvane Labs LLC"
leaf elin "Elin Varro"
ca update-root "Tenebrix Test Update Root"
printf '%s\n' "basicConstraints=critical,CA:FALSE" \
  "keyUsage=critical,digitalSignature,keyEncipherment" "extendedKeyUsage=serverAuth" \
  "subjectAltName=DNS:$host" "authorityKeyIdentifier=keyid" >server.ext
leaf update-server "$host" update-root server.ext
touch complete
