#!/usr/bin/env bash
# The main job: build NightveilMode.exe and its fixture host, and run the
# launcher under Wine on a demo installation of a recognized build.
set -euo pipefail
cd "$(dirname "$0")/.."
./tools/ensure-packages.sh
cmake --preset windows >/dev/null
cmake --build --preset windows -j 2 --target NightveilMode nv_fixtures
tests/wine/make-prefix.sh
exec /usr/bin/python3 tests/e2e/demo.py
