#!/usr/bin/env bash
# Runs the agent on a generated rule set (the same rules the pipeline benchmarks use) and
# reports its time and peak memory: bench/profile-agent.sh PROFILE RULES [SEED] [AGENT-OPTIONS...]
# PROFILE is classbench, ddos or mixed. Uses the release build (scripts/run-tests.sh --release).
set -euo pipefail
cd "$(dirname "$0")/.."
profile=${1:?profile: classbench, ddos or mixed}
rules=${2:?number of rules}
seed=${3:-1}
shift $(($# < 3 ? $# : 3))
build=build/release
cmake --build "$build" -j2 --target flowspec-agent flowspec-profile >/dev/null
scenario=$(mktemp --suffix=.json)
trap 'rm -f "$scenario"' EXIT
"$build/bench/flowspec-profile" "$profile" "$rules" "$seed" >"$scenario"
if [[ -x /usr/bin/time ]]; then
  /usr/bin/time -f "agent: %e s wall, %U s user, %S s system, %M KiB peak resident" \
    "$build/agent/flowspec-agent" --scenario "$scenario" "$@" >/dev/null
else
  TIMEFORMAT="agent: %R s wall, %U s user, %S s system"
  time "$build/agent/flowspec-agent" --scenario "$scenario" "$@" >/dev/null
fi
