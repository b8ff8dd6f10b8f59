#!/usr/bin/env python3
"""The simplifier beside LLVM's InstCombine, on the same C source, in one run.

    bench/simplify.py --bin build/release [--copies 1,10,100] [--runs 5]

For each size one unit of real C is made (bench/make_unit.py), translated by nxparse and by clang-14 (-O0 without its
mark that forbids optimizing). Shown: the processor time of simp_all_trees alone, all its calls at level 1 together
(nxopt --debug:simp_stats), and the time of InstCombine alone (opt-14 -passes=instcombine -time-passes); the best of the
runs, alternating; their ratio; time a node, and how it grows from the smallest unit to the largest.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "differential"))
sys.path.insert(0, HERE)
from common import Tools  # noqa: E402
import make_unit  # noqa: E402

SECONDS = 600


def output(command, folder):
    done = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=SECONDS,
                          check=False)
    text = done.stdout.decode("utf-8", "replace")
    if done.returncode != 0:
        sys.exit("%s: %s" % (" ".join(command), text[:500]))
    return text


class Unit:
    def __init__(self, tools, folder, name, source):
        self.folder = folder
        with open(os.path.join(folder, name + ".c"), "w", encoding="utf-8") as file:
            file.write(source)
        self.lines = source.count("\n")
        output([tools.nxparse, "-w", "-o", name + ".ic", name + ".c"], folder)
        output(["clang-14", "-m32", "-O0", "-Xclang", "-disable-O0-optnone", "-w", "-emit-llvm", "-c", name + ".c", "-o",
                name + ".bc"], folder)
        self.ours_command = [tools.nxopt, "--opt_level=1", "--debug:simp_stats", name + ".ic", name + ".opt"]
        self.llvm_command = ["opt-14", "-passes=instcombine", "-time-passes", name + ".bc", "-o", name + ".out.bc"]
        self.ours = self.llvm = float("inf")
        self.nodes = self.rewrites = 0

    def measure(self):
        text = output(self.ours_command, self.folder)
        nodes, seconds = re.search(r"(\d+)  nodes simplified in ([\d.]+) s", text).groups()
        self.rewrites = int(re.search(r"(\d+)  rewrites in all", text).group(1))
        self.nodes = int(nodes)
        self.ours = min(self.ours, float(seconds))
        # user, system, user and system together, wall clock: processor time is the third
        times = [line for line in output(self.llvm_command, self.folder).splitlines() if "InstCombine" in line]
        self.llvm = min(self.llvm, float(re.findall(r"([\d.]+) \(", times[0])[-2]))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", default="build/release", help="the build folder")
    parser.add_argument("--copies", default="1,10,100", help="how often the programs are copied, comma separated")
    parser.add_argument("--runs", type=int, default=5)
    options = parser.parse_args()
    tools = Tools(options.bin)
    missing = tools.missing("nxopt", "nxparse") + [p for p in ("clang-14", "opt-14") if not shutil.which(p)]
    if missing:
        parser.error("not found: " + ", ".join(missing))
    folder = tempfile.mkdtemp(prefix="nxsimp-")
    try:
        programs = [make_unit.Program(path) for path in make_unit.default_programs()]
        copies = [int(n) for n in options.copies.split(",")]
        units = [Unit(tools, folder, "unit%d" % n, make_unit.make_unit(programs, n)) for n in copies]
        for _ in range(options.runs):
            for unit in units:
                unit.measure()
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    print("%9s %12s %9s %10s %14s %6s %8s" % ("lines", "nodes visited", "rewrites", "ours s", "InstCombine s", "ratio",
                                            "ns/node"))
    for unit in units:
        print("%9d %13d %9d %10.4f %14.4f %6.2f %8.1f" % (unit.lines, unit.nodes, unit.rewrites, unit.ours, unit.llvm,
                                                       unit.ours / unit.llvm, unit.ours / unit.nodes * 1e9))
    print("time a node, largest unit against smallest: %.2f" % (
        (units[-1].ours / units[-1].nodes) / (units[0].ours / units[0].nodes)))
    return 0


if __name__ == "__main__":
    sys.exit(main())
