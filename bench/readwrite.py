#!/usr/bin/env python3
"""Reading and writing a translation unit: nxopt beside LLVM's opt, on the same C source, in one run.

    bench/readwrite.py --bin build/release [--copies 1,10,100] [--runs 5] [--json FILE]

For each size one unit of real C is made (bench/make_unit.py), translated by nxparse and by clang-14 (-O0, bitcode), and
then taken through   nxopt --opt_level=off   and   opt-14 -passes=verify ,   each reading its file and writing it again.
Shown: processor time (user and system, the best of the runs, alternating) and peak memory; the ratio of the two
programs; time and memory a node of icode; and how time a node grows from the smallest unit to the largest.

Time a node of the largest unit and of the smallest are compared after the time of an almost empty unit, which is
starting the program, has been taken off both. Memory a node is peak memory less that of the empty unit.
"""

import argparse
import json
import os
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


def measured(peak, command, folder):
    """(seconds of processor time, peak memory in bytes) of a command, by nxpeak."""
    seconds, size = build([peak, *command], folder).split()
    return float(seconds), int(size)


def build(command, folder):
    done = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=SECONDS,
                          check=False)
    if done.returncode != 0:
        sys.exit("%s: %s" % (" ".join(command), done.stderr[:500].decode("utf-8", "replace")))
    return done.stdout.decode()


class Unit:
    """One source in both forms, with its number of nodes."""

    def __init__(self, tools, counter, peak, folder, name, source):
        self.name, self.folder, self.peak = name, folder, peak
        with open(os.path.join(folder, name + ".c"), "w", encoding="utf-8") as file:
            file.write(source)
        self.lines = source.count("\n")
        build([tools.nxparse, "-w", "-o", name + ".ic", name + ".c"], folder)
        build(["clang-14", "-m32", "-O0", "-w", "-emit-llvm", "-c", name + ".c", "-o", name + ".bc"], folder)
        self.nodes = int(build([counter, name + ".ic"], folder).split()[0])
        self.ours_command = [tools.nxopt, "--opt_level=off", name + ".ic", name + ".opt"]
        self.llvm_command = ["opt-14", "-passes=verify", name + ".bc", "-o", name + ".out.bc"]
        self.ours = self.llvm = (float("inf"), float("inf"))

    def measure(self):
        """One more run of each; the best time and the smallest peak stand."""
        self.ours = tuple(map(min, self.ours, measured(self.peak, self.ours_command, self.folder)))
        self.llvm = tuple(map(min, self.llvm, measured(self.peak, self.llvm_command, self.folder)))

    def size(self, extension):
        return os.path.getsize(os.path.join(self.folder, self.name + extension))


def report(units, empty):
    print("%9s %9s %11s %11s | %9s %9s %6s | %9s %9s %6s | %8s %8s" % (
        "lines", "nodes", "icode B", "bitcode B", "nxopt s", "LLVM s", "ratio", "nxopt MB", "LLVM MB", "ratio",
        "ns/node", "B/node"))
    rows = []
    for unit in units:
        row = {
            "lines": unit.lines, "nodes": unit.nodes, "icode_bytes": unit.size(".ic"), "bitcode_bytes": unit.size(".bc"),
            "nxopt_seconds": unit.ours[0], "llvm_seconds": unit.llvm[0], "time_ratio": unit.ours[0] / unit.llvm[0],
            "nxopt_bytes": unit.ours[1], "llvm_bytes": unit.llvm[1], "memory_ratio": unit.ours[1] / unit.llvm[1],
            "ns_per_node": max(0.0, unit.ours[0] - empty.ours[0]) / unit.nodes * 1e9,
            "bytes_per_node": max(0, unit.ours[1] - empty.ours[1]) / unit.nodes,
        }
        rows.append(row)
        print("%9d %9d %11d %11d | %9.3f %9.3f %6.2f | %9.1f %9.1f %6.2f | %8.0f %8.0f" % (
            row["lines"], row["nodes"], row["icode_bytes"], row["bitcode_bytes"], row["nxopt_seconds"],
            row["llvm_seconds"], row["time_ratio"], row["nxopt_bytes"] / 1e6, row["llvm_bytes"] / 1e6,
            row["memory_ratio"], row["ns_per_node"], row["bytes_per_node"]))
    return rows


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", default="build/release", help="the build folder")
    parser.add_argument("--copies", default="", help="how often the programs are copied, comma separated "
                        "(default: units of about 10, 30, 100, 300 and 1000 thousand nodes)")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--json", help="also write the figures here")
    options = parser.parse_args()
    tools = Tools(options.bin)
    counter = os.path.abspath(os.path.join(options.bin, "bench", "nxcount"))
    peak = os.path.abspath(os.path.join(options.bin, "bench", "nxpeak"))
    missing = tools.missing("nxopt", "nxparse")
    missing += [p for p in ("clang-14", "opt-14", "gcc", "nm") if not shutil.which(p)]
    missing += [program for program in (counter, peak) if not os.access(program, os.X_OK)]
    if missing:
        parser.error("not found: " + ", ".join(missing))

    folder = tempfile.mkdtemp(prefix="nxbench-")
    try:
        programs = [make_unit.Program(path) for path in make_unit.default_programs()]
        empty = Unit(tools, counter, peak, folder, "empty", "int main(void) { return 0; }\n")
        if options.copies:
            copies = [int(n) for n in options.copies.split(",")]
        else:
            one = Unit(tools, counter, peak, folder, "one", make_unit.make_unit(programs, 1))
            copies = sorted({max(1, round(n / one.nodes)) for n in (10e3, 30e3, 100e3, 300e3, 1e6)})
        units = [Unit(tools, counter, peak, folder, "unit%d" % n, make_unit.make_unit(programs, n)) for n in copies]
        for _ in range(options.runs):
            for unit in [empty] + units:
                unit.measure()
        rows = report(units, empty)
        small, large = rows[0], rows[-1]
        if small["ns_per_node"] > 0 and len(rows) > 1:
            print("time a node, %d nodes against %d: %.2f" % (
                large["nodes"], small["nodes"], large["ns_per_node"] / small["ns_per_node"]))
        if options.json:
            with open(options.json, "w", encoding="utf-8") as file:
                json.dump({"units": rows}, file, indent=1)
    finally:
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    main()
