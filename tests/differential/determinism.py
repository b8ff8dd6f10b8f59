#!/usr/bin/env python3
"""The same input gives the same bytes, whatever surrounds the process.

    tests/differential/determinism.py --bin build/release [--levels off,0,1,2,3,4] [PROGRAM.c ...]

Each program (default: a choice from tests/programs, examples and two csmith programs) is translated by nxparse and
optimized at every level under several surroundings: other and much larger environment variables, memory filled with
other patterns, one or many arenas, addresses randomized or not, another folder, another stack limit. Compared are the
front end's file, the optimized file, the information file and (at one level) the debug log, of which lines with times
and sizes are left out. Ends with "N passed, M failed".
"""

import argparse
import glob
import os
import re
import shutil
import sys

from common import RUNTIME, Scratch, Tools, run

SECONDS = 120
ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")

# name -> (environment to add, words in front of the command)
SURROUNDINGS = {
    "plain": ({}, []),
    "large environment": ({"NX_FILLER_%d" % i: "x" * 997 for i in range(60)}, []),
    "other locale and zone": ({"LC_ALL": "C.UTF-8", "LANG": "de_DE", "TZ": "Asia/Tokyo", "COLUMNS": "7"}, []),
    "memory filled with 85": ({"MALLOC_PERTURB_": "85"}, []),
    "memory filled with 254": ({"MALLOC_PERTURB_": "254", "MALLOC_ARENA_MAX": "1"}, []),
    "every block mapped": ({"MALLOC_MMAP_THRESHOLD_": "4096", "MALLOC_TOP_PAD_": "0"}, []),
    "fixed addresses": ({}, ["setarch", "-R"]),
    "old address layout": ({}, ["setarch", "-L"]),
    "small stack": ({}, ["prlimit", "--stack=4194304"]),
}

# Lines of the debug log that tell of the run and not of the program.
LOG_NOISE = re.compile(rb"^.*(sec for pass|net bytes allocated|seconds|0x[0-9a-f]{6,}).*\n", re.MULTILINE)


def environment(extra):
    base = {"PATH": os.environ.get("PATH", "/usr/bin:/bin"), "HOME": "/"}
    return {**base, **extra}


def usable(words):
    """Whether this machine allows the words in front (a container may forbid to change the address layout)."""
    return not words or run([*words, "true"], 10, limited=False).status == 0


def contents(folder):
    """All files of a folder with what must be equal in them."""
    result = {}
    for name in sorted(os.listdir(folder)):
        with open(os.path.join(folder, name), "rb") as file:
            data = file.read()
        result[name] = LOG_NOISE.sub(b"", data) if name.endswith(".odb") else data
    return result


def products(tools, source, surrounding, levels, folder):
    """Everything the tools make of one program, as {what: bytes}. The folder is fresh, the names in it the same."""
    extra, front = surrounding
    env = environment(extra)
    made = {}

    def go(*command):
        outcome = run([*front, *command], SECONDS, cwd=folder, env=env)
        if outcome.status != 0:
            raise RuntimeError("%s: %s: %s" % (" ".join(outcome.command), outcome.what(), outcome.err[:400]))

    shutil.copy(source, os.path.join(folder, "p.c"))
    go(tools.nxparse, "-w", "-I", RUNTIME, "-o", "p.ic", "p.c")
    for level in levels:
        log = ["--print_debug"] if level == "3" else []
        go(tools.nxopt, "--opt_level=" + level, "--gen_opt_info=2", *log, "p.ic", "p.opt")
        for name, data in contents(folder).items():
            made["%s at level %s" % (name, level)] = data
        for name in os.listdir(folder):
            if name not in ("p.c", "p.ic"):
                os.remove(os.path.join(folder, name))
    return made


def csmith_programs(folder):
    """Two generated programs, if the generator is there."""
    if not shutil.which("csmith"):
        return []
    paths = []
    for seed in 7, 21:
        path = os.path.join(folder, "csmith%d.c" % seed)
        made = run(["csmith", "--seed", str(seed), "--no-int8", "--no-uint8", "--no-packed-struct", "--output", path],
                   20, cwd=folder, limited=False)
        if made.status == 0:
            paths.append(path)
    return paths


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", default="build/release", help="the build folder")
    parser.add_argument("--levels", default="off,0,1,2,3,4")
    parser.add_argument("programs", nargs="*", help="C files")
    options = parser.parse_args()
    tools = Tools(options.bin)
    missing = tools.missing("nxopt", "nxparse")
    if missing:
        parser.error("not found: " + ", ".join(missing))

    passed = failed = 0
    with Scratch() as generated:
        programs = options.programs
        if not programs:
            here = sorted(glob.glob(os.path.join(ROOT, "tests", "programs", "*.c")))
            programs = here[:: max(1, len(here) // 6)] + sorted(glob.glob(os.path.join(ROOT, "examples", "*.c")))
            programs += csmith_programs(generated)
        if not programs:
            parser.error("no program")
        names = [name for name, (_, words) in SURROUNDINGS.items() if usable(words)]
        for program in programs:
            first = None
            differing = []
            try:
                for name in names:
                    with Scratch() as folder:
                        made = products(tools, program, SURROUNDINGS[name], options.levels.split(","), folder)
                    if first is None:
                        first = made
                    differing += ["%s (%s)" % (what, name) for what in sorted(first.keys() | made.keys())
                                  if first.get(what) != made.get(what)]
            except RuntimeError as error:
                differing.append(str(error))
            if differing:
                failed += 1
                print("FAILED: %s: %s" % (os.path.basename(program), "; ".join(differing[:5])), flush=True)
            else:
                passed += 1
    print("determinism: %d surroundings: %s" % (len(names), ", ".join(names)))
    print("%d passed, %d failed" % (passed, failed))
    return 1 if failed or not passed else 0


if __name__ == "__main__":
    sys.exit(main())
