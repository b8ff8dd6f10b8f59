#!/usr/bin/env python3
"""What optimizing does to the programs of tests/programs: nodes in the file and cost when run, before and after.

    bench/effect.py --bin build/release [--levels 0,1,2,3,4] [--only REGEX] [--markdown docs/results.md]

For each program: the file of nxparse and the output of nxopt at each level; the number of nodes of the function bodies
(nxcount) and the cost of a run (nxrun --count; the weights are in tools/nxrun/count.def). Shown a program: both figures
before, and for each level in per cent of that. The last rows are the geometric means and the totals.
Exit status 1 if a program does not run or prints something else than before.
"""

import argparse
import json
import math
import os
import re
import shlex
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
PROGRAMS = os.path.join(HERE, "..", "tests", "programs")
SECONDS = 60
WEIGHTS = {}
BEGIN, END = "<!-- figures: bench/effect.py -->", "<!-- end of figures -->"


def read_weights():
    with open(os.path.join(HERE, "..", "tools", "nxrun", "count.def"), encoding="utf-8") as file:
        for key, weight in re.findall(r"^COUNT\((\w+), (\d+), \d\)", file.read(), re.M):
            WEIGHTS[key] = int(weight)


def run(command, stdin=None):
    with open(stdin or os.devnull, "rb") as source:
        return subprocess.run(command, stdin=source, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=SECONDS,
                              check=False)


def checked(command):
    done = run(command)
    if done.returncode != 0:
        sys.exit("%s: %s" % (" ".join(command), done.stderr[:500].decode("utf-8", "replace")))
    return done.stdout.decode()


class Figures:
    """Nodes of a file, cost of its run, and what it printed."""

    def __init__(self, tools, file, stem):
        self.nodes = int(checked([tools["nxcount"], file]).split()[0])
        args = shlex.split(open(stem + ".args", encoding="utf-8").read()) if os.path.exists(stem + ".args") else []
        counts = file + ".json"
        stdin = stem + ".in" if os.path.exists(stem + ".in") else None
        done = run([tools["nxrun"], "--count=" + counts, file] + args, stdin)
        self.printed = (done.returncode, done.stdout)
        with open(counts, encoding="utf-8") as report:
            executed = json.load(report)
        executed = executed.get("executed", executed)
        self.cost = sum(weight * int(executed[key]) for key, weight in WEIGHTS.items())


def measure(tools, stem, levels, folder):
    plain = os.path.join(folder, "plain.ic")
    checked([tools["nxparse"], "-w", "-o", plain, stem + ".c"])
    before = Figures(tools, plain, stem)
    after = []
    for level in levels:
        out = os.path.join(folder, "level-%s.opt" % level)
        checked([tools["nxopt"], "--opt_level=" + level, plain, out])
        after.append(Figures(tools, out, stem))
        if after[-1].printed != before.printed:
            sys.exit("%s at level %s: not the same output as before" % (stem, level))
    return before, after


def per_cent(value):
    return "%.1f" % (100.0 * value)


def mean(ratios):
    return math.exp(sum(math.log(r) for r in ratios) / len(ratios))


def table(rows, levels):
    """The Markdown table of all programs."""
    head = ["Program", "Nodes"] + ["level " + l + " %" for l in levels] + ["Cost"] + ["level " + l + " %" for l in levels]
    lines = ["| " + " | ".join(head) + " |", "|---" * len(head) + "|"]
    ratios = {key: [[] for _ in levels] for key in ("nodes", "cost")}
    totals = {key: [0] * (len(levels) + 1) for key in ("nodes", "cost")}
    for name, before, after in rows:
        cells = [name]
        for key in ("nodes", "cost"):
            base = getattr(before, key)
            cells.append(format(base, ","))
            totals[key][0] += base
            for i, figures in enumerate(after):
                value = getattr(figures, key)
                ratios[key][i].append(max(value, 1) / max(base, 1))
                totals[key][i + 1] += value
                cells.append(per_cent(value / max(base, 1)))
        lines.append("| " + " | ".join(cells) + " |")
    means = ["geometric mean", ""] + [per_cent(mean(r)) for r in ratios["nodes"]]
    means += [""] + [per_cent(mean(r)) for r in ratios["cost"]]
    sums = ["all together"]
    for key in ("nodes", "cost"):
        sums += [format(totals[key][0], ",")] + [per_cent(t / totals[key][0]) for t in totals[key][1:]]
    lines += ["| **" + "** | **".join(means) + "** |", "| **" + "** | **".join(sums) + "** |"]
    return [line.replace("****", "") for line in lines]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", default="build/release")
    parser.add_argument("--levels", default="0,1,2,3,4")
    parser.add_argument("--only", default="")
    parser.add_argument("--markdown", help="put the table between the marks of this file")
    options = parser.parse_args()
    tools = {"nxcount": os.path.join(options.bin, "bench", "nxcount")}
    for name in ("nxparse", "nxopt", "nxrun"):
        folders = [os.path.join(options.bin, "tools", name), options.bin]
        tools[name] = next((p for p in (os.path.join(f, name) for f in folders) if os.path.isfile(p)), "")
    if not all(os.access(path, os.X_OK) for path in tools.values()):
        parser.error("tools not found below " + options.bin)
    read_weights()
    levels = options.levels.split(",")
    rows = []
    with tempfile.TemporaryDirectory(prefix="nx-effect-") as folder:
        for name in sorted(os.listdir(PROGRAMS)):
            if name.endswith(".c") and re.search(options.only, name):
                rows.append((name[:-2], *measure(tools, os.path.join(PROGRAMS, name[:-2]), levels, folder)))
    lines = table(rows, levels)
    if not options.markdown:
        print("\n".join(lines))
        return 0
    with open(options.markdown, encoding="utf-8") as file:
        text = file.read()
    start, end = text.index(BEGIN) + len(BEGIN), text.index(END)
    with open(options.markdown, "w", encoding="utf-8") as file:
        file.write(text[:start] + "\n" + "\n".join(lines) + "\n" + text[end:])
    return 0


if __name__ == "__main__":
    sys.exit(main())
