#!/usr/bin/env python3
"""One table of a benchmark run: the in-process benchmarks' JSON outputs and
the end-to-end driver's results, as scripts/bench.sh leaves them in a folder.

    bench/table.py RESULTS_DIR
"""
import glob
import json
import os
import sys

import endtoend

# Fields of a benchmark entry that are not counters.
NOT_COUNTERS = {"name", "family_index", "per_family_instance_index", "run_name", "run_type",
                "repetitions", "repetition_index", "threads", "iterations", "real_time",
                "cpu_time", "time_unit", "items_per_second", "bytes_per_second", "label",
                "error_occurred", "error_message", "aggregate_name", "aggregate_unit"}


def scaled(value):
    for limit, suffix in ((1e9, "G"), (1e6, "M"), (1e3, "k")):
        if value >= limit:
            return "%.3g %s" % (value / limit, suffix)
    return "%.3g " % value


def figure(entry):
    """Items per second and the entry's counters, else its time."""
    parts = ["%s %s" % (scaled(v).strip(), k) for k, v in entry.items()
             if k not in NOT_COUNTERS and isinstance(v, (int, float))]
    if "items_per_second" in entry:
        parts.insert(0, scaled(entry["items_per_second"]) + "items/s")
    return ", ".join(parts) or "%.3g %s" % (entry["real_time"], entry["time_unit"])


def benchmark_rows(path):
    with open(path) as f:
        entries = json.load(f)["benchmarks"]
    return [(entry["name"], figure(entry), "", "") for entry in entries
            if entry.get("run_type", "iteration") == "iteration" and not entry.get("error_occurred")]


def main():
    folder = sys.argv[1]
    table = [("what", "figure", "floor", "ratio")]
    for path in sorted(glob.glob(os.path.join(folder, "*_bench.json"))):
        table += benchmark_rows(path)
    # The default configuration's run first, then the variants.
    runs = sorted(glob.glob(os.path.join(folder, "endtoend*.json")), key=lambda p: (len(p), p))
    for path in runs:
        with open(path) as f:
            run = json.load(f)
        for result in run["results"]:
            table += endtoend.rows(result, run["single_floor"])
    endtoend.print_table(table)


if __name__ == "__main__":
    main()
