#!/usr/bin/env bash
# Installs the build and test dependencies from Debian's packages and builds
# the Open vSwitch static library (no -dev package exists) into .cache/ovs.
# Idempotent: packages already present and a finished library build are kept.
set -euo pipefail

top=$(cd "$(dirname "$0")/.." && pwd)
ovs_dir="$top/.cache/ovs"

packages=(
  build-essential cmake ninja-build ccache pkg-config python3
  libboost-dev libboost-thread-dev libboost-system-dev libboost-filesystem-dev
  libboost-iostreams-dev libboost-regex-dev libboost-date-time-dev libboost-chrono-dev
  protobuf-compiler libprotobuf-dev libcjson-dev zlib1g-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  openvswitch-common openvswitch-source autoconf automake libtool
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""; [ "$(id -u)" -eq 0 ] || sudo="sudo"
  $sudo apt-get update
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}"
fi

if [ -f "$ovs_dir/.built" ]; then
  exit 0
fi

echo "setup: building the Open vSwitch static library into $ovs_dir (once)"
rm -rf "$ovs_dir"
mkdir -p "$ovs_dir"
tarball=""
for candidate in /usr/src/openvswitch/openvswitch*.tar.* /usr/src/openvswitch*.tar.*; do
  [ -f "$candidate" ] && { tarball=$candidate; break; }
done
[ -n "$tarball" ] || { echo "setup: openvswitch-source tarball not found under /usr/src" >&2; exit 1; }
tar -xf "$tarball" -C "$ovs_dir" --strip-components=1
cd "$ovs_dir"
[ -x configure ] || ./boot.sh
./configure --enable-static --disable-shared --disable-ssl >configure.log
make -j"$(nproc)" >make.log 2>&1 || { tail -n 40 make.log >&2; exit 1; }
touch .built
