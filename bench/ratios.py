#!/usr/bin/env python3
"""Table of our times over the best peer's from Google Benchmark's JSON: ratios.py LABEL=FILE...

Benchmarks are named operation/ours/size and operation/peer/size. Each time is the least of all repetitions; below 1 we
are faster. A peer "ours ..." is another function of ours: it is compared within each library, all others across them.
"""
import json
import sys

labels, times = [], {}
for argument in sys.argv[1:]:
    label, path = argument.split("=", 1)
    labels.append(label)
    with open(path) as file:
        runs = json.load(file)["benchmarks"]
    for run in runs:
        if run.get("run_type") == "aggregate" or run.get("error_occurred"):
            continue
        operation, who, size = run["name"].split("/")[:3]
        nanoseconds = run["cpu_time"] * {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[run["time_unit"]]
        sides = times.setdefault((operation, size), {}).setdefault(label, {})
        sides[who] = min(nanoseconds, sides.get(who, float("inf")))

print(f"{'operation':28}{'size':>8}  {'best peer':16}{'ns':>10}" + "".join(f"{l + ' ns':>12}{'ratio':>8}" for l in labels))
slower = 0
for (operation, size), by_label in times.items():
    others = {}
    for sides in by_label.values():
        for who, t in sides.items():
            if not who.startswith("ours"):
                others[who] = min(t, others.get(who, float("inf")))

    def best_peer(label):
        own = {who: t for who, t in by_label.get(label, {}).items() if who.startswith("ours ")}
        return min({**others, **own}.items(), key=lambda peer: peer[1], default=("-", float("nan")))

    who, t = best_peer(labels[-1])
    row = f"{operation:28}{size:>8}  {who:16}{t:10.1f}"
    for label in labels:
        ours = by_label.get(label, {}).get("ours", float("nan"))
        ratio = ours / best_peer(label)[1]
        row += f"{ours:12.1f}{ratio:8.2f}"
    slower += ratio > 1.15
    print(row)
print(f"{slower} of {len(times)} slower than the best peer by more than 15 % ({labels[-1]})")
