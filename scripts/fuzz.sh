#!/usr/bin/env bash
# Builds the fuzzers with clang in build/fuzz and runs each for SECONDS (default 60), one after
# the other, starting from the committed corpus: scripts/fuzz.sh [SECONDS] [NAME...], NAME one of
# rule_text scenario table_ops feed_decoder (default all). New interesting inputs collect in
# build/fuzz/corpus/NAME and crash reproducers in build/fuzz/crashes/NAME; neither is committed
# automatically (minimise with -merge=1 into fuzz/corpus/NAME by hand).
set -euo pipefail

seconds=${1:-60}
shift || true
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
  names=(rule_text scenario table_ops feed_decoder)
fi
root=$(cd "$(dirname "$0")/.." && pwd)
build=$root/build/fuzz

# Warnings stay on but do not stop the build: the tree is kept warning-free with GCC.
cmake -S "$root" -B "$build" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DORB_FUZZ=ON -DORB_WERROR=OFF -DORB_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" -j2 --target "${names[@]/%/_fuzz}"

for name in "${names[@]}"; do
  mkdir -p "$build/corpus/$name" "$build/crashes/$name"
  dict=()
  if [ -f "$root/fuzz/$name.dict" ]; then
    dict=(-dict="$root/fuzz/$name.dict")
  fi
  echo "== $name: $seconds s"
  "$build/fuzz/${name}_fuzz" -max_total_time="$seconds" -timeout=30 -print_final_stats=1 \
    "${dict[@]}" -artifact_prefix="$build/crashes/$name/" "$build/corpus/$name" \
    "$root/fuzz/corpus/$name"
done
