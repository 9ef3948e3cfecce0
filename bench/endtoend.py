#!/usr/bin/env python3
"""The agent's port road end to end, each figure beside its floor.

For each N: a fresh loftdb holding N logical ports on a few overlay switches
(VNI, admin up, MAC management), the dataplane simulator keeping one VIF per
port, then the agent started with config/zef-cfgagent.xml under a private
root and private endpoints.

- full sync: from the first KCP Update the agent sends to the moment the last
  port is realised in the simulator's port table (VNI, replication and MAC
  management present, key 101 "false"), both read from the time field of the
  simulator's record file; the agent's peak memory (VmHWM); the CPU seconds of
  the agent and of the simulator until then; and the store's full load, from
  the agent's channel-up to its dispatch into the config table (agent log).
- single update: once the system is at rest, one port's admin state flipped
  COUNT times through a store client kept connected; each timed from just
  before the write to the moment the record file shows the resulting Port
  Property Update.

The floors come from kcp_floor: the same ports parsed, encoded and written in
one loop of one process (full sync, best of 5), and the same single update
(p50 and p99).

    bench/endtoend.py [--build DIR] [--ports N,...] [--switches S] [--updates COUNT]
                      [--log-level LEVEL] [--json FILE] [--keep]
"""
import argparse
import calendar
import json
import math
import os
import re
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time

TOP = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
LINK = "kcp_taklink"
BLOCK_KEY = 101
UNBLOCKED = b"false\0"
REALISED_KEYS = (1, 2, 141)  # VNI, replication, MAC management
TICKS = os.sysconf("SC_CLK_TCK")


def free_endpoint():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return "tcp://127.0.0.1:%d" % s.getsockname()[1]


def utc_seconds(text):
    """Seconds since the epoch of a '2026-01-02T03:04:05.678Z' time."""
    whole, fraction = text.rstrip("Z").split(".")
    return calendar.timegm(time.strptime(whole, "%Y-%m-%dT%H:%M:%S")) + float("0." + fraction)


def wait_for(predicate, what, limit):
    deadline = time.time() + limit
    while time.time() < deadline:
        found = predicate()
        if found:
            return found
        time.sleep(0.05)
    raise SystemExit("timed out waiting for " + what)


def file_match(path, pattern):
    with open(path, errors="replace") as f:
        return re.search(pattern, f.read(), re.M)


def cpu_seconds(pid):
    with open("/proc/%d/stat" % pid) as f:
        fields = f.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def peak_mib(pid, field="VmHWM"):
    with open("/proc/%d/status" % pid) as f:
        return int(re.search(field + r":\s+(\d+)", f.read()).group(1)) / 1024.0


def percentile(values, fraction):
    """Nearest rank."""
    ordered = sorted(values)
    return ordered[max(math.ceil(fraction * len(ordered)), 1) - 1]


class SyslogReceiver(threading.Thread):
    """A syslog daemon's socket at /dev/log under the root, as on a real host:
    it takes every datagram and counts it."""

    def __init__(self, root):
        super().__init__()
        path = os.path.join(root, "dev", "log")
        os.makedirs(os.path.dirname(path), exist_ok=True)
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 8 << 20)
        self.socket.bind(path)
        self.socket.settimeout(0.2)
        self.lines = 0
        self.done = threading.Event()

    def run(self):
        while not self.done.is_set():
            try:
                self.socket.recv(65536)
                self.lines += 1
            except socket.timeout:
                pass

    def stop(self):
        self.done.set()
        self.join()
        self.socket.close()


