#!/usr/bin/env bash
# Builds the benchmarks optimised and runs them: the in-process ones, then the
# agent's port road end to end beside its floor; ends with one table of all.
#   scripts/bench.sh [BENCHMARK_OPTION...]   options go to the in-process benchmarks
# BENCH_PORTS (default 1000,10000,100000), BENCH_QUIET_PORTS (default 10000,
# the run at agent log level 3), BENCH_SYSLOG_PORTS (default 10000,100000, the
# runs with a syslog daemon listening) and BENCH_UPDATES (default 1000) size the
# end-to-end runs; BENCH_OVERLAY_VNIS (default 1000, each with 64 VTEPs and 100
# MACs behind each) the overlay's; the raw results stay in the folder printed last.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"
bash scripts/setup.sh
cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEF_BUILD_TESTS=OFF -DZEF_BUILD_BENCH=ON >/dev/null
cmake --build build-release --target frame_bench store_bench codec_bench l2_table_bench l3_table_bench kcp_floor \
    port_store overlay_floor overlay_store zef-cfgagent loftdb dpsim zef-proxy-echo
results=$(mktemp -d /tmp/zef-bench-XXXXXX)
for bench in frame_bench store_bench codec_bench l2_table_bench l3_table_bench; do
  "build-release/bench/$bench" --benchmark_out="$results/$bench.json" --benchmark_out_format=json "$@"
done
python3 bench/endtoend.py --build build-release --ports "${BENCH_PORTS:-1000,10000,100000}" \
    --updates "${BENCH_UPDATES:-1000}" --json "$results/endtoend.json"
# The same road without the agent's info lines, to show what they cost.
python3 bench/endtoend.py --build build-release --ports "${BENCH_QUIET_PORTS:-10000}" \
    --updates "${BENCH_UPDATES:-1000}" --log-level 3 --json "$results/endtoend-quiet.json"
# Once more as on a real host, where a syslog daemon takes every line.
python3 bench/endtoend.py --build build-release --ports "${BENCH_SYSLOG_PORTS:-10000,100000}" \
    --updates "${BENCH_UPDATES:-1000}" --syslog --json "$results/endtoend-syslog.json"
# The overlay road: at scale without the decoder's whole-FIB info lines, and
# smaller at the default level, with them.
python3 bench/overlay.py --build build-release --vnis "${BENCH_OVERLAY_VNIS:-1000}" --log-level 3 \
    --updates "${BENCH_UPDATES:-1000}" >"$results/overlay.txt"
python3 bench/overlay.py --build build-release --vnis 100 --updates "${BENCH_UPDATES:-1000}" \
    >"$results/overlay-info.txt"
echo
python3 bench/table.py "$results"
cat "$results/overlay.txt" "$results/overlay-info.txt"
echo "raw results: $results"
