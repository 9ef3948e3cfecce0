#!/usr/bin/env bash
# Builds the benchmarks optimised and runs them: the in-process ones, then
# the full sync of the agent from a fresh store.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"
bash scripts/setup.sh
cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEF_BUILD_TESTS=OFF -DZEF_BUILD_BENCH=ON >/dev/null
cmake --build build-release --target frame_bench store_bench zef-cfgagent loftdb loftdb-ctl
build-release/bench/frame_bench "$@"
build-release/bench/store_bench "$@"
python3 bench/fullsync.py build-release 10000 100000
