#!/usr/bin/python3
"""Writes the pages of the documentation site: the guides, one page per header with what each operation does shown on a
photograph, and charts of what is measured. scripts/docs calls this."""
import argparse
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
GUIDES = ("adding-an-operation.md", "android.md", "arm.md", "dsp-stub.md", "operations.md", "speed.svg")
# A size that transforms take too.
SIDE = 256
PICTURES_MOST = 4
LINES_MOST = 6


class Shown:
    """What `visora` makes of two frames of a film."""

    def __init__(self, visora, first, second, folder):
        self.visora, self.folder = str(visora.resolve()), folder
        folder.mkdir(parents=True)
        self.inputs = []
        for name, path in (("first", first), ("second", second)):
            output = folder / f"{name}.png"
            self.run("TransformAffineRGBA8888u8", path.resolve(), "--affine=1,0,200,0,1,70", f"--dstWidth={SIDE}",
                     f"--dstHeight={SIDE}", "-o", output.resolve(), check=True)
            self.inputs.append(output.resolve())
        self.names = {}
        for line in self.run("list", check=True).stdout.splitlines():
            self.names[line.split()[0]] = line

    def run(self, *arguments, check=False):
        return subprocess.run([self.visora, *map(str, arguments)], capture_output=True, text=True, check=check,
                              cwd=self.folder)

    def operation(self, function):
        """(pictures, lines of numbers) of an operation, or None."""
        name = function.get("operation", "").removeprefix("vsr")
        if name not in self.names:
            return None
        corners = ["--overlay"] if function["header"] == "visora/corner.h" else []
        for count in range(5):
            inputs = [self.inputs[i % 2] for i in range(count)]
            result = self.run(name, *inputs, *corners, "-o", f"{name}.png")
            if result.returncode == 0:
                pictures = sorted(self.folder.glob(f"{name}.png")) + sorted(self.folder.glob(f"{name}-*.png"))
                text = [line for line in result.stdout.splitlines() if not line.endswith(".png")]
                return [path.name for path in pictures], text
            if not re.search(r"needs \d|pictures is required", result.stderr + result.stdout):
                return None
        return None


def as_text(text):
    """A comment as Markdown: names of functions become links, and nothing else is markup."""
    text = re.sub(r"@(return|result)\s*", "\n\n**Returns** ", text)
    text = re.sub(r"@param\s+(\w+(?:\s*,\s*\w+)*)\s+", r"\n\n`\1`: ", text)
    text = re.sub(r"@file\s*", "", text)
    parts = re.split(r"(`[^`\n]*`)", text)
    for i in range(0, len(parts), 2):
        parts[i] = re.sub(r"([*<>|$_\[\]])", r"\\\1", parts[i]) if "**Returns**" not in parts[i] else \
            re.sub(r"(?<!\*)\*(?!\*)|([<>|$_\[\]])", lambda match: "\\" + match.group(), parts[i])
    return "".join(parts)


def linked(text, known):
    """`vsrXxx` and vsrXxx as links to the functions that the site has."""
    def link(match):
        name = match.group(1).replace("\\_", "_")
        return f"{{c:func}}`{name}`" if name in known else match.group()
    return re.sub(r"`?\b(vsr[A-Z](?:\w|\\_)*)`?", link, text)


def declaration(function):
    parameters = ", ".join(re.sub(r"^(.*?)\s*((?:\[\w*\])*)$",
                                  lambda m: f"{m.group(1)} {parameter['name']}{m.group(2)}".replace("* ", "*"),
                                  parameter["type"]) for parameter in function["parameters"])
    return f"{function['returnType']} {function['name']}({parameters or 'void'})"


def types(header, description, known):
    """Records and enumerations that a header declares."""
    lines = []
    records = [record for record in description["records"] if record["header"] == header]
    for record in records:
        lines += [f"```{{c:type}} {record['name']}", "```", "", linked(as_text(record["comment"]), known), "",
                  "| field | type | |", "|---|---|---|"]
        lines += [f"| `{field['name']}` | `{field['type']}` | {as_text(field['text'])} |" for field in record["fields"]]
        lines.append("")
    for enum in description["enums"]:
        if enum["header"] == header:
            if enum["name"] and enum["name"] not in (record["name"] for record in records):
                lines += [f"```{{c:type}} {enum['name']}", "```", ""]
            lines += [linked(as_text(enum["comment"]), known), "", "| constant | value | |", "|---|---|---|"]
            lines += [f"| `{value['name']}` | {value['value']} | {as_text(value['text'])} |" for value in enum["values"]]
            lines.append("")
    macros = [macro for macro in description["macros"] if macro["header"] == header and macro["value"] is not None]
    if macros:
        lines += ["| macro | value | |", "|---|---|---|"]
        lines += [f"| `{macro['name']}` | {macro['value']:#x} | {as_text(macro['text'])} |" for macro in macros]
        lines.append("")
    return ["## Types and constants", "", *lines] if lines else []


