# shellcheck shell=bash
# Sourced by the Wine benchmarks from the repository root: the packages, the Windows build, and
# the update session (tools/update-session.sh); sets `build` to the Windows build folder.
./tools/ensure-packages.sh
cmake --preset windows >/dev/null
cmake --build --preset windows -j 2 >/dev/null
# shellcheck disable=SC2034 # read by the scripts that source this one
build=$PWD/build/windows
# shellcheck source=tools/update-session.sh
. tools/update-session.sh
