#!/usr/bin/env bash
# Runs one Windows program under Wine with a bounded wait: a hang is a failure.
set -uo pipefail
. "$(dirname "$0")/env.sh"
"$(dirname "$0")/make-prefix.sh" >/dev/null || exit 1
exec timeout --kill-after=10 "${NV_WINE_TIMEOUT:-600}" wine "$@"
