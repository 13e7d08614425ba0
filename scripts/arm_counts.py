#!/usr/bin/env python3
"""What every operation costs on 64-bit ARM, counted under qemu: instructions per pixel or point of the reference, the
vector variant and its peers, and about how many cycles the vector variant and the peers take.

scripts/bench --arm builds what is counted and calls this with the options below.

Instructions are exact and the same on every run. They are work done, not time: a load of four registers, an interleaved
store, a table lookup and a division count as one, a cache miss and a mispredicted branch as none.
Cycles are estimates of llvm-mca, within about 30 %: a block of instructions that loops to itself costs what a hundred
runs of it take over a hundred, any other block its throughput; blocks do not overlap, and all data is in the first cache.
An operation that is bound by memory gains less on a device than either number says.
"""
import argparse
import bisect
import collections
import json
import math
import os
import re
import shutil
import subprocess
import sys
import tempfile

# Names of llvm's models, ours, whether they execute in order, instructions decoded per cycle.
CORES = [("neoverse-n1", "n1", False, 4), ("cortex-a55", "a55", True, 2)]
# Older models of these cores are those of other cores.
OLDEST_LLVM = 19
AIM = 1.3
PAGE = 4096
OURS = ("reference", "vector")


def llvm(tool):
    """The newest tool of llvm that knows the cores, or None."""
    for version in range(OLDEST_LLVM + 20, OLDEST_LLVM - 1, -1):
        found = shutil.which("%s-%d" % (tool, version))
        if found:
            return found
    found = shutil.which(tool)
    if found:
        version = re.search(r"LLVM version (\d+)", subprocess.run([found, "--version"], capture_output=True,
                                                                  text=True).stdout)
        if version and int(version.group(1)) >= OLDEST_LLVM:
            return found
    return None


class Block:
    """A straight run of instructions, and how often a contest executed it."""

    def __init__(self, address, executions, words):
        self.address, self.executions, self.words = address, executions, words

    def instructions(self):
        return len(self.words) * self.executions

    def ends_with_branch(self):
        return (int(self.words[-1], 16) >> 26) & 7 == 5


class Contest:
    def __init__(self, line, blocks):
        self.operation, self.contestant, self.unit, items = line.rstrip("\n").split("\t")
        self.items = float(items)
        self.blocks = joined(blocks)
        self.instructions = sum(b.instructions() for b in self.blocks)

    def per_item(self, value):
        return float("%.4g" % (value / self.items))

    def hottest(self, share):
        """Blocks from the hottest one down until they make up a share of the instructions."""
        covered, kept = 0, []
        for block in sorted(self.blocks, key=Block.instructions, reverse=True):
            if covered >= share * self.instructions:
                break
            covered += block.instructions()
            kept.append(block)
        return kept


def joined(blocks):
    """The emulator ends a block at the end of a page, too: what only runs on from there belongs to it."""
    starts = collections.defaultdict(list)
    for block in blocks:
        starts[block.address].append(block)
    for block in sorted(blocks, key=lambda b: b.address, reverse=True):
        end = block.address + 4 * len(block.words)
        rest = starts.get(end, [])
        if end % PAGE == 0 and len(rest) == 1 and rest[0].executions >= block.executions and \
                not block.ends_with_branch():
            block.words = block.words + rest[0].words
            rest[0].executions -= block.executions
    return [b for b in blocks if b.executions > 0]


def count(build, pattern, cpu):
    """Runs the contests under the emulator."""
    with tempfile.TemporaryDirectory() as directory:
        plugin = os.path.join(build, "libvisora_count_plugin.so")
        subprocess.run(["qemu-aarch64"] + (["-cpu", cpu] if cpu else []) +
                       ["-plugin", "%s,out=%s/blocks" % (plugin, directory), os.path.join(build, "visora_count"),
                        directory, pattern], check=True)
        lines = iter(open(os.path.join(directory, "contests")))
        contests, blocks = [], []
        for line in open(os.path.join(directory, "blocks")):
            if line == "end\n":
                contests.append(Contest(next(lines), blocks))
                blocks = []
            else:
                address, executions, *words = line.split()
                blocks.append(Block(int(address, 16), int(executions), tuple(words)))
        maps = [line.split() for line in open(os.path.join(directory, "maps"))]
    if not contests:
        sys.exit("no operation matches %r" % pattern)
    return contests, Names(maps)


