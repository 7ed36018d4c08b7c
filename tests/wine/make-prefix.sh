#!/usr/bin/env bash
# Makes the private Wine prefix once; a boot that fails or hangs (Wine under load) is tried three
# times at most.
set -euo pipefail
. "$(dirname "$0")/env.sh"
for _ in 1 2 3; do
  [ -f "$WINEPREFIX/.nv-ready" ] && exit 0
  mkdir -p "$WINEPREFIX"
  if timeout 240 wineboot -i >/dev/null 2>&1; then
    timeout 60 wineserver -w || true
    touch "$WINEPREFIX/.nv-ready"
    echo "Wine prefix ready: $WINEPREFIX"
  else
    timeout 30 wineserver -k || true
  fi
done
echo "wineboot failed" >&2
exit 1
