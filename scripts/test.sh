#!/usr/bin/env bash
# Installs what is missing, builds everything with AddressSanitizer and
# UndefinedBehaviorSanitizer, warnings as errors, and runs every test; then
# builds everything again with ThreadSanitizer and runs every test there too.
# ZEF_SKIP_TSAN=1 leaves the second run out.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"

bash scripts/setup.sh
jobs=$(nproc)

cmake -S . -B build-test -G Ninja -DCMAKE_BUILD_TYPE=Debug -DZEF_SANITIZE=ON -DZEF_WERROR=ON
cmake --build build-test
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
ctest --test-dir build-test --output-on-failure -j "$jobs"

if [ "${ZEF_SKIP_TSAN:-0}" != 1 ]; then
  cmake -S . -B build-tsan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DZEF_SANITIZE_THREAD=ON -DZEF_WERROR=ON
  cmake --build build-tsan
  # Every process the tests start writes its reports here, so that a race in
  # an agent or simulator the tests only kill is not lost with its output.
  reports="$top/build-tsan/tsan-reports"
  rm -rf "$reports"
  mkdir -p "$reports"
  export TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1:log_path=$reports/report"
  ctest --test-dir build-tsan --output-on-failure -j "$jobs"
  if compgen -G "$reports/report.*" >/dev/null; then
    echo "ThreadSanitizer reports:" >&2
    cat "$reports"/report.* >&2
    exit 1
  fi
fi