class Names:
    """Functions that addresses lie in."""

    def __init__(self, maps):
        self.spans = []
        lowest = {}
        for fields in maps:
            if len(fields) < 6 or not fields[5].startswith("/"):
                continue
            low, high = (int(x, 16) for x in fields[0].split("-"))
            lowest.setdefault(fields[5], low)
            self.spans.append((low, high, fields[5], lowest[fields[5]]))
        self.symbols = {}

    def of(self, address):
        for low, high, path, base in self.spans:
            if low <= address < high:
                symbols = self.symbols_of(path)
                i = bisect.bisect_right(symbols, (address - base, "\uffff")) - 1
                return "%s: %s" % (os.path.basename(path), symbols[i][1] if i >= 0 else "?")
        return "?"

    def symbols_of(self, path):
        if path not in self.symbols:
            for flags in ("-C", "-DC"):
                lines = subprocess.run(["aarch64-linux-gnu-nm", flags, "--defined-only", path], capture_output=True,
                                       text=True).stdout.splitlines()
                if lines:
                    break
            parts = [line.split(" ", 2) for line in lines]
            self.symbols[path] = sorted((int(p[0], 16), p[2]) for p in parts if len(p) == 3 and p[1] in "tTwWiu")
        return self.symbols[path]


def disassembled(all_words):
    """The text of each run of instruction words, by one call of the disassembler."""
    all_words = list(all_words)
    source = "\n".join(" ".join("0x" + w[i:i + 2] for w in words for i in (6, 4, 2, 0)) for words in all_words)
    text = subprocess.run([llvm("llvm-mc"), "--disassemble", "-triple=aarch64", "-mattr=+all"], input=source + "\n",
                          capture_output=True, text=True, check=True).stdout
    lines = [line.strip() for line in text.splitlines() if line.startswith("\t") and not line.startswith("\t.")]
    texts = {}
    for words in all_words:
        texts[words], lines = lines[:len(words)], lines[len(words):]
    if lines:
        sys.exit("the disassembly has %d instructions too many" % len(lines))
    return texts


def loops(text):
    branch = re.match(r"(?:b\.?\w*|cbn?z|tbn?z)\s.*#(-?\d+)$", text[-1])
    return bool(branch) and -4 * (len(text) - 1) <= int(branch.group(1)) < 0


def cycles_of_blocks(texts, core):
    """Cycles of one run of each block, by one call of llvm-mca."""
    model, _, in_order, width = core
    names = list(texts)
    source = []
    for i, words in enumerate(names):
        source += ["# LLVM-MCA-BEGIN b%d" % i] + texts[words] + ["# LLVM-MCA-END b%d" % i]
    run = subprocess.run([llvm("llvm-mca"), "-march=aarch64", "-mcpu=" + model, "-mattr=+all", "-iterations=100",
                          "-resource-pressure=0", "-instruction-info=0", "-call-latency=1",
                          "-skip-unsupported-instructions=lack-sched"],
                         input="\n".join(source) + "\n", capture_output=True, text=True)
    if run.returncode:
        sys.exit(run.stderr[-2000:])
    cycles, words = {}, None
    for line in run.stdout.splitlines():
        region = re.search(r"Code Region - b(\d+)", line)
        if region:
            words = names[int(region.group(1))]
        value = re.match(r"(Total Cycles|Block RThroughput):\s+([\d.]+)", line)
        if value and value.group(1) == "Total Cycles":
            cycles[words] = float(value.group(2)) / 100
        elif value and not in_order and not loops(texts[words]):
            cycles[words] = float(value.group(2))
    return {words: max(c, len(words) / width) for words, c in cycles.items()}


