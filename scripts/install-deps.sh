#!/usr/bin/env bash
# Installs what building, testing and running OrbFlowspec needs on Debian 12. Idempotent: a
# machine that already has every package is left alone without touching the network.
set -euo pipefail

# exabgp and gobgpd are the BGP speakers of the end-to-end feed test; nftables, iproute2 and
# libnftables the kernel dataplane and its network-namespace tests; python3-jsonschema checks
# the control socket's replies against agent/control-schema.json; rapidjson-dev parses scenario
# files (a hundred thousand rules in a fifth of the time nlohmann-json's document takes).
packages=(build-essential cmake clang clang-format libgtest-dev libbenchmark-dev nlohmann-json3-dev
          rapidjson-dev python3-jsonschema
          exabgp gobgpd libnftables-dev nftables iproute2 pkg-config)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
