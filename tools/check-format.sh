#!/usr/bin/env bash
# Fails when a file of the repository is not formatted as .clang-format and pyproject.toml say,
# when a line of code, tests, tools or benchmarks is over 100 columns (black leaves long strings
# and comments alone, and nothing formats the scripts and CMake files), or when shellcheck finds
# fault with a shell script. Fix with the same tools without the checking flags:
# clang-format-16 -i <files>, black <files>.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t cpp < <(git ls-files '*.cpp' '*.h')
mapfile -t python < <(git ls-files '*.py')
mapfile -t shell < <(git ls-files '*.sh')
clang-format-16 --dry-run --Werror "${cpp[@]}"
black --check --quiet "${python[@]}"
shellcheck -x -P SCRIPTDIR "${shell[@]}"

# The fuzz corpus is data. A C++ table kept by `// clang-format off` may run longer when a comment
# on that line says why: those lines are between the markers.
mapfile -t sources < <(git ls-files src tests tools bench ':!:tests/fuzz/corpus')
awk -v limit=100 '
  FNR == 1 { kept = 0 }
  /clang-format off/ { kept = 1 }
  /clang-format on/ { kept = 0 }
  !kept && length($0) > limit { printf "%s:%d: %d columns\n", FILENAME, FNR, length($0); long = 1 }
  END { exit long }
' "${sources[@]}"
