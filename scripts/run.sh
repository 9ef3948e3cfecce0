#!/usr/bin/env bash
# The main job: builds the agent and runs it on the default configuration
# under a private host root (./run/root), logging to the console. Ctrl-C
# stops it cleanly. ZEF_RUN_SECONDS=N stops it after N seconds instead.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"

bash scripts/setup.sh
cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEF_BUILD_TESTS=OFF >/dev/null
cmake --build build-release --target zef-cfgagent

root="$top/run/root"
mkdir -p "$root/etc/halden/zef"
cp config/zef-cfgagent.xml "$root/etc/halden/zef/zef-cfgagent.xml"
export ZEF_HOST_ROOT="$root"

echo "== zef-cfgagent on $root/etc/halden/zef/zef-cfgagent.xml (Ctrl-C stops it)"
if [ -n "${ZEF_RUN_SECONDS:-}" ]; then
  build-release/src/zef-cfgagent &
  agent=$!
  trap 'kill -TERM $agent 2>/dev/null || true' INT TERM
  sleep "$ZEF_RUN_SECONDS"
  kill -TERM "$agent"
  wait "$agent"
else
  exec build-release/src/zef-cfgagent
fi
