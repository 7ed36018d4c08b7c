#!/usr/bin/env bash
# The owner's measure of the tests: non-blank lines of the tests (everything under tests/ but the
# fuzz corpus and binary files) and of the code (src/ and tools/), and the tests' share of all of
# it, tests / (tests + code). Each file is counted on its own, so a last line without a newline
# still counts once.
set -euo pipefail
cd "$(dirname "$0")/.."
# Non-blank lines of the text files among the named ones (binary files count nothing).
count() {
  find "$@" -type f -print0 | sort -z | while IFS= read -r -d '' file; do
    if grep -Iq . "$file"; then awk '/[^[:space:]]/ { n++ } END { print n + 0 }' "$file"; fi
  done | awk '{ sum += $1 } END { print sum + 0 }'
}
tests=$(count tests -path tests/fuzz/corpus -prune -o)
code=$(count src tools)
echo "tests $tests"
echo "code  $code"
awk -v t="$tests" -v c="$code" 'BEGIN { printf "share %.2f\n", t / (t + c) }'
