#!/usr/bin/env bash
# Installs the dependencies, builds everything (benchmarks included) at -O3 with line tables and
# runs every test. An argument picks another build: --release (the same without line tables, for
# benchmarking) or --sanitize (address and undefined-behaviour sanitizers, benchmarks left out).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
preset=default
case "${1:-}" in
  "") ;;
  --release) preset=release ;;
  --sanitize) preset=sanitize ;;
  *) echo "usage: scripts/run-tests.sh [--release|--sanitize]" >&2; exit 2 ;;
esac
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"
ctest --preset "$preset"
