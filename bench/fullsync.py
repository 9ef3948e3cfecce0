#!/usr/bin/env python3
"""Full sync of N logical switch ports from a fresh loftdb into the agent's
config table: the time from the agent's channel-up to the table holding all
of them, and the agent's peak memory.

    bench/fullsync.py BUILD_DIR [N ...]      (default N: 10000 100000)
"""
import json
import os
import re
import socket
import subprocess
import sys
import tempfile
import time
from datetime import datetime


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def wait_for(path, pattern, limit=120):
    deadline = time.time() + limit
    while time.time() < deadline:
        with open(path) as f:
            match = re.search(pattern, f.read())
        if match:
            return match
        time.sleep(0.02)
    raise SystemExit("timed out waiting for %r in %s" % (pattern, path))


def ports(n):
    modify = []
    for i in range(n):
        modify.append({"put": {"type": "LOG_SWITCH_PORT_CONFIG", "object": {
            "id": {"left": "2", "right": str(i + 1)},
            "switch_id": {"left": "1", "right": str(i % 64 + 1)},
            "attachment": {"id": "vif-%d" % i},
            "admin_state_up": True}}})
    return {"vdb": [1], "modify": modify}


def desired_rows(appctl, sock):
    out = subprocess.run([appctl, "-t", sock, "cfgagent/cache/size"], capture_output=True, text=True)
    if out.returncode != 0:
        return -1
    for row in json.loads(out.stdout):
        if row["TableName"] == "DesiredConfigCache":
            return row["Size"]
    return -1


def peak_kib(pid):
    with open("/proc/%d/status" % pid) as f:
        return int(re.search(r"VmHWM:\s+(\d+)", f.read()).group(1))


def run(build, n):
    work = tempfile.mkdtemp(prefix="zef-fullsync-")
    endpoint = "tcp://127.0.0.1:%d" % free_port()
    env = dict(os.environ, ZEF_HOST_ROOT=work + "/root", ZEF_LOFTDB_ENDPOINT=endpoint,
               ZEF_HEALTH_ENDPOINT="tcp://127.0.0.1:%d" % free_port())
    store_log = open(work + "/loftdb.log", "w")
    store = subprocess.Popen([build + "/tools/loftdb", "--listen", endpoint], stdout=store_log,
                             stderr=subprocess.STDOUT)
    wait_for(work + "/loftdb.log", "loftdb listening on")
    with open(work + "/ports.json", "w") as f:
        json.dump(ports(n), f)
    subprocess.run([build + "/tools/loftdb-ctl", "--endpoint", endpoint, "--timeout", "600",
                    "apply", work + "/ports.json"], check=True)
    config = work + "/agent.xml"
    with open(config, "w") as f:
        f.write("<config><log><level>3</level><outputToConsole>true</outputToConsole></log>"
                "<cfgAgent><apps/></cfgAgent></config>")
    agent_log = open(work + "/agent.log", "w")
    agent = subprocess.Popen([build + "/src/zef-cfgagent", "-c", config], env=env, stdout=agent_log,
                             stderr=subprocess.STDOUT)
    up = wait_for(work + "/agent.log", r"(\S+) \[[^\]]*\] LoftdbClient: loftdb channel status turns to UP")
    started = datetime.strptime(up.group(1), "%Y-%m-%dT%H:%M:%S.%fZ").timestamp()
    sock = work + "/root/var/run/halden/zef-cfgagent/cfgagent-cli"
    # The table's byte account when it holds every port: four rows of an
    # 18-byte id and 12 more each, plus the values: switch id 20 bytes,
    # attachment 4 plus the VIF name, admin state 2.
    target = sum(4 * (18 + 12) + 20 + 4 + len("vif-%d" % i) + 2 for i in range(n))
    while True:
        size = desired_rows("ovs-appctl", sock)
        if size >= target:
            done = time.time()
            break
        if agent.poll() is not None:
            raise SystemExit("agent ended early")
        time.sleep(0.01)
    memory = peak_kib(agent.pid)
    agent.terminate()
    agent.wait()
    store.terminate()
    store.wait()
    return done - started, memory


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else "build-release"
    counts = [int(a) for a in sys.argv[2:]] or [10000, 100000]
    print("%-10s %14s %16s" % ("ports", "full sync (s)", "agent peak (MiB)"))
    for n in counts:
        seconds, kib = run(build, n)
        print("%-10d %14.2f %16.1f" % (n, seconds, kib / 1024.0))


if __name__ == "__main__":
    main()
