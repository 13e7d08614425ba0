#!/usr/bin/python3
"""Makes one self-contained page of what the benchmark wrote with --benchmark_out: ratio per operation, share of memcpy, by
size and per instruction set. With --compare, what changed since an older run, as a list and in the page.

scripts/bench --html measures and calls this.
"""
import argparse
import base64
import collections
import io
import json
import math
import pathlib
import statistics
import sys

import jinja2
import matplotlib

matplotlib.use("svg")
from matplotlib import pyplot  # noqa: E402

OURS = ("reference", "vector", "memcpy")
# Changes below this share are noise of the machine.
NOISE = 0.05


class Run:
    """Median nanoseconds per item of (operation, size) and contestant."""

    def __init__(self, path):
        document = json.loads(pathlib.Path(path).read_text())
        self.context = document["context"]
        # The name that makers and users have for it.
        self.context["instruction_set"] = self.context["instruction_set"].replace("AVX3", "AVX-512")
        times = collections.defaultdict(list)
        for entry in document["benchmarks"]:
            if entry.get("run_type") != "iteration" or entry.get("error_occurred") or "items" not in entry:
                continue
            # Google Benchmark hangs its options behind the name.
            operation, contestant, size = split(entry["run_name"])
            scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[entry["time_unit"]]
            times[operation, size, contestant].append(entry["real_time"] * scale / entry["items"])
        self.lines = collections.defaultdict(dict)
        for (operation, size, contestant), values in times.items():
            self.lines[operation, size][contestant] = statistics.median(values)
        self.lines = {key: line for key, line in self.lines.items() if "vector" in line}
        if not self.lines:
            sys.exit(f"{path}: no vector variant was measured in it")
        sets = {name for line in self.lines.values() for name in line if is_instruction_set(name)}
        self.further_sets = sorted(sets)


def split(name):
    parts = name.split("/")
    at = next(i for i, part in enumerate(parts) if "x" in part and part.replace("x", "", 1).isdigit())
    return "/".join(parts[:at - 1]), parts[at - 1], parts[at]


def is_instruction_set(contestant):
    return contestant.startswith(("AVX", "SSE", "SSSE", "NEON", "EMU", "SCALAR"))


def best_peer(line):
    peers = {name: time for name, time in line.items() if name not in OURS and not is_instruction_set(name)}
    return min(peers.items(), key=lambda peer: peer[1]) if peers else (None, math.nan)


def geometric_mean(values):
    values = [value for value in values if value > 0 and math.isfinite(value)]
    return math.exp(statistics.fmean(map(math.log, values))) if values else math.nan


def rows(run):
    for (operation, size), line in sorted(run.lines.items(), key=lambda item: (item[0][0], int(item[0][1].split("x")[0]))):
        peer, peer_time = best_peer(line)
        yield {
            "operation": operation, "size": size, "peer": peer or "", "vector": line["vector"],
            "reference": line.get("reference", math.nan), "peer_time": peer_time, "ratio": peer_time / line["vector"],
            "gain": line.get("reference", math.nan) / line["vector"],
            "share": line.get("memcpy", math.nan) / line["vector"],
            "sets": [line.get(name, math.nan) / line["vector"] for name in run.further_sets],
        }


def picture(figure):
    file = io.BytesIO()
    figure.savefig(file, format="svg", bbox_inches="tight")
    pyplot.close(figure)
    return "data:image/svg+xml;base64," + base64.b64encode(file.getvalue()).decode()


def ratio_chart(table):
    """One bar per operation, the geometric mean over its sizes."""
    ratios = collections.defaultdict(list)
    for row in table:
        if math.isfinite(row["ratio"]):
            ratios[row["operation"]].append(row["ratio"])
    if not ratios:
        return None
    bars = sorted(((geometric_mean(values), name) for name, values in ratios.items()))
    figure, axes = pyplot.subplots(figsize=(9, 1 + 0.19 * len(bars)))
    axes.barh([name for _, name in bars], [value for value, _ in bars],
              color=["#2a7f62" if value >= 1 else "#c0392b" for value, _ in bars])
    axes.axvline(1, color="black", linewidth=0.8)
    axes.set_xscale("log")
    axes.set_xlabel("time of the fastest peer / time of the vector variant")
    axes.tick_params(axis="y", labelsize=7)
    axes.margins(y=0.01)
    return picture(figure)


def copy_chart(table):
    """Share of memcpy's speed against the size, a line per operation that moves little else than memory."""
    shares = collections.defaultdict(list)
    for row in table:
        if math.isfinite(row["share"]):
            shares[int(row["size"].split("x")[0])].append(row["share"])
    shares = dict(sorted(shares.items()))
    if not shares:
        return None
    figure, axes = pyplot.subplots(figsize=(9, 3))
    axes.boxplot(list(shares.values()), labels=[f"width {width}" for width in shares], vert=False)
    axes.set_xscale("log")
    axes.axvline(0.8, color="#c0392b", linewidth=0.8)
    axes.set_xlabel("speed / speed of a memcpy of the same bytes")
    return picture(figure)


def changes(run, old):
    """New time over old time of the vector variants that both runs have, the largest changes first."""
    both = [(run.lines[key]["vector"] / old.lines[key]["vector"], key) for key in run.lines if key in old.lines]
    return sorted(both, key=lambda change: -abs(math.log(change[0])))


def print_changes(changed):
    if not changed:
        sys.exit("the two runs have no operation in common")
    print(f"{'operation':52} {'size':>10} {'new/old time':>13}")
    for factor, (operation, size) in changed:
        if abs(factor - 1) > NOISE:
            print(f"{operation:52} {size:>10} {factor:13.2f}")
    quiet = sum(abs(factor - 1) <= NOISE for factor, _ in changed)
    print(f"{quiet} of {len(changed)} within {NOISE:.0%}; geometric mean {geometric_mean([f for f, _ in changed]):.3f}")


def number(value):
    return "" if value is None or not math.isfinite(value) else f"{value:.3g}"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("run", help="what the benchmark wrote")
    parser.add_argument("--compare", metavar="OLD", help="an older run")
    parser.add_argument("--html", metavar="FILE", help="the page to write")
    options = parser.parse_args()
    run = Run(options.run)
    changed = changes(run, Run(options.compare)) if options.compare else []
    if options.compare:
        print_changes(changed)
    if options.html:
        table = list(rows(run))
        template = jinja2.Environment(autoescape=True, undefined=jinja2.StrictUndefined, trim_blocks=True,
                                      lstrip_blocks=True)
        template.filters["number"] = number
        page = template.from_string(pathlib.Path(__file__).with_name("bench_report.html").read_text()).render(
            context=run.context, table=table, sets=run.further_sets, ratios=ratio_chart(table), copies=copy_chart(table),
            mean=geometric_mean([row["ratio"] for row in table]),
            gain=geometric_mean([row["gain"] for row in table]), peers=sum(bool(row["peer"]) for row in table),
            changed=[(factor, *key) for factor, key in changed if abs(factor - 1) > NOISE], compared=len(changed))
        pathlib.Path(options.html).write_text(page)
        print(options.html)


if __name__ == "__main__":
    main()
