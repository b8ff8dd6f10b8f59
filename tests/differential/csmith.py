#!/usr/bin/env python3
"""Random C programs: the native result, the unoptimized icode's and the optimized icode's at every level must agree.

For each seed one program is generated (the seed also picks the language features), built natively with 32-bit ints,
translated by nxparse, executed by nxrun, and taken through nxopt at each level and executed again. Compared: standard
output (a checksum of all globals) and exit status. Further checks on each seed: nxas(nxdis(f)) is f for the front
end's file and the optimized one, and nxopt accepts its own output and keeps its result.

A program that runs too long natively or in the interpreter is skipped and never counts as passed. Of a mismatch the C
file, the commands and both outputs are kept (--keep). Ends with "N passed, M failed, K skipped".
"""

import argparse
import concurrent.futures
import hashlib
import os
import shlex
import shutil
import sys
import threading
import time

from common import NATIVE, RUNTIME, Scratch, Tools, run

# Never 8-bit types: a character of the target has 16 bits. Packed layouts do not exist there either.
COMMON = ["--no-int8", "--no-uint8", "--no-packed-struct", "--concise"]
NO_VOLATILES = ["--no-volatiles", "--no-volatile-pointers", "--no-vol-struct-union-fields"]
FEATURES = [
    ("everything", []),
    ("no bit-fields", ["--no-bitfields"]),
    ("no volatiles", NO_VOLATILES),
    ("no unions", ["--no-unions"]),
    ("no pointers", ["--no-pointers"]),
    ("plain loops and arrays", ["--no-pointers", "--no-unions", "--no-bitfields", "--no-jumps"] + NO_VOLATILES),
    ("no 64-bit integers", ["--no-longlong", "--no-math64"]),
    ("many small functions", ["--max-funcs", "20", "--max-block-size", "3", "--max-expr-complexity", "5"]),
    ("deep expressions", ["--max-funcs", "5", "--max-expr-complexity", "20"] + NO_VOLATILES),
    ("deep blocks, no jumps", ["--no-jumps", "--max-block-depth", "7", "--max-block-size", "3"]),
    ("no constants, no aggregates", ["--no-consts", "--no-structs", "--no-unions"]),
    ("structs by value", ["--no-unions", "--max-struct-nested-level", "3", "--no-pointers"]),
    ("floats", ["--float", "--strict-float", "--no-unions"]),
]

NATIVE_SECONDS = 2      # a program that needs longer natively is skipped
TOOL_SECONDS = 60       # a tool that needs longer fails
MAX_STEPS = 40_000_000  # interpreter steps before a program is skipped as too long
SLACK = 3               # an optimized program may take this many times the steps of the unoptimized limit


class Failure(Exception):
    """A seed that failed: what happened, and the outcomes to show."""

    def __init__(self, what, *outcomes):
        super().__init__(what)
        self.outcomes = outcomes


class Skip(Exception):
    """A seed that says nothing: why."""


def features_of(seed):
    """The features of a seed, spread so that any run of consecutive seeds meets them all."""
    return FEATURES[seed % len(FEATURES)]


def ran_too_long(outcome):
    """The interpreter stops at its step limit with its trap status and says so."""
    return outcome.timed_out or (outcome.status == 3 and b"step limit" in outcome.err)


def must_succeed(outcome):
    if outcome.timed_out or outcome.status != 0:
        raise Failure("%s: %s" % (os.path.basename(outcome.command[0]), outcome.what()), outcome)


def check_round_trip(tools, folder, name):
    """The file is well formed, and text and back gives the same bytes."""
    path = os.path.join(folder, name)
    text = run([tools.nxdis, path], TOOL_SECONDS)
    must_succeed(text)
    with open(path + ".txt", "wb") as out:
        out.write(text.out)
    must_succeed(run([tools.nxas, "--check", path + ".txt", "-o", path + ".again"], TOOL_SECONDS))
    with open(path, "rb") as one, open(path + ".again", "rb") as two:
        if one.read() != two.read():
            raise Failure("nxas(nxdis(%s)) differs from it" % name)


def optimized_key(data, option):
    """The bytes of an output without the option that its command-line comment quotes, so that equal code is equal."""
    return hashlib.sha256(data.replace(option.encode(), b"")).digest()