class Estimates:
    """Cycles of contests on each core; what is not in their hottest blocks is taken to be like the rest."""

    SHARE = 0.99

    def __init__(self, contests):
        kept = {block.words for contest in contests for block in contest.hottest(self.SHARE)}
        self.texts = disassembled(sorted(kept))
        self.cycles = {core[1]: cycles_of_blocks(self.texts, core) for core in CORES}

    def of(self, contest):
        totals = {}
        for core, cycles in self.cycles.items():
            known = [b for b in contest.blocks if b.words in cycles]
            counted = sum(b.instructions() for b in known)
            totals[core] = sum(cycles[b.words] * b.executions for b in known) * contest.instructions / max(1, counted)
        return totals


def measure(contests):
    """The table: operation -> unit and contestant -> measure -> value per unit."""
    estimates = Estimates([c for c in contests if c.contestant != "reference"]) if llvm("llvm-mca") else None
    table = {}
    for contest in contests:
        row = table.setdefault(contest.operation, {"unit": contest.unit})
        values = row[contest.contestant] = {"instructions": contest.per_item(contest.instructions)}
        if estimates and contest.contestant != "reference":
            values.update({core: contest.per_item(c) for core, c in estimates.of(contest).items()})
    return table


def best_peer(row, measure_name):
    """Name and value of the peer that needs least."""
    peers = [(values[measure_name], name) for name, values in row.items()
             if name not in OURS and name != "unit" and measure_name in values]
    return min(peers)[::-1] if peers else (None, None)


def ratios(row):
    """measure -> best peer / vector."""
    found = {}
    for name in ["instructions"] + [core[1] for core in CORES]:
        peer = best_peer(row, name)[1]
        if peer is not None and name in row.get("vector", {}):
            found[name] = peer / row["vector"][name]
    return found


def family(operation):
    name = re.match(r"vsr([A-Z][a-z]+?|[A-Z0-9]+)(?=[usf]?\d|[^a-z])", operation + "/")
    return name.group(1) if name else operation


def mean(values):
    return math.exp(sum(math.log(v) for v in values) / len(values))


def cell(value, form):
    return form % value if value is not None else "-"


def print_table(table):
    cores = [core[1] for core in CORES]
    line = "%-56s %9s %9s %9s %-8s %7s" + " %7s" * len(cores)
    print("instructions per pixel (tracking, models: per point); peer / ours: above 1 ours needs fewer; %s: by estimated "
          "cycles" % ", ".join(cores))
    print(line % ("operation", "reference", "vector", "best peer", "", "peer/v.", *cores))
    all_ratios = collections.defaultdict(list)
    for operation, row in sorted(table.items()):
        if "vector" not in row:
            continue
        name, peer = best_peer(row, "instructions")
        own = ratios(row)
        for key, value in own.items():
            all_ratios[family(operation), key].append(value)
        print(line % (operation, cell(row.get("reference", {}).get("instructions"), "%.4g"),
                      cell(row["vector"]["instructions"], "%.4g"), cell(peer, "%.4g"), name or "",
                      cell(own.get("instructions"), "%.2f"), *(cell(own.get(core), "%.2f") for core in cores)))
    print()
    measures = ["instructions"] + cores
    print("%-30s %5s %12s" % ("geometric means by family", "rows", measures[0]) + " %7s" * len(cores) % tuple(cores))
    means = collections.defaultdict(list)
    for name in sorted({f for f, _ in all_ratios}):
        own = {m: mean(all_ratios[name, m]) for m in measures if all_ratios[name, m]}
        for m, value in own.items():
            means[m].append(value)
        print("%-30s %5d %12s" % (name, len(all_ratios[name, measures[0]]), cell(own.get(measures[0]), "%.2f")) +
              " %7s" * len(cores) % tuple(cell(own.get(core), "%.2f") for core in cores))
    for m in measures:
        below = sum(v < AIM for (_, key), values in all_ratios.items() if key == m for v in values)
        if means[m]:
            print("%s: geometric mean over families %.2f, %d of %d rows below %.1f" %
                  (m, mean(means[m]), below, sum(len(v) for (_, key), v in all_ratios.items() if key == m), AIM))