class Stack:
    """loftdb, the proxy's echo and the simulator under a private root; the
    agent on demand. Every process is ended by its own handle."""

    def __init__(self, build, keep, log_level, syslog=False):
        self.build = build
        self.syslog = None
        self.keep = keep
        self.log_level = log_level
        self.work = tempfile.mkdtemp(prefix="zef-endtoend-")
        self.root = os.path.join(self.work, "root")
        self.record = os.path.join(self.work, "dp.jsonl")
        self.env = dict(os.environ, ZEF_HOST_ROOT=self.root, ZEF_LOFTDB_ENDPOINT=free_endpoint(),
                        ZEF_HEALTH_ENDPOINT=free_endpoint(), ZEF_PROXY_ENDPOINT=free_endpoint())
        self.processes = []
        self.agent = None
        self.dpsim = None
        if syslog:
            self.syslog = SyslogReceiver(self.root)
            self.syslog.start()

    def __enter__(self):
        self.spawn("loftdb", ["tools/loftdb", "--listen", self.env["ZEF_LOFTDB_ENDPOINT"]],
                   "loftdb listening on")
        self.spawn("proxy-echo", ["tools/zef-proxy-echo"], "zef-proxy-echo serving")
        self.dpsim = self.spawn("dpsim", ["tools/dpsim", "--link", LINK + ":kcp", "--link", ":swsec",
                                          "--record", self.record], "dpsim serving swsec_taklink")
        return self

    def __exit__(self, *exc):
        for process in reversed(self.processes):
            process.terminate()
        for process in reversed(self.processes):
            process.wait()
        if self.syslog is not None:
            self.syslog.stop()
        if not self.keep:
            shutil.rmtree(self.work, ignore_errors=True)
        else:
            print("kept " + self.work, file=sys.stderr)

    def log(self, name):
        return os.path.join(self.work, name + ".log")

    def spawn(self, name, command, ready):
        """Started once `ready()` holds, or its log shows the text `ready`."""
        out = open(self.log(name), "w")
        process = subprocess.Popen([os.path.join(self.build, command[0])] + command[1:],
                                   env=self.env, stdout=out, stderr=subprocess.STDOUT)
        self.processes.append(process)
        if isinstance(ready, str):
            text = ready
            ready = lambda: file_match(self.log(name), re.escape(text))
        wait_for(lambda: process.poll() is None and ready(), name + " to start", 30)
        return process

    def run(self, command, **options):
        return subprocess.run([os.path.join(self.build, command[0])] + command[1:], env=self.env,
                              check=True, **options)

    def start_agent(self):
        """With a copy of the default configuration that runs the stage clock
        (the config_cache instrument), at another agent log level if asked."""
        with open(os.path.join(TOP, "config", "zef-cfgagent.xml")) as f:
            text = f.read().replace("<config_cache>false</config_cache>",
                                    "<config_cache>true</config_cache>")
        if self.log_level is not None:
            text = re.sub(r"<level>\d+</level>", "<level>%d</level>" % self.log_level, text, count=1)
        config = os.path.join(self.work, "agent.xml")
        with open(config, "w") as f:
            f.write(text)
        command_socket = os.path.join(self.root, "var/run/halden/zef-cfgagent/cfgagent-cli")
        self.agent = self.spawn("agent", ["src/zef-cfgagent", "-c", config],
                                lambda: os.path.exists(command_socket))
        return self.agent

    def dpsim_ctl(self, *words):
        out = self.run(["tools/dpsim", "ctl"] + list(words), capture_output=True, text=True)
        return json.loads(out.stdout)


class CpuSampler(threading.Thread):
    """The CPU seconds of some processes, sampled four times a second, so
    that they can be read at a moment the record reveals only later."""

    def __init__(self, pids):
        super().__init__(daemon=True)
        self.pids = pids
        self.samples = []
        self.done = threading.Event()

    def run(self):
        while not self.done.wait(0.25):
            self.samples.append((time.time(), [cpu_seconds(pid) for pid in self.pids]))

    def at(self, when):
        """The first sample taken at or after `when`."""
        return next((cpus for at, cpus in self.samples if at >= when), self.samples[-1][1])


class RecordTail:
    """The simulator's record file, read as it grows, one whole line at a time."""

    def __init__(self, path):
        self.file = open(path, "rb")
        self.partial = b""

    def lines(self):
        chunk = self.file.read()
        if not chunk:
            return []
        lines = (self.partial + chunk).split(b"\n")
        self.partial = lines.pop()
        return lines

    def size(self):
        return os.fstat(self.file.fileno()).st_size


def property_records(message):
    """(more, [(operation, vif, {key: value})]) of the Port Property Updates of
    an Update message; None for any other message."""
    if len(message) < 9 or struct.unpack_from(">H", message)[0] != 2:
        return None
    more = message[4] & 0x80 != 0
    records = []
    at = 5
    while at + 4 <= len(message):
        data_type, length = struct.unpack_from(">HH", message, at)
        if length < 4 or at + length > len(message):
            break
        if data_type == 2:
            records += port_records(message[at + 4:at + length])
        at += length
    return more, records


def port_records(value):
    records = []
    at = 1
    while at + 50 <= len(value):
        vif = value[at:at + 48].split(b"\0")[0].decode(errors="replace")
        end = at + struct.unpack_from(">H", value, at + 48)[0]
        if end < at + 50 or end > len(value):
            break
        properties = {}
        key_at = at + 50
        while key_at + 4 <= end:
            key, length = struct.unpack_from(">HH", value, key_at)
            if length < 4 or key_at + length > end:
                break
            properties[key] = value[key_at + 4:key_at + length]
            key_at += length
        records.append((value[0], vif, properties))
        at = end
    return records


