#!/usr/bin/env python3
"""Prints the ratios of one run: ratios.py RESULTS.json GOALS

RESULTS.json is what a benchmark program wrote; its benchmarks are named `<workload>/ours` and `<workload>/<peer>`.
A line of GOALS reads `workload | peer | goal`, where goal is the greatest ratio of our time to the peer's. Times are
medians of the repetitions: wall clock where a benchmark says UseRealTime, else the time on the processor, which other
work on the machine disturbs less. The exit code is 0 also when a goal is missed: other work on a machine makes times
vary, and the table says all.
"""
import json
import re
import statistics
import sys


def times(path):
    """Median nanoseconds, by benchmark name without its suffixes."""
    unit = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
    samples = {}
    for entry in json.load(open(path))["benchmarks"]:
        if entry.get("run_type") == "aggregate" or entry.get("error_occurred"):
            continue
        name = re.sub(r"/(iterations|repeats|min_time|min_warmup_time|threads):[^/]*", "", entry["run_name"])
        name = re.sub(r"/(real_time|process_time|manual_time)", "", name)
        clock = "real_time" if re.search(r"/(real_time|manual_time)", entry["run_name"]) else "cpu_time"
        samples.setdefault(name, []).append(entry[clock] * unit[entry["time_unit"]])
    return {name: statistics.median(values) for name, values in samples.items()}


def shown(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def main():
    measured = times(sys.argv[1])
    rows = [("workload", "ours", "peer", "its time", "ratio", "goal", "")]
    for line in open(sys.argv[2]):
        line = line.split("#")[0].strip()
        if not line:
            continue
        workload, peer, goal = (part.strip() for part in line.split("|"))
        ours, theirs = measured.get(f"{workload}/ours"), measured.get(f"{workload}/{peer}")
        if ours is None or theirs is None:
            rows.append((workload, "-", peer, "-", "-", goal, "not measured"))
            continue
        ratio = ours / theirs
        verdict = "" if goal == "-" else "met" if ratio <= float(goal) else "missed"
        rows.append((workload, shown(ours), peer, shown(theirs), f"{ratio:.3f}", goal, verdict))
    widths = [max(len(row[i]) for row in rows) for i in range(len(rows[0]))]
    for number, row in enumerate(rows):
        print("| " + " | ".join(cell.ljust(width) for cell, width in zip(row, widths)) + " |")
        if number == 0:
            print("|" + "|".join("-" * (width + 2) for width in widths) + "|")


main()