def page(header, functions, description, shown, known):
    title = header.removeprefix("visora/").removesuffix(".h")
    common = functions[0]["common"].strip() if functions else ""
    lines = [f"# {title}", "", f"`#include <{header}>`", "", linked(as_text(common), known), "",
             *types(header, description, known)]
    shown_now = {}
    newest = {each["operation"]: each["name"] for each in
              sorted((each for each in functions if each["kind"] == "operation" and each["newest"]),
                     key=lambda each: each["version"])}
    for function in functions:
        if newest.get(function.get("operation")) == function["name"]:
            made = shown.operation(function)
            if made:
                shown_now[function["name"]] = made
    if shown_now:
        lines += ["Pictures are of these two frames, of the first alone where one is enough, with the arguments that "
                  "`visora help` names:", "", "![first frame](../pictures/first.png) ![second frame](../pictures/second.png)",
                  ""]
    section = None
    for function in functions:
        if function["section"] != section:
            section = function["section"]
            if section:
                lines += [f"## {section}", "", linked(as_text(function["notes"]), known), ""]
        lines += [f"```{{c:function}} {declaration(function)}", "```", "",
                  linked(as_text(function["comment"]), known), ""]
        if function["name"] in shown_now:
            pictures, text = shown_now[function["name"]]
            if pictures:
                lines += [" ".join(f"![{name.removesuffix('.png')}](../pictures/{name})"
                                   for name in pictures[:PICTURES_MOST]), ""]
            if text:
                more = ["..."] if len(text) > LINES_MOST else []
                lines += ["```text", *[line[:100] for line in text[:LINES_MOST]], *more, "```", ""]
    return "\n".join(lines)


def bars(path, title, table, label):
    import matplotlib
    matplotlib.use("svg")
    from matplotlib import pyplot
    figure, axes = pyplot.subplots(figsize=(8, 1 + 0.17 * len(table)))
    axes.barh([name for name, _ in table], [value for _, value in table],
              color=["#2a7f62" if value >= 1 else "#c0392b" for _, value in table])
    axes.axvline(1, color="black", linewidth=0.8)
    axes.set_xscale("log")
    axes.set_xlabel(label)
    axes.set_title(title)
    axes.tick_params(axis="y", labelsize=6)
    axes.margins(y=0.01)
    figure.savefig(path, bbox_inches="tight")


def performance(output, measured):
    lines = ["# Performance", "", "How each number is taken, and what it says, is told with the [speed table](index.md#speed) and in "
             "[what kernels cost on ARM](arm.md).", ""]
    counts = json.loads((ROOT / "benchmarks" / "arm-baseline.json").read_text())
    table = arm_ratios(counts)
    if table:
        bars(output / "pictures" / "arm.svg", "64-bit ARM", table, "instructions of the best peer / of the vector variant")
        lines += ["## 64-bit ARM", "", "Instructions of the best peer over those of the vector variant, counted under "
                  "emulation.", "", "![instructions per operation](pictures/arm.svg)", ""]
    if measured:
        sys.path.insert(0, str(ROOT / "scripts"))
        import bench_report
        run = bench_report.Run(measured)
        by_operation = {}
        for row in bench_report.rows(run):
            if row["ratio"] == row["ratio"]:
                by_operation.setdefault(row["operation"], []).append(row["ratio"])
        table = sorted((name, bench_report.geometric_mean(values)) for name, values in by_operation.items())
        if table:
            bars(output / "pictures" / "measured.svg", run.context["instruction_set"], sorted(table, key=lambda bar: bar[1]),
                 "time of the fastest peer / of the vector variant")
            lines += ["## This machine", "", f"Measured {run.context['date']}.", "",
                      "![time per operation](pictures/measured.svg)", ""]
    else:
        lines += ["`scripts/bench --html build/bench.html`, run before `scripts/docs`, adds what this machine measures.", ""]
    return "\n".join(lines)


def arm_ratios(counts):
    """(operation, ratio) of those that have a peer, from slow to fast."""
    table = []
    for operation, contestants in counts.items():
        peers = [each["instructions"] for name, each in contestants.items()
                 if name not in ("reference", "vector", "memcpy", "unit")]
        if peers and "vector" in contestants:
            table.append((operation, min(peers) / contestants["vector"]["instructions"]))
    return sorted(table, key=lambda bar: bar[1])


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    for option in ("visora", "description", "first", "second", "output"):
        parser.add_argument(f"--{option}", type=pathlib.Path, required=True)
    options = parser.parse_args()
    output = options.output
    shown = Shown(options.visora, options.first, options.second, output / "pictures")
    description = json.loads(options.description.read_text())
    functions = description["functions"]
    known = {function["name"] for function in functions}
    headers = {each["header"]: [] for kind in ("records", "enums") for each in description[kind]}
    for function in functions:
        headers.setdefault(function["header"], []).append(function)
    (output / "functions").mkdir()
    for header, members in headers.items():
        (output / "functions" / (pathlib.Path(header).stem + ".md")).write_text(page(header, members, description, shown, known))
    for name in GUIDES:
        shutil.copy(ROOT / "docs" / name, output / name)
    for path in (ROOT / "docs" / "site").iterdir():
        shutil.copy(path, output / path.name)
    # The front page has the README, whose links begin in the project's folder.
    readme = (ROOT / "README.md").read_text()
    readme = re.sub(r"\]\(docs/([\w-]+\.(?:md|svg))", r"](\1", readme)
    readme = re.sub(r"\[([^\]]*)\]\((?!http|#|[\w-]+\.(?:md|svg))[^)]*\)", r"`\1`", readme)
    (output.parent / "README.md").write_text(readme)
    measured = ROOT / "build" / "bench.json"
    (output / "performance.md").write_text(performance(output, measured if measured.exists() else None))
    pictures = len(list((output / "pictures").glob("*.png")))
    print(f"{len(headers)} pages of functions, {len(functions)} functions, {pictures} pictures")


if __name__ == "__main__":
    os.environ.setdefault("LC_ALL", "C")
    main()
