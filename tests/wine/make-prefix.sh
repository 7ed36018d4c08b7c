#!/usr/bin/env bash
# Makes the private Wine prefix once; later calls find it ready.
set -euo pipefail
. "$(dirname "$0")/env.sh"
if [ -f "$WINEPREFIX/.nv-ready" ]; then exit 0; fi
mkdir -p "$WINEPREFIX"
timeout 240 wineboot -i >/dev/null 2>&1 || { echo "wineboot failed" >&2; exit 1; }
timeout 60 wineserver -w || true
touch "$WINEPREFIX/.nv-ready"
echo "Wine prefix ready: $WINEPREFIX"
