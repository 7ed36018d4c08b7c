# shellcheck shell=bash
# Sourced by the Wine scripts: one private prefix per checkout, no Wine chatter.
NV_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
export WINEPREFIX=${NV_WINEPREFIX:-$NV_ROOT/build/wineprefix}
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}
export WINEARCH=win64
