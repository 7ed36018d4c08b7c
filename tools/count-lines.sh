#!/usr/bin/env bash
# Non-blank lines of the product (what under src/ is built into
# NightveilMode.exe: everything but the native build's portable backend) and of
# the tests (everything under tests/: test doubles, fixtures, harnesses and
# scripts included; the benchmarks live in bench/ and do not count).
set -euo pipefail
cd "$(dirname "$0")/.."
count() { if [ $# -eq 0 ]; then echo 0; else cat "$@" | grep -cv '^[[:space:]]*$' || true; fi; }
mapfile -t product < <(find src -type f \( -name '*.cpp' -o -name '*.h' \) -not -path 'src/platform/portable/*' | sort)
mapfile -t tests < <(find tests -type f | sort)
p=$(count "${product[@]}")
t=$(count "${tests[@]}")
echo "product $p"
echo "tests   $t"
awk -v t="$t" -v p="$p" 'BEGIN { printf "ratio   %.2f\n", t / p }'