class PortTable:
    """The simulator's port table as the agent's Updates build it, enough to
    tell when each port is realised; split sequences apply at their end."""

    def __init__(self, vifs):
        self.ports = {}
        self.waiting = set(vifs)
        self.pending = []
        self.first_update = None
        self.realised_at = None

    def take(self, line):
        if b'"dir":"in"' not in line or b'"type":"Update"' not in line:
            return
        record = json.loads(line)
        parsed = property_records(bytes.fromhex(record["hex"]))
        when = utc_seconds(record["time"])
        if self.first_update is None:
            self.first_update = when
        if parsed is None:
            return
        more, records = parsed
        self.pending += records
        if not more:
            self.apply(self.pending, when)
            self.pending = []

    def apply(self, records, when):
        for operation, vif, properties in records:
            current = self.ports.setdefault(vif, {})
            if operation == 3:
                current.clear()
            if operation == 2 and not properties:
                current.clear()
            for key, value in properties.items():
                if operation == 2 or not value:
                    current.pop(key, None)
                else:
                    current[key] = value
            if vif in self.waiting and realised(current):
                self.waiting.discard(vif)
                if not self.waiting:
                    self.realised_at = when


def realised(properties):
    return properties.get(BLOCK_KEY) == UNBLOCKED and all(k in properties for k in REALISED_KEYS)


def check_table(stack, vifs):
    """The simulator's own table must agree that every port is realised."""
    ports = stack.dpsim_ctl("ports", LINK)["links"][0]["ports"]
    wrong = [v for v in vifs if v not in ports or ports[v]["blocked"] is not False or
             any(str(k) not in ports[v]["properties"] for k in REALISED_KEYS)]
    if wrong:
        raise SystemExit("%d ports not realised in the simulator, e.g. %s" % (len(wrong), wrong[:3]))


def wait_realised(tail, table, limit):
    """Reads the record only while it stands still, so that the reading does
    not compete with the agent for the machine."""
    deadline = time.time() + limit
    size = -1
    still_since = time.time()
    while time.time() < deadline:
        time.sleep(0.25)
        now_size = tail.size()
        if now_size != size:
            size, still_since = now_size, time.time()
            continue
        if time.time() - still_since < 1.5:
            continue
        for line in tail.lines():
            table.take(line)
        if table.realised_at is not None:
            return
    raise SystemExit("%d ports never realised" % len(table.waiting))


def scan_agent_log(path):
    """The store's full load (channel-up to the config table's dispatch, when
    the log level shows them) and the link's failed connects, in one pass."""
    up = dispatched = None
    reopens = 0
    with open(path, errors="replace") as f:
        for line in f:
            if up is None and "loftdb channel status turns to UP" in line:
                up = utc_seconds(line.split(" ", 1)[0])
            elif dispatched is None and "to component CONFIGCACHE (FullSync)" in line:
                dispatched = utc_seconds(line.split(" ", 1)[0])
            reopens += "Could not connect to AF_TAKLINK" in line
    return (dispatched - up if up is not None and dispatched is not None else None), reopens


STAGE_LINE = re.compile(r"MsgDispatcher: stages (.*)")
STAGE_ITEM = re.compile(r"([a-z-]+) ([0-9.]+)s/(\d+)")


def stage_lines(path):
    """(time, {stage: (seconds, passes)}) of each stage line of the agent's
    log; the figures are sums since the start."""
    lines = []
    with open(path, errors="replace") as f:
        for line in f:
            found = STAGE_LINE.search(line)
            if found:
                lines.append((utc_seconds(line.split(" ", 1)[0]),
                              {name: (float(s), int(n)) for name, s, n in STAGE_ITEM.findall(found.group(1))}))
    return lines


def stage_breakdown(lines, updates_began, count):
    """The full sync's stages, from the first line logged once the single
    updates began (the lines come at the end of each transaction, so only
    then has the full sync's last link send been counted; the one update in
    it is negligible), and the mean single update's, from the last line
    less that one."""
    if not lines:
        return None
    if updates_began is None:
        return {"full": lines[-1][1]}
    after = [stages for when, stages in lines if when >= updates_began]
    if not after:
        return {"full": lines[-1][1]}
    first, last = after[0], after[-1]
    single = {name: ((last[name][0] - first[name][0]) / max(count - 1, 1),
                     (last[name][1] - first[name][1]) / max(count - 1, 1)) for name in last}
    return {"full": first, "single": single}


