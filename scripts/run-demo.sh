#!/usr/bin/env bash
# Installs the dependencies, builds the agent and runs it on the bundled demo scenario.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default --target flowspec-agent
# The demo holds one malformed rule on purpose, to show the error path: the agent then exits 1
# (an item was refused, the rest ran), which is the expected outcome here.
status=0
build/default/agent/flowspec-agent --scenario examples/demo.json "$@" || status=$?
[ "$status" -le 1 ] || exit "$status"