def behaves_undefined(source, folder):
    """The program itself does what C leaves undefined, so that its results may differ: signed overflow, a conversion of
    a floating value that does not fit, a division by zero, an index outside its array."""
    probe = os.path.join(folder, "p.probe")
    faults = "signed-integer-overflow,float-cast-overflow,integer-divide-by-zero,bounds"
    native = [word for word in NATIVE if word != "-fwrapv"]
    built = run([*native, "-fsanitize=" + faults, "-fno-sanitize-recover=all", source, "-o", probe, "-lm"], TOOL_SECONDS,
                limited=False)
    must_succeed(built)
    return b"runtime error" in run([probe], NATIVE_SECONDS * 10, limited=False).err


def check_seed(options, seed, folder):
    """Raises Failure or Skip; returns when everything agrees."""
    tools = options.tools
    source = os.path.join(folder, "p.c")
    generated = run(["csmith", "--seed", str(seed), *COMMON, *features_of(seed)[1], "--output", source], 20, cwd=folder,
                    limited=False)
    if generated.timed_out or generated.status != 0:
        raise Skip("csmith: " + generated.what())

    native = os.path.join(folder, "p.native")
    built = run([*NATIVE, source, "-o", native, "-lm"], TOOL_SECONDS, limited=False)
    must_succeed(built)
    want = run([native], NATIVE_SECONDS)
    if want.timed_out:
        raise Skip("too slow natively")
    if want.status != 0 or b"checksum = " not in want.out:
        raise Failure("the native program: " + want.what(), want)

    def same_result(file, steps, what):
        got = run([tools.nxrun, "--max-steps=%d" % steps, file], TOOL_SECONDS * 2, cwd=folder)
        if ran_too_long(got):
            return False
        if (got.out, got.status) != (want.out, want.status):
            if behaves_undefined(source, folder):
                raise Skip("undefined behaviour")
            raise Failure(what, want, got)
        return True

    must_succeed(run([tools.nxparse, "-w", "-I", RUNTIME, "-o", "p.ic", "p.c"], TOOL_SECONDS, cwd=folder))
    if not same_result("p.ic", MAX_STEPS, "unoptimized"):
        raise Skip("more than %d steps" % MAX_STEPS)
    if options.round_trip:
        check_round_trip(tools, folder, "p.ic")

    agreed = set()
    goals = options.goals or [None]
    for level in options.levels:
        for goal in goals:
            extra = [] if goal is None else ["--opt_for_speed=" + goal]
            option = "--opt_level=" + level
            command = [tools.nxopt, option, *extra, *options.nxopt, "p.ic", "p.opt"]
            if "float" in " ".join(features_of(seed)[1]):
                command.insert(1, "--fp_reassoc=off")
            must_succeed(run(command, TOOL_SECONDS, cwd=folder))
            with open(os.path.join(folder, "p.opt"), "rb") as file:
                key = optimized_key(file.read(), option)
            if key in agreed:
                continue  # the very code that has already been run
            what = "level " + level + ("" if goal is None else ", goal " + goal)
            if not same_result("p.opt", MAX_STEPS * SLACK, what):
                raise Failure(what + ": runs %d times longer than unoptimized" % SLACK)
            agreed.add(key)
    if options.round_trip and options.levels:
        check_round_trip(tools, folder, "p.opt")
        must_succeed(run([tools.nxopt, "--opt_level=2", *options.nxopt, "p.opt", "p2.opt"], TOOL_SECONDS, cwd=folder))
        if not same_result("p2.opt", MAX_STEPS * SLACK, "optimized twice"):
            raise Failure("optimized twice: runs %d times longer than unoptimized" % SLACK)


def show(outcome):
    """An outcome as text for a person, cut where it gets long."""
    lines = ["$ " + shlex.join(outcome.command), "-> " + outcome.what()]
    for name, data in ("stdout", outcome.out), ("stderr", outcome.err):
        if data:
            lines.append(name + ": " + data[:1500].decode("utf-8", "replace").rstrip())
    return "\n".join(lines)


