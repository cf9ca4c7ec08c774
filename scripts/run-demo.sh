#!/usr/bin/env bash
# Installs the dependencies, builds the agent and runs it on the bundled demo scenario.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default --target flowspec-agent
build/default/agent/flowspec-agent --scenario examples/demo.json "$@"