def print_comparison(before, after):
    """What changed in the vector variants: before / after, and the ratio to the peer before and after."""
    print("%-56s %9s %9s %9s" % ("vector variant, before / after", "instr.", *(core[1] for core in CORES)) +
          "   peer / ours in instructions")
    measures = ["instructions"] + [core[1] for core in CORES]
    changed = 0
    for operation, row in sorted(after.items()):
        old, new = before.get(operation, {}).get("vector"), row.get("vector")
        if not old or not new:
            continue
        gains = [old[m] / new[m] if m in old and m in new and new[m] > 0 else None for m in measures]
        if all(g is None or abs(g - 1) < 0.01 for g in gains):
            continue
        changed += 1
        peer = ratios(before[operation]).get("instructions"), ratios(row).get("instructions")
        print("%-56s %9s %9s %9s" % (operation, *(cell(g, "%.2f") for g in gains)) +
              "   %s -> %s" % tuple(cell(p, "%.2f") for p in peer))
    print("%d operations differ by a hundredth or more; %d are new, %d gone" %
          (changed, len(set(after) - set(before)), len(set(before) - set(after))))


def print_hot(contests, names, blocks_shown):
    contests = [c for c in contests if c.contestant != "reference"]
    if not llvm("llvm-mc"):
        sys.exit("the hottest loops need llvm-mc and llvm-mca, %d or newer" % OLDEST_LLVM)
    estimates = Estimates(contests)
    for contest in contests:
        cycles = estimates.of(contest)
        print("== %s, %s: %.4g instructions per %s; cycles: %s" % (
            contest.operation, contest.contestant, contest.instructions / contest.items, contest.unit,
            ", ".join("%s %.4g" % (core, value / contest.items) for core, value in cycles.items())))
        for block in contest.hottest(estimates.SHARE)[:blocks_shown]:
            print("-- %.1f %% of the instructions: %d x %d in %s; cycles a run: %s" % (
                100 * block.instructions() / contest.instructions, len(block.words), block.executions,
                names.of(block.address)[:160],
                ", ".join("%s %.2f" % (core, c[block.words]) for core, c in estimates.cycles.items())))
            for text in estimates.texts[block.words]:
                print("    " + text.replace("\t", " "))


def main():
    parser = argparse.ArgumentParser(prog="scripts/bench --arm", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    baseline = os.path.join(os.path.dirname(__file__), "..", "benchmarks", "arm-baseline.json")
    parser.add_argument("--build", required=True, help=argparse.SUPPRESS)
    parser.add_argument("--filter", default="", metavar="REGEX",
                        help="only contests whose \"<operation>/<label>/<contestant>\" it is found in")
    parser.add_argument("--json", metavar="FILE", help="write the table there, too")
    parser.add_argument("--compare", nargs="?", const=baseline, metavar="FILE",
                        help="print what changed against a table that was written with --json (the stored one)")
    parser.add_argument("--hot", metavar="OPERATION", help="show the hottest loops of operations of this name")
    parser.add_argument("--blocks", type=int, default=4, help="how many for each contestant (4)")
    parser.add_argument("--cpu", help="qemu's processor model and its options")
    options = parser.parse_args()

    contests, names = count(options.build, options.hot or options.filter, options.cpu)
    if options.hot:
        print_hot(contests, names, options.blocks)
        return
    table = measure(contests)
    if options.json:
        with open(options.json, "w") as out:
            # A line for each operation.
            lines = (f"{json.dumps(name)}: {json.dumps(table[name], sort_keys=True)}" for name in sorted(table))
            out.write("{\n" + ",\n".join(lines) + "\n}\n")
    print_table(table)
    if options.compare:
        print()
        with open(options.compare) as stored:
            print_comparison(json.load(stored), table)


main()
