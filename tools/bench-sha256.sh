#!/usr/bin/env bash
# Times the file digest. Builds the native benchmark and runs it:
# sha256_file_hex on a 64 MiB file beside `openssl dgst -sha256` on the same
# file, then the peak memory growth, and last "ratio <ours / OpenSSL's>" of the
# two throughputs (the goal is 0.9 or more). Arguments go to the benchmark
# (e.g. --benchmark_repetitions=15).
set -euo pipefail
cd "$(dirname "$0")/.."
if [ -x tools/ensure-packages.sh ]; then ./tools/ensure-packages.sh; fi

build=build/bench
cmake --preset native -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j 2 --target sha256_bench
"$build/bench/sha256_bench" "$@"
