#!/usr/bin/env python3
"""Broken inputs through the programs as they are installed.

    tests/fuzz/regression.py --bin build/release [--mutants N] [FILE ...]

1. Every file of tests/fuzz/kept, which once crashed, hung or fooled a tool.
2. Mutants of real files: bytes changed, removed, repeated, pieces of two files joined; the same ones on every run.

nxopt (validators on), nxrun and nxdis must end by themselves: no signal, no hang, no more memory than the limit, status
0 or 1 (nxrun: whatever the program gives). An error says something and leaves no output; an output can be read again.
Ends with "N passed, M failed".
"""

import argparse
import glob
import os
import random
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "differential"))
from common import Scratch, Tools, run  # noqa: E402

SECONDS = 20


def fault(tools, folder, level):
    """Runs the tools on in.ic; what went wrong, or None."""

    def ended(outcome, allowed):
        if outcome.timed_out or outcome.status < 0 or outcome.status == 99:
            return "%s %s: %r" % (os.path.basename(outcome.command[0]), outcome.what(), outcome.err[-800:])
        if allowed is not None and outcome.status not in allowed:
            return "%s %s: %r" % (os.path.basename(outcome.command[0]), outcome.what(), outcome.err[-300:])
        if allowed is not None and outcome.status == 1 and not (outcome.err + outcome.out).strip():
            return "%s: an error without a word" % os.path.basename(outcome.command[0])
        return None

    output = os.path.join(folder, "out.opt")
    optimized = run([tools.nxopt, "--opt_level=" + level, "--enable:verify", "in.ic", "out.opt"], SECONDS, cwd=folder)
    wrong = ended(optimized, (0, 1))
    if not wrong and os.path.exists(output) != (optimized.status == 0):
        wrong = "nxopt: status %d, but the output is %s" % (
            optimized.status, "there" if os.path.exists(output) else "not there")
    if not wrong and optimized.status == 0:
        wrong = ended(run([tools.nxdis, "out.opt"], SECONDS, cwd=folder), (0,))
    wrong = wrong or ended(run([tools.nxdis, "in.ic"], SECONDS, cwd=folder), (0, 1))
    wrong = wrong or ended(run([tools.nxrun, "--max-steps=200000", "in.ic"], SECONDS, cwd=folder), None)
    if os.path.exists(output):
        os.remove(output)
    return wrong


def mutant(pick, files):
    """One broken file made from the real ones."""
    data = bytearray(pick.choice(files))
    for _ in range(pick.choice([1, 1, 1, 2, 4, 8])):
        at = pick.randrange(len(data))
        length = min(pick.choice([1, 1, 2, 4, 8, 40]), len(data) - at)
        kind = pick.randrange(6)
        if kind == 0:
            data[at] ^= 1 << pick.randrange(8)
        elif kind == 1:
            data[at] = pick.choice([0, 1, 2, 0x3F, 0x40, 0x7F, 0x80, 0xC0, 0xFE, 0xFF])
        elif kind == 2:
            del data[at:at + length]
        elif kind == 3:
            data[at:at] = data[at:at + length]
        elif kind == 4:
            data[at:at + length] = bytes(pick.randrange(256) for _ in range(length))
        else:
            other = pick.choice(files)
            start = pick.randrange(len(other))
            data[at:at + length] = other[start:start + length]
        if not data:
            data = bytearray(b"\0")
    return bytes(data)


def real_files(tools, folder):
    files = []
    sources = [os.path.join(HERE, "..", "cli", "sample.c")] + sorted(glob.glob(os.path.join(HERE, "seeds", "*.c")))
    sources += sorted(glob.glob(os.path.join(HERE, "..", "programs", "*.c")))[::12]
    for source in sources:
        made = run([tools.nxparse, "-w", "-o", "real.ic", os.path.abspath(source)], SECONDS, cwd=folder)
        if made.status == 0:
            with open(os.path.join(folder, "real.ic"), "rb") as file:
                files.append(file.read())
    return files


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", default="build/release", help="the build folder")
    parser.add_argument("--mutants", type=int, default=400)
    parser.add_argument("--keep", help="a folder for mutants that fail")
    parser.add_argument("files", nargs="*", help="only these (default: tests/fuzz/kept, then the mutants)")
    options = parser.parse_args()
    tools = Tools(options.bin)
    missing = tools.missing("nxopt", "nxdis", "nxrun")
    if missing:
        parser.error("not found: " + ", ".join(missing))

    passed = failed = 0
    with Scratch() as folder:

        def attempt(name, data, levels):
            nonlocal passed, failed
            with open(os.path.join(folder, "in.ic"), "wb") as file:
                file.write(data)
            for level in levels:
                wrong = fault(tools, folder, level)
                if wrong:
                    failed += 1
                    print("FAILED: %s at level %s: %s" % (name, level, wrong), flush=True)
                    if options.keep:
                        os.makedirs(options.keep, exist_ok=True)
                        with open(os.path.join(options.keep, name.replace(" ", "-")), "wb") as file:
                            file.write(data)
                    return
            passed += 1

        for path in options.files or sorted(glob.glob(os.path.join(HERE, "kept", "*"))):
            with open(path, "rb") as file:
                attempt(os.path.basename(path), file.read(), ["off", "2", "4"])
        if not options.files and not tools.missing("nxparse"):
            files = real_files(tools, folder)
            if not files:
                sys.exit("no real file could be made")
            for number in range(options.mutants):
                pick = random.Random(number)
                attempt("mutant %d" % number, mutant(pick, files), [pick.choice(["off", "0", "1", "2", "3", "4"])])
    print("%d passed, %d failed" % (passed, failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
