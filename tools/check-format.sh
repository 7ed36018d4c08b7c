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
# on that line says why: those lines are between the markers. Columns are characters, as
# clang-format counts them.
git ls-files -z src tests tools bench ':!:tests/fuzz/corpus' | python3 -c '
import re, sys
long = False
for name in sys.stdin.read().split("\0")[:-1]:
    kept = False
    for number, line in enumerate(open(name, encoding="utf-8", errors="replace"), 1):
        if re.match(r"\s*// clang-format (off|on)", line):
            kept = "off" in line
        elif not kept and len(line.rstrip("\n")) > 100:
            print(f"{name}:{number}: {len(line.rstrip(chr(10)))} columns")
            long = True
sys.exit(long)
'