def full_sync(stack, ports, switches):
    counts = [str(ports), str(switches)]
    stack.run(["bench/port_store"] + counts + ["load"])
    vif_file = os.path.join(stack.work, "vifs.txt")
    stack.run(["bench/port_store"] + counts + ["vifs", vif_file])
    stack.dpsim_ctl("vif", LINK, "connect-file", vif_file)
    vifs = ["vif-%d" % i for i in range(ports)]
    tail = RecordTail(stack.record)
    table = PortTable(vifs)
    dpsim_cpu = cpu_seconds(stack.dpsim.pid)
    agent = stack.start_agent()
    sampler = CpuSampler([agent.pid, stack.dpsim.pid])
    sampler.start()
    wait_realised(tail, table, 1800)
    sampler.done.set()
    sampler.join()
    agent_cpu, dpsim_cpu_after = sampler.at(table.realised_at)
    store_load, reopens = scan_agent_log(stack.log("agent"))
    result = {
        "ports": ports,
        "log_level": stack.log_level,
        "seconds": table.realised_at - table.first_update,
        "peak_mib": peak_mib(agent.pid),
        "agent_cpu": agent_cpu,
        "dpsim_cpu": dpsim_cpu_after - dpsim_cpu,
        "store_load": store_load,
        "reopens": reopens,
    }
    check_table(stack, vifs)
    return result, tail, table


def wait_at_rest(tail, table, since):
    """At rest: the record still for 3 s, and the agent's ten-second repair of
    newly connected ports behind us."""
    size = -1
    still_since = time.time()
    while time.time() - still_since < 3 or time.time() - since < 11:
        time.sleep(0.25)
        if tail.size() != size:
            size, still_since = tail.size(), time.time()
    for line in tail.lines():
        table.take(line)


def wait_block_update(tail, vif, deadline):
    while time.perf_counter() < deadline:
        for line in tail.lines():
            if b'"dir":"in"' not in line:
                continue
            parsed = property_records(bytes.fromhex(json.loads(line)["hex"]))
            for _, record_vif, properties in (parsed[1] if parsed else []):
                if record_vif == vif and BLOCK_KEY in properties:
                    return time.perf_counter(), properties[BLOCK_KEY]
        time.sleep(0.0002)
    raise SystemExit("no Port Property Update for %s" % vif)


