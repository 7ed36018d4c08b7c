#!/usr/bin/env bash
# The whole test run: native unit tests, the same under AddressSanitizer and
# UBSan, then the Windows build with its unit, platform and black-box tests
# under Wine. Installs what it needs first.
set -euo pipefail
cd "$(dirname "$0")/.."
./tools/ensure-packages.sh
./tools/check-format.sh

jobs=2
cmake --preset native >/dev/null
cmake --build --preset native -j "$jobs"
ctest --preset native

cmake --preset native-asan >/dev/null
cmake --build --preset native-asan -j "$jobs"
ctest --preset native-asan

cmake --preset windows >/dev/null
cmake --build --preset windows -j "$jobs"
tests/pki/install-root.sh build/windows/pki/root.crt

# The update host of the HTTPS tests and a display for the dialogs, for this
# run only, undone when it ends.
. tools/update-session.sh
ctest --preset windows
