#!/usr/bin/env bash
# Fails when a C++ or Python file of the repository is not formatted as
# .clang-format and pyproject.toml say. Fix with the same tools without the
# checking flags: clang-format-16 -i <files>, black <files>.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t cpp < <(git ls-files '*.cpp' '*.h')
mapfile -t python < <(git ls-files '*.py')
clang-format-16 --dry-run --Werror "${cpp[@]}"
black --check --quiet "${python[@]}"