def single_updates(stack, tail, ports, switches, count):
    """Admin state of port 0 flipped `count` times; seconds per update."""
    toggler = subprocess.Popen([os.path.join(stack.build, "bench/port_store"), str(ports),
                                str(switches), "toggle", "0"], env=stack.env, text=True,
                               stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    if toggler.stdout.readline().strip() != "ready":
        raise SystemExit("port_store toggle did not start")
    seconds = []
    started = []
    wrong = 0
    stack.updates_began = time.time()
    try:
        for k in range(count):
            tail.lines()
            started.append(time.time())
            start = time.perf_counter()
            toggler.stdin.write("\n")
            toggler.stdin.flush()
            seen, block = wait_block_update(tail, "vif-0", start + 10)
            if toggler.stdout.readline().strip() != "ok":
                raise SystemExit("the store refused a toggle")
            seconds.append(seen - start)
            wrong += block != (b"true\0" if k % 2 == 0 else UNBLOCKED)
            # An admin down gives a second message; let it pass.
            time.sleep(0.03)
    finally:
        toggler.stdin.close()
        toggler.wait()
    slowest = sorted(zip(seconds, started), reverse=True)[:5]
    return seconds, wrong, slowest


def floor(build, *args):
    out = subprocess.run([os.path.join(build, "bench/kcp_floor")] + [str(a) for a in args],
                         check=True, capture_output=True, text=True)
    return json.loads(out.stdout)


def measure(build, ports, switches, updates, keep, log_level, syslog):
    with Stack(build, keep, log_level, syslog) as stack:
        result, tail, table = full_sync(stack, ports, switches)
        if updates:
            wait_at_rest(tail, table, time.time())
            result["rest_mib"] = peak_mib(stack.agent.pid, "VmRSS")
            seconds, wrong, slowest = single_updates(stack, tail, ports, switches, updates)
            result["updates_began"] = stack.updates_began
            result.update(p50=percentile(seconds, 0.5), p99=percentile(seconds, 0.99),
                          updates=updates, wrong_block=wrong, slowest=slowest)
            # The last update's stage line is written once it is dispatched.
            time.sleep(1.0)
        result["stages"] = stage_breakdown(stage_lines(stack.log("agent")),
                                           result.get("updates_began"), updates)
        result["syslog_lines"] = stack.syslog.lines if stack.syslog is not None else None
    result["floor"] = floor(build, "full", ports, switches)["seconds"]
    return result


def ratio(figure, base):
    return "%.0fx" % (figure / base) if base else "-"


def rows(result, single):
    n = result["ports"]
    level = "" if result["log_level"] is None else ", agent log level %d" % result["log_level"]
    if result.get("syslog_lines") is not None:
        level += ", syslog daemon listening (%d lines)" % result["syslog_lines"]
    out = [("full sync, %d ports%s: first Update to last port realised" % (n, level),
            "%.2f s" % result["seconds"], "%.4f s" % result["floor"],
            ratio(result["seconds"], result["floor"])),
           ("  agent memory: peak (VmHWM) / at rest (VmRSS)",
            "%.0f / %s MiB" % (result["peak_mib"],
                               "%.0f" % result["rest_mib"] if "rest_mib" in result else "-"), "", ""),
           ("  CPU until realised: agent / simulator",
            "%.1f s / %.1f s" % (result["agent_cpu"], result["dpsim_cpu"]), "", "")]
    if result["store_load"] is not None:
        out.append(("  store full load: channel up to config table",
                    "%.2f s" % result["store_load"], "", ""))
    stages = result.get("stages")
    if stages and result["store_load"] is not None and "table" in stages["full"]:
        seconds, records = tuple(stages["full"]["table"])
        out.append(("  store road: channel up to config table applied",
                    "%.2f s, %.0f k records/s" % (result["store_load"] + seconds,
                                                   records / (result["store_load"] + seconds) / 1e3),
                    "", ""))
    out += stage_rows(stages)
    if "p50" in result:
        for name in ("p50", "p99"):
            floor_us = single[name + "_us"]
            out.append(("single update %s, %d ports at rest%s" % (name, n, level),
                        "%.2f ms" % (result[name] * 1e3), "%.1f us" % floor_us,
                        ratio(result[name] * 1e6, floor_us)))
    return out


STAGES = ("store-wait", "decode", "transaction", "queue", "table", "observers", "application",
          "link-send")


def stage_rows(stages):
    """One row per stage: the full sync's seconds (and records or calls),
    then the mean single update's microseconds."""
    if not stages:
        return []
    out = []
    for name in STAGES:
        full = stages["full"].get(name)
        if full is None:
            continue
        figure = "%.3f s / %d" % tuple(full)
        if "single" in stages:
            figure += ", %.0f us" % (stages["single"][name][0] * 1e6)
        out.append(("  stage %s: full sync s / passes, single update" % name, figure, "", ""))
    return out


def print_table(table):
    widths = [max(len(row[i]) for row in table) for i in range(4)]
    for row in table:
        print("  ".join(cell.ljust(w) if i == 0 else cell.rjust(w)
                        for i, (cell, w) in enumerate(zip(row, widths))))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--build", default=os.path.join(TOP, "build-release"))
    parser.add_argument("--ports", default="1000,10000,100000")
    parser.add_argument("--switches", type=int, default=4)
    parser.add_argument("--updates", type=int, default=1000)
    parser.add_argument("--json", help="also write the results to this file")
    parser.add_argument("--log-level", type=int,
                        help="the agent's log level instead of the default configuration's")
    parser.add_argument("--keep", action="store_true", help="keep the work folders and logs")
    parser.add_argument("--syslog", action="store_true",
                        help="a syslog daemon's socket listens under the root, as on a real host")
    options = parser.parse_args()
    single = floor(options.build, "single", options.updates) if options.updates else None
    results = []
    table = [("what", "figure", "floor", "ratio")]
    for ports in [int(n) for n in options.ports.split(",")]:
        print("measuring %d ports..." % ports, file=sys.stderr)
        result = measure(options.build, ports, options.switches, options.updates, options.keep,
                         options.log_level, options.syslog)
        results.append(result)
        table += rows(result, single)
        if result["reopens"] or result.get("wrong_block"):
            print("warning: %d link reopens, %d updates with an unexpected block value"
                  % (result["reopens"], result.get("wrong_block", 0)), file=sys.stderr)
    if options.json:
        with open(options.json, "w") as f:
            json.dump({"results": results, "single_floor": single}, f, indent=1)
    print_table(table)


if __name__ == "__main__":
    main()
