#!/usr/bin/env bash
# Checks that every folder includes only from the layers below it (the linker checks the
# libraries; this checks the headers, which the linker cannot see). Prints each violation as
# "file: includes X" and exits 1 when there is one.
set -euo pipefail
cd "$(dirname "$0")/.."

# folder -> the project folders its files may include from (besides itself)
declare -A allowed=(
  [platform/trace]=""
  [platform/cog]="platform/trace"
  [platform/kiln]="platform/trace platform/cog"
  [platform/nwk]="platform/trace platform/cog"
  [platform/tidal]="platform/trace platform/cog"
  [models]="platform"
  [pbr]="platform models"
  [feed]="platform models"
  [OrbFlowspec/digestion]="platform models"
  [OrbFlowspec/translation]="platform models OrbFlowspec/digestion"
  [OrbFlowspec/status]="platform models"
  [OrbFlowspec/unsupported]="platform models"
  [OrbFlowspec/config]="platform models OrbFlowspec/digestion OrbFlowspec/translation"
  [OrbFlowspec/root]="platform models pbr OrbFlowspec"
)

status=0
for folder in "${!allowed[@]}"; do
  [ -d "$folder" ] || continue
  while IFS= read -r line; do
    file=${line%%:*}
    included=$(sed -E 's/.*#include "([^"]+)".*/\1/' <<<"${line#*:}")
    ok=0
    for prefix in "$folder" ${allowed[$folder]}; do
      case "$included" in "$prefix"/*) ok=1 ;; esac
    done
    if [ $ok -eq 0 ]; then
      echo "$file: includes $included"
      status=1
    fi
  done < <(grep -rn --include='*.h' --include='*.cpp' '^#include "' "$folder" | cut -d: -f1,3-)
done
exit $status