def keep(options, seed, folder, failure):
    """Saves what is needed to look at a failure; returns where."""
    target = os.path.join(options.keep, "seed%d" % seed)
    shutil.rmtree(target, ignore_errors=True)
    os.makedirs(target)
    for name in "p.c", "p.ic", "p.opt":
        if os.path.exists(os.path.join(folder, name)):
            shutil.copy(os.path.join(folder, name), target)
    with open(os.path.join(target, "report.txt"), "w", encoding="utf-8") as report:
        report.write("seed %d (%s): %s\n\n" % (seed, features_of(seed)[0], failure))
        report.write("\n\n".join(show(outcome) for outcome in failure.outcomes) + "\n")
    return target


class Tally:
    """Counts and the printing of verdicts, shared by the workers."""

    def __init__(self):
        self.lock = threading.Lock()
        self.passed = self.failed = self.skipped = 0

    def record(self, options, seed, verdict, detail):
        with self.lock:
            setattr(self, verdict, getattr(self, verdict) + 1)
            if verdict == "failed" or options.verbose:
                print("seed %d: %s%s" % (seed, verdict, ": " + detail if detail else ""), flush=True)


def work(options, tally, seed):
    if time.monotonic() > options.deadline or (options.max_failures and tally.failed >= options.max_failures):
        return
    with Scratch() as folder:
        try:
            check_seed(options, seed, folder)
            tally.record(options, seed, "passed", features_of(seed)[0])
        except Skip as skip:
            tally.record(options, seed, "skipped", str(skip))
        except Failure as failure:
            place = keep(options, seed, folder, failure)
            detail = "%s (%s)\n    kept in %s\n" % (failure, features_of(seed)[0], place)
            last = failure.outcomes[-1:]
            tally.record(options, seed, "failed", detail + "\n".join("    " + line for o in last for line in show(o).split("\n")[:12]))


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", default="build/release", help="the build folder")
    parser.add_argument("--seeds", type=int, default=40, help="how many programs")
    parser.add_argument("--first", type=int, default=1, help="the first seed")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--levels", default="off,0,1,2,3,4", help="levels of nxopt, comma separated; empty: front end and interpreter alone")
    parser.add_argument("--goals", default="", help="values of --opt_for_speed, comma separated (default: leave unset)")
    parser.add_argument("--nxopt", action="append", default=[], help="a further option for nxopt")
    parser.add_argument("--no-round-trip", dest="round_trip", action="store_false",
                        help="leave out the checks by nxdis/nxas and of optimizing twice")
    parser.add_argument("--time-limit", type=float, default=1e9, help="start no further seed after so many seconds")
    parser.add_argument("--min-passes", type=int, default=None, help="fewer passes are a failure (default: 3 of 5 seeds)")
    parser.add_argument("--max-failures", type=int, default=0, help="stop after so many failures (0: never)")
    parser.add_argument("--keep", default="csmith-failures", help="where failing programs go")
    parser.add_argument("-v", "--verbose", action="store_true", help="a line for every seed")
    options = parser.parse_args()
    options.tools = Tools(options.bin)
    options.levels = [level for level in options.levels.split(",") if level]
    options.goals = [goal for goal in options.goals.split(",") if goal]
    if options.min_passes is None:
        options.min_passes = options.seeds * 3 // 5 if options.time_limit >= 1e9 else 1
    missing = options.tools.missing("nxparse", "nxrun", "nxdis", "nxas", *(["nxopt"] if options.levels else []))
    missing += [program for program in ("csmith", "gcc") if not shutil.which(program)]
    if missing:
        parser.error("not found: " + ", ".join(missing))
    return options


def main():
    options = arguments()
    began = time.monotonic()
    options.deadline = began + options.time_limit
    tally = Tally()
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        try:
            for done in [pool.submit(work, options, tally, options.first + i) for i in range(options.seeds)]:
                done.result()
        except KeyboardInterrupt: # what was found so far counts
            pool.shutdown(cancel_futures=True)
            print("interrupted")
    too_few = tally.passed < options.min_passes
    if too_few:
        print("only %d programs passed, at least %d must" % (tally.passed, options.min_passes))
    print("csmith: seeds %d to %d, %.0f s" % (options.first, options.first + options.seeds - 1, time.monotonic() - began))
    print("%d passed, %d failed, %d skipped" % (tally.passed, tally.failed, tally.skipped))
    return 1 if tally.failed or too_few else 0


if __name__ == "__main__":
    sys.exit(main())
