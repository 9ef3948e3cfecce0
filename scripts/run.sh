#!/usr/bin/env bash
# The main job: builds, then runs the store, the dataplane simulator and the
# agent under a temporary host root, applies a sample desired state, connects
# its VIFs in the simulator, and shows what reached the dataplane and what
# came back to the store.
#   scripts/run.sh          runs until Ctrl-C
#   scripts/run.sh --once   stops by itself after the summary
# ZEF_BUILD_DIR picks the build folder (default build-release).
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"
once=false
[ "${1:-}" = "--once" ] && once=true

bash scripts/setup.sh
echo "== building"
build=${ZEF_BUILD_DIR:-build-release}
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEF_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" --target zef-cfgagent loftdb loftdb-ctl zef-proxy-echo dpsim

work=$(mktemp -d /tmp/zef-run-XXXXXX)
root="$work/root"
mkdir -p "$root/etc/halden/zef"
cp config/zef-cfgagent.xml "$root/etc/halden/zef/zef-cfgagent.xml"
export ZEF_HOST_ROOT="$root"
export ZEF_LOFTDB_ENDPOINT=${ZEF_LOFTDB_ENDPOINT:-tcp://127.0.0.1:2480}
export ZEF_PROXY_ENDPOINT=${ZEF_PROXY_ENDPOINT:-tcp://127.0.0.1:4096}
bin="$top/$build"
ctl=("$bin/tools/loftdb-ctl" --endpoint "$ZEF_LOFTDB_ENDPOINT")
dpsim="$bin/tools/dpsim"
socket="$root/var/run/halden/zef-cfgagent/cfgagent-cli"
sample=config/sample-desired-state.json
record="$work/dataplane.jsonl"

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

echo "== dpsim serving kcp_taklink, swsec_taklink and zef_ovl2_taklink, recording to $record"
"$dpsim" --link kcp_taklink:kcp --link swsec_taklink:swsec --link zef_ovl2_taklink:vxlan \
  --record "$record" >"$work/dpsim.log" 2>&1 &
pids+=($!)
wait_for "$work/dpsim.log" "dpsim serving zef_ovl2_taklink"
python3 scripts/mainjob.py vifs "$sample" | while read -r vif port mac binding; do
  "$dpsim" ctl vif kcp_taklink connect "$vif" "port=$port" switch=hs-overlay "mac=$mac" \
    "binding=$binding" >/dev/null
  echo "  VIF $vif connected (logical port $port, $mac)"
done

echo "== zef-cfgagent under $root (log: $work/agent.log)"
"$bin/src/zef-cfgagent" >"$work/agent.log" 2>&1 &
pids+=($!)
wait_for "$work/agent.log" "Start running cli server"
wait_for "$work/agent.log" "_ipDisFullSyncDone set to true"
grep -E "Node type|Start cfgAgent|channel status|DP link status|FullSync with DP|Transaction end" \
  "$work/agent.log" | sed 's/^.*level="[a-z]*"\] /  /'

echo "== applying $sample (loftdb-ctl apply)"
"${ctl[@]}" apply "$sample"
for _ in $(seq 1 300); do
  "$dpsim" ctl ports kcp_taklink | python3 scripts/mainjob.py realised "$sample" && break
  sleep 0.1
done

echo "== the overlay module joins the VNIs of the connected ports, reports this host's VTEP"
echo "   (192.168.10.100) and learns the first VM's MAC of each"
"$dpsim" ctl instance zef_ovl2_taklink join 1 >/dev/null
python3 scripts/mainjob.py joins "$sample" | while read -r vni mac; do
  "$dpsim" ctl vni zef_ovl2_taklink join "$vni" 1 >/dev/null
  "$dpsim" ctl vtep zef_ovl2_taklink add "$vni" 192.168.10.100 5000 >/dev/null
  "$dpsim" ctl mac zef_ovl2_taklink learn "$vni" "$mac" vtep=192.168.10.100 label=5000 >/dev/null
  echo "  VNI $vni joined"
done
for _ in $(seq 1 300); do
  "$dpsim" ctl ports zef_ovl2_taklink | python3 scripts/mainjob.py overlay-realised "$sample" && break
  sleep 0.1
done

echo "== summary"
"${ctl[@]}" get VIF_STATE >"$work/vif-state.jsonl"
"$dpsim" ctl ports kcp_taklink | VIF_STATE="$work/vif-state.jsonl" python3 scripts/mainjob.py summary "$sample"
echo
echo "  the agent's view (ovs-appctl -t \$socket cfgagent/lport/status):"
ovs-appctl -t "$socket" cfgagent/lport/status | sed 's/^/  /'
echo
"${ctl[@]}" get LOG_SWITCH_STATE >"$work/l2-state.jsonl"
"$dpsim" ctl ports zef_ovl2_taklink | L2_STATE="$work/l2-state.jsonl" python3 scripts/mainjob.py overlay "$sample"
echo
echo "  the BFD sessions the agent keeps (cfgagent/bfd):"
ovs-appctl -t "$socket" cfgagent/bfd | python3 -c 'import json,sys
for r in json.load(sys.stdin): print("  %-15s %-15s %-38s %s" % (r["localIP"], r["remoteIP"], r["remoteID"], ",".join(r["sessionTypeList"])))'
echo
echo "  the overlay entries the store gives this host (cfgagent/l2/remote), first rows:"
ovs-appctl -t "$socket" cfgagent/l2/remote | python3 scripts/mainjob.py l2 "$sample" 12
cat <<TXT
== look further
  ovs-appctl -t $socket list-commands
  ovs-appctl -t $socket cfgagent/config/lsportlist
  ovs-appctl -t $socket cfgagent/config/local
  ovs-appctl -t $socket cfgagent/l2/remote
  ZEF_HOST_ROOT=$root $dpsim ctl ports kcp_taklink
  ZEF_HOST_ROOT=$root $dpsim ctl ports zef_ovl2_taklink
  ZEF_HOST_ROOT=$root $dpsim ctl mac zef_ovl2_taklink learn 5001 02:00:00:00:00:99 vtep=192.168.10.100 label=5000
  ovs-appctl -t $socket cfgagent/bfd
  ovs-appctl -t $socket cfgagent/l2/local
  ZEF_HOST_ROOT=$root $dpsim ctl vif kcp_taklink disconnect vif-web-1 hotmove
  ZEF_HOST_ROOT=$root $dpsim ctl notify kcp_taklink portprop vif-web-2
  ${ctl[*]} watch VIF_STATE HOTMOVE_STATUS
  ${ctl[*]} put LOG_SWITCH_PORT_CONFIG '{"id":{"left":"2","right":"5"},"switch_id":{"left":"1","right":"2"},"attachment":{"id":"vif-app-2"},"admin_state_up":true}'
  tail -f $record
  tail -f $work/agent.log
TXT
if $once; then exit 0; fi
echo "== running; Ctrl-C stops the store, the simulator and the agent"
wait "${pids[@]}"
