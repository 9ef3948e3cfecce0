#!/usr/bin/env bash
# The main job: builds, then runs the store, the agent and a sample desired
# state under a temporary host root, and shows what the agent took in.
#   scripts/run.sh          runs until Ctrl-C
#   scripts/run.sh --once   stops by itself after the summary
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"
once=false
[ "${1:-}" = "--once" ] && once=true

bash scripts/setup.sh
echo "== building"
cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEF_BUILD_TESTS=OFF >/dev/null
cmake --build build-release --target zef-cfgagent loftdb loftdb-ctl zef-proxy-echo

work=$(mktemp -d /tmp/zef-run-XXXXXX)
root="$work/root"
mkdir -p "$root/etc/halden/zef"
cp config/zef-cfgagent.xml "$root/etc/halden/zef/zef-cfgagent.xml"
export ZEF_HOST_ROOT="$root"
export ZEF_LOFTDB_ENDPOINT=${ZEF_LOFTDB_ENDPOINT:-tcp://127.0.0.1:2480}
export ZEF_PROXY_ENDPOINT=${ZEF_PROXY_ENDPOINT:-tcp://127.0.0.1:4096}
bin="$top/build-release"
ctl=("$bin/tools/loftdb-ctl" --endpoint "$ZEF_LOFTDB_ENDPOINT")
socket="$root/var/run/halden/zef-cfgagent/cfgagent-cli"

pids=()
stop() {
  for pid in "${pids[@]}"; do kill -TERM "$pid" 2>/dev/null || true; done
  for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
  echo "== stopped; logs and data are in $work"
}
trap stop EXIT
trap 'exit 0' INT TERM

wait_for() {  # file text
  for _ in $(seq 1 200); do grep -q "$2" "$1" 2>/dev/null && return 0; sleep 0.1; done
  echo "timed out waiting for '$2' in $1" >&2; return 1
}

echo "== loftdb on $ZEF_LOFTDB_ENDPOINT, data in $work/data"
"$bin/tools/loftdb" --listen "$ZEF_LOFTDB_ENDPOINT" --data-dir "$work/data" >"$work/loftdb.log" 2>&1 &
pids+=($!)
wait_for "$work/loftdb.log" "loftdb listening on"

echo "== zef-proxy-echo on $ZEF_PROXY_ENDPOINT, answering the agent's health pings"
"$bin/tools/zef-proxy-echo" --endpoint "$ZEF_PROXY_ENDPOINT" >"$work/proxy-echo.log" 2>&1 &
pids+=($!)
wait_for "$work/proxy-echo.log" "zef-proxy-echo serving"

echo "== zef-cfgagent under $root (log: $work/agent.log)"
"$bin/src/zef-cfgagent" >"$work/agent.log" 2>&1 &
pids+=($!)
wait_for "$work/agent.log" "Start running cli server"
grep -E "Node type|Start cfgAgent|channel status|Transaction end" "$work/agent.log" | sed 's/^.*level="[a-z]*"\] /  /'

echo "== applying config/sample-desired-state.json"
"${ctl[@]}" apply config/sample-desired-state.json
wait_for "$work/agent.log" "Transaction end (delta update)"
sleep 0.5

echo "== the agent's config table (ovs-appctl -t $socket cfgagent/config/remote)"
ovs-appctl -t "$socket" cfgagent/config/remote | python3 scripts/summary.py
echo "== cache sizes"
ovs-appctl -t "$socket" cfgagent/cache/size
echo
cat <<TXT
== look further
  ovs-appctl -t $socket list-commands
  ovs-appctl -t $socket cfgagent/set/loglevel debug
  ${ctl[*]} get LOG_SWITCH_PORT_CONFIG
  ${ctl[*]} watch --entries LOG_SWITCH_CONFIG LOG_SWITCH_PORT_CONFIG
  tail -f $work/agent.log
TXT
if $once; then exit 0; fi
echo "== running; Ctrl-C stops the store and the agent"
wait "${pids[@]}"
