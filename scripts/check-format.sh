#!/usr/bin/env bash
# Checks that every C++ file of the project is formatted as .clang-format says (clang-format
# 14, Debian 12's). With --fix, formats them in place instead.
set -euo pipefail
cd "$(dirname "$0")/.."
# New files count before they are added, so a check before the commit sees what CI will see.
mapfile -t files < <(git ls-files --cached --others --exclude-standard '*.h' '*.cpp')
if [ "${1:-}" = "--fix" ]; then
  clang-format -i "${files[@]}"
  exit 0
fi
clang-format --dry-run --Werror "${files[@]}"
