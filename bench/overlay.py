#!/usr/bin/env python3
"""The overlay road end to end, each figure beside its floor.

A fresh loftdb holding VNIS overlay switches, each with a FIB of VTEPS remote
VTEPs and MACS VMs behind each; the simulator's overlay module having joined
every VNI; then the agent started with config/zef-cfgagent.xml.

- full sync: from the first Update the overlay module receives to the last
  one, once the module holds every VTEP and MAC (its status counts them),
  times read from the simulator's record file; the agent's peak memory.
- single update: at rest, one MAC of the first switch moved between two
  VTEPs COUNT times by a store client kept connected, each timed from just
  before the write to the record file showing the Update that carries it.

The floors come from overlay_floor: the same FIBs parsed, turned into the
kernel's updates and written in one loop of one process (full, best of 3),
and the same move built and written (p50 and p99).

At the default log level the store decoder's lines print every FIB it
receives whole, three times; --log-level 3 measures the road without them.

    bench/overlay.py [--build DIR] [--vnis N] [--vteps N] [--macs N] [--updates COUNT]
                     [--log-level LEVEL] [--keep]
"""
import argparse
import json
import os
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import endtoend  # noqa: E402

LINK = "zef_ovl2_taklink"


class OverlayStack(endtoend.Stack):
    def __enter__(self):
        self.spawn("loftdb", ["tools/loftdb", "--listen", self.env["ZEF_LOFTDB_ENDPOINT"]],
                   "loftdb listening on")
        self.spawn("proxy-echo", ["tools/zef-proxy-echo"], "zef-proxy-echo serving")
        self.dpsim = self.spawn("dpsim", ["tools/dpsim", "--link", "kcp_taklink:kcp", "--link", ":swsec",
                                          "--link", LINK + ":vxlan", "--record", self.record],
                                "dpsim serving " + LINK)
        return self


def programmed(stack):
    status = stack.dpsim_ctl("status")
    return next(link for link in status["links"] if link["link"] == LINK)["programmed"]


def update_times(record, since):
    """The times of the Updates the overlay module received after `since`."""
    times = []
    with open(record, "rb") as f:
        for line in f:
            if b'"dir":"in"' in line and LINK.encode() in line and b'"type":"Update"' in line:
                when = endtoend.utc_seconds(json.loads(line)["time"])
                if when >= since:
                    times.append(when)
    return times


def full_sync(stack, vnis, vteps, macs):
    counts = [str(vnis), str(vteps), str(macs)]
    loaded = time.time()
    stack.run(["bench/overlay_store"] + counts + ["load"])
    print("store loaded in %.1f s" % (time.time() - loaded), file=sys.stderr)
    stack.dpsim_ctl("vni", LINK, "join", "%d-%d" % (20001, 20000 + vnis), "1")
    started = time.time() - 1
    agent = stack.start_agent()
    want = {"vteps": vnis * vteps, "macs": vnis * vteps * macs}
    endtoend.wait_for(lambda: all(programmed(stack)[k] >= v for k, v in want.items()),
                      "the overlay module to hold the corpus", 3600)
    times = update_times(stack.record, started)
    return {"vnis": vnis, "vteps": vteps, "macs": macs, "seconds": times[-1] - times[0],
            "updates": len(times), "peak_mib": endtoend.peak_mib(agent.pid)}


def single_updates(stack, vnis, vteps, macs, count):
    mover = subprocess.Popen([os.path.join(stack.build, "bench/overlay_store"), str(vnis), str(vteps), str(macs),
                              "move"], env=stack.env, text=True, stdin=subprocess.PIPE, stdout=subprocess.PIPE)
    if mover.stdout.readline().strip() != "ready":
        raise SystemExit("overlay_store move did not start")
    tail = endtoend.RecordTail(stack.record)
    tail.lines()
    seconds = []
    try:
        for _ in range(count):
            start = time.perf_counter()
            mover.stdin.write("\n")
            mover.stdin.flush()
            while True:
                lines = [l for l in tail.lines() if b'"dir":"in"' in l and LINK.encode() in l and
                         b'"type":"Update"' in l]
                if lines:
                    break
                if time.perf_counter() - start > 10:
                    raise SystemExit("no Update for a moved MAC")
                time.sleep(0.0002)
            seconds.append(time.perf_counter() - start)
            if mover.stdout.readline().strip() != "ok":
                raise SystemExit("the store refused a move")
    finally:
        mover.stdin.close()
        mover.wait()
    return seconds


def floor(build, *args):
    out = subprocess.run([os.path.join(build, "bench/overlay_floor")] + [str(a) for a in args], check=True,
                         capture_output=True, text=True)
    return json.loads(out.stdout)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--build", default=os.path.join(endtoend.TOP, "build-release"))
    parser.add_argument("--vnis", type=int, default=1000)
    parser.add_argument("--vteps", type=int, default=64)
    parser.add_argument("--macs", type=int, default=100)
    parser.add_argument("--updates", type=int, default=1000)
    parser.add_argument("--log-level", type=int,
                        help="the agent's log level instead of the default configuration's")
    parser.add_argument("--keep", action="store_true", help="keep the work folder and logs")
    options = parser.parse_args()
    with OverlayStack(options.build, options.keep, options.log_level) as stack:
        result = full_sync(stack, options.vnis, options.vteps, options.macs)
        time.sleep(3)
        result["rest_mib"] = endtoend.peak_mib(stack.agent.pid, "VmRSS")
        seconds = single_updates(stack, options.vnis, options.vteps, options.macs, options.updates)
    full = floor(options.build, "full", options.vnis, options.vteps, options.macs)["seconds"]
    single = floor(options.build, "single", options.updates)
    size = "%d VNIs x %d VTEPs x %d MACs" % (options.vnis, options.vteps, options.macs)
    if options.log_level is not None:
        size += ", agent log level %d" % options.log_level
    table = [("what", "figure", "floor", "ratio"),
             ("overlay full sync, %s: first Update to last" % size, "%.2f s" % result["seconds"],
              "%.3f s" % full, endtoend.ratio(result["seconds"], full)),
             ("  agent memory: peak (VmHWM) / at rest (VmRSS)",
              "%.0f / %.0f MiB" % (result["peak_mib"], result["rest_mib"]), "", "")]
    for name, fraction in (("p50", 0.5), ("p99", 0.99)):
        figure = endtoend.percentile(seconds, fraction)
        table.append(("single MAC move %s, store to overlay module" % name, "%.2f ms" % (figure * 1e3),
                      "%.1f us" % single[name + "_us"], endtoend.ratio(figure * 1e6, single[name + "_us"])))
    endtoend.print_table(table)


if __name__ == "__main__":
    main()
