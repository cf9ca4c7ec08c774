#!/usr/bin/env bash
# Installs the dependencies, builds everything (benchmarks included) and runs every test.
# With --sanitize, builds and runs the suite under address and undefined-behaviour sanitizers.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
preset=default
[ "${1:-}" = "--sanitize" ] && preset=sanitize
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset"
