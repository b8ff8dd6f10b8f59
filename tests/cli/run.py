#!/usr/bin/env python3
"""Command lines of all tools: exit status, messages, and what lies in the folder afterwards.

    tests/cli/run.py --bin build/release [-v]

Every check runs in a folder of its own; after each command the files there are exactly those that the check names.
Ends with "N passed, M failed".
"""

import argparse
import os
import random
import re
import shutil
import struct
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "differential"))
from common import Scratch, Tools, run  # noqa: E402  (the path must be there first)

SECONDS = 20
CHECKS = []


class Wrong(Exception):
    """A check that failed, with what was seen."""


def check(function):
    CHECKS.append(function)
    return function


class Bench:
    """One check's folder and the ways to run a tool there."""

    def __init__(self, tools, sample, folder):
        self.tools, self.folder = tools, folder
        self.sample = sample  # bytes of a correct icode file
        self.has_front_end = not tools.missing("nxparse")

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, data):
        with open(self.path(name), "wb") as file:
            file.write(data)
        return name

    def run(self, tool, *words):
        """Runs a tool in the folder. A signal, a caught signal's status and a hang are always wrong."""
        outcome = run([getattr(self.tools, tool), *words], SECONDS, cwd=self.folder)
        if outcome.timed_out or outcome.status < 0 or outcome.status > 125 or outcome.status == 99:
            raise Wrong(describe(outcome))
        if tool == "nxopt" and outcome.status == 2:
            raise Wrong("a signal was caught: " + describe(outcome))
        return outcome

    def expect(self, outcome, status, out=None, err=None, files=()):
        """`out`, `err`: a pattern that must occur, "" for silence, None for anything. `files`: all that lies there."""
        for name, pattern, data in ("standard output", out, outcome.out), ("standard error", err, outcome.err):
            text = data.decode("utf-8", "replace")
            if pattern == "" and text:
                raise Wrong("%s is not empty: %s" % (name, describe(outcome)))
            if pattern and not re.search(pattern, text):
                raise Wrong("%s does not match %r: %s" % (name, pattern, describe(outcome)))
        if outcome.status != status:
            raise Wrong("expected status %d: %s" % (status, describe(outcome)))
        there = sorted(os.listdir(self.folder))
        if there != sorted(files):
            raise Wrong("left behind: %s, expected %s: %s" % (there, sorted(files), describe(outcome)))

    def refuse(self, outcome, err=None, files=()):
        """An error: status 1, something said, nothing left behind but `files`."""
        self.expect(outcome, 1, err=err, files=files)
        if not (outcome.err or outcome.out).strip():
            raise Wrong("an error without a word: " + describe(outcome))


def describe(outcome):
    return "%s -> %s\n        out: %r\n        err: %r" % (
        " ".join(outcome.command), outcome.what(), outcome.out[:300], outcome.err[:300])


def all_tools(bench):
    return ["nxopt", "nxrun", "nxdis", "nxas"] + (["nxparse"] if bench.has_front_end else [])


# ---- what all tools have in common


@check
def help_and_version(bench):
    for tool in all_tools(bench):
        bench.expect(bench.run(tool, "--help"), 0, out=r"(?s).{40}", err="")
        bench.expect(bench.run(tool, "--version"), 0, out=r"\d", err="")


@check
def no_arguments(bench):
    for tool in all_tools(bench):
        bench.refuse(bench.run(tool), err="(?i)usage|--help")


@check
def missing_input(bench):
    commands = [("nxopt", "none.ic"), ("nxrun", "none.ic"), ("nxdis", "none.ic"), ("nxas", "none.txt", "-o", "out.ic")]
    if bench.has_front_end:
        commands.append(("nxparse", "-o", "out.ic", "none.c"))
    for tool, *words in commands:
        bench.refuse(bench.run(tool, *words), err=r"none\.")


@check
def input_is_a_folder(bench):
    os.mkdir(bench.path("folder"))
    for tool, *words in [("nxopt", "folder", "out.ic"), ("nxrun", "folder"), ("nxdis", "folder"),
                         ("nxas", "folder", "-o", "out.ic")]:
        bench.refuse(bench.run(tool, *words), files=["folder"])


@check
def unknown_option(bench):
    bench.write("a.ic", bench.sample)
    for tool in all_tools(bench):
        bench.refuse(bench.run(tool, "--no_such_option", "a.ic"), err="no_such_option", files=["a.ic"])


@check
def output_cannot_be_opened(bench):
    bench.write("a.ic", bench.sample)
    bench.refuse(bench.run("nxopt", "a.ic", "no/such/out.opt"), err="Cannot Open Output icode File", files=["a.ic"])
    text = bench.run("nxdis", "a.ic").out
    bench.write("a.txt", text)
    bench.refuse(bench.run("nxas", "a.txt", "-o", "no/such/a.ic"), err="no/such", files=["a.ic", "a.txt"])
    if bench.has_front_end:
        shutil.copy(os.path.join(HERE, "sample.c"), bench.path("a.c"))
        bench.refuse(bench.run("nxparse", "-o", "no/such/a.ic", "a.c"), err="no/such", files=["a.ic", "a.txt", "a.c"])


@check
def disk_is_full(bench):
    bench.write("a.ic", bench.sample)
    bench.write("a.txt", bench.run("nxdis", "a.ic").out)
    for tool, *words in [("nxopt", "a.ic", "full"), ("nxas", "a.txt", "-o", "full")]:
        os.symlink("/dev/full", bench.path("full"))  # a tool that removes its broken output removes the link
        outcome = bench.run(tool, *words)
        if os.path.lexists(bench.path("full")):
            os.remove(bench.path("full"))
        bench.refuse(outcome, files=["a.ic", "a.txt"])
    shell = run(["sh", "-c", '"$0" a.ic > /dev/full', bench.tools.nxdis], SECONDS, cwd=bench.folder)
    bench.refuse(shell, files=["a.ic", "a.txt"])


# ---- nxopt


@check
def nxopt_names_its_output(bench):
    bench.write("dir.d.ic", bench.sample)
    bench.expect(bench.run("nxopt", "dir.d.ic"), 0, files=["dir.d.ic", "dir.d.opt"])
    bench.expect(bench.run("nxopt", "dir.d.ic", "other"), 0, files=["dir.d.ic", "dir.d.opt", "other"])


@check
def nxopt_messages(bench):
    bench.write("a.ic", bench.sample)
    outcome = bench.run("nxopt", "none.ic")
    if outcome.err != b"\n>> Cannot Open Input icode File, No such file or directory : none.ic, Aborting\n":
        raise Wrong(describe(outcome))
    bench.refuse(bench.run("nxopt", "a.ic", "b", "c"), err="\n>>>> OPTIMIZER ERROR: Garbage on command line\n\n",
                 files=["a.ic"])
    outcome = bench.run("nxopt", "a.ic", "b", "c", "d")
    if b"Unexpected options: a.ic b d" not in outcome.err:
        raise Wrong(describe(outcome))
    bench.refuse(outcome, files=["a.ic"])
    bench.refuse(bench.run("nxopt", "--opt_level=7", "a.ic"), files=["a.ic"])


@check
def nxopt_all_levels_keep_the_result(bench):
    bench.write("a.ic", bench.sample)
    before = bench.run("nxrun", "a.ic")
    for level in "off", "0", "1", "2", "3", "4":
        bench.expect(bench.run("nxopt", "--opt_level=" + level, "a.ic"), 0, files=["a.ic", "a.opt"])
        after = bench.run("nxrun", "a.opt")
        if (after.out, after.status) != (before.out, before.status):
            raise Wrong(describe(after))


@check
def nxopt_reads_its_own_output(bench):
    bench.write("a.ic", bench.sample)
    bench.expect(bench.run("nxopt", "a.ic", "b.ic"), 0, files=["a.ic", "b.ic"])
    bench.expect(bench.run("nxopt", "b.ic", "c.ic"), 0, files=["a.ic", "b.ic", "c.ic"])


@check
def nxopt_old_output_is_gone_after_an_error(bench):
    """A file that an earlier run left must not pass for the result of one that failed."""
    bench.write("a.ic", bench.sample[:-20])
    bench.write("a.opt", b"old")
    outcome = bench.run("nxopt", "a.ic")
    if outcome.status != 1:
        raise Wrong(describe(outcome))
    if os.path.exists(bench.path("a.opt")) and open(bench.path("a.opt"), "rb").read() != b"old":
        raise Wrong("a half-written a.opt: " + describe(outcome))


# ---- broken files


def readers(bench):
    return [("nxopt", ["a.ic", "out.opt"]), ("nxrun", ["--max-steps=100000", "a.ic"]), ("nxdis", ["a.ic"])]


def refuse_everywhere(bench, data, what, err=None):
    bench.write("a.ic", data)
    for tool, words in readers(bench):
        try:
            bench.refuse(bench.run(tool, *words), err=err, files=["a.ic"])
        except Wrong as wrong:
            raise Wrong("%s: %s" % (what, wrong)) from None


def magic_fields(data):
    """Offsets of version and CPU id in the file: behind the header of the magic record and its text of 10 bytes."""
    at = data.index(b"!<icode>\n\0") + 10
    version, cpu = struct.unpack_from("<hh", data, at)
    if cpu != 1000:
        raise Wrong("the CPU id is not where it is expected: %d" % cpu)
    if version != -73:
        raise Wrong("the front end's version is %d" % version)
    return at, at + 2


@check
def not_icode_at_all(bench):
    for what, data in [("empty", b""), ("one byte", b"\x08"), ("zeros", bytes(1000)), ("text", b"hello, world\n" * 50),
                       ("ones", b"\xff" * 1000)]:
        refuse_everywhere(bench, data, what)


@check
def wrong_magic(bench):
    at = bench.sample.index(b"!<icode>")
    data = bytearray(bench.sample)
    data[at + 2] ^= 0x20
    refuse_everywhere(bench, bytes(data), "magic")
    bench.write("a.ic", bytes(data))
    outcome = bench.run("nxopt", "a.ic")
    if b"\n>> Error when opening input icode file : a.ic, Aborting\n" not in outcome.err:
        raise Wrong(describe(outcome))


@check
def wrong_version_and_cpu(bench):
    version, cpu = magic_fields(bench.sample)
    for at, value in [(version, -87), (version, -72), (version, 0), (cpu, 999), (cpu, 1001), (cpu, 0)]:
        data = bytearray(bench.sample)
        struct.pack_into("<h", data, at, value)
        refuse_everywhere(bench, bytes(data), "%d at %d" % (value, at))
        bench.write("a.ic", bytes(data))
        outcome = bench.run("nxopt", "a.ic")
        if b"\n>> Error when opening input icode file : a.ic, Aborting\n" not in outcome.err:
            raise Wrong(describe(outcome))


@check
def truncated_files(bench):
    """No proper beginning of a file is a file."""
    size = len(bench.sample)
    chosen = random.Random(1)
    lengths = set(range(0, 48)) | set(range(size - 24, size)) | set(chosen.sample(range(48, size - 24), 150))
    for length in sorted(lengths):
        refuse_everywhere(bench, bench.sample[:length], "first %d of %d bytes" % (length, size))


@check
def damaged_files(bench):
    """One byte changed: an error with a message and no output, or (the byte did not matter to the form) a run."""
    chosen = random.Random(2)
    for _ in range(250):
        data = bytearray(bench.sample)
        at = chosen.randrange(len(data))
        data[at] = chosen.choice([0, 1, 0x7F, 0x80, 0xFF, data[at] ^ 1 << chosen.randrange(8)])
        bench.write("a.ic", bytes(data))
        for tool, words in readers(bench):
            outcome = bench.run(tool, *words)
            files = sorted(os.listdir(bench.folder))
            what = "byte %d changed to %d: " % (at, data[at])
            if outcome.status == 1 and tool != "nxrun":
                if not (outcome.err or outcome.out).strip():
                    raise Wrong(what + "an error without a word: " + describe(outcome))
                if files != ["a.ic"]:
                    raise Wrong(what + "left behind %s: %s" % (files, describe(outcome)))
            elif outcome.status not in (0, 3) and tool != "nxrun":
                raise Wrong(what + describe(outcome))
            if os.path.exists(bench.path("out.opt")):
                os.remove(bench.path("out.opt"))


# ---- nxas, nxdis


@check
def text_and_back(bench):
    bench.write("a.ic", bench.sample)
    bench.write("a.txt", bench.run("nxdis", "a.ic").out)
    bench.expect(bench.run("nxas", "a.txt", "-o", "b.ic"), 0, out="", err="", files=["a.ic", "a.txt", "b.ic"])
    if open(bench.path("b.ic"), "rb").read() != bench.sample:
        raise Wrong("nxas(nxdis(f)) differs from f")


@check
def text_with_errors(bench):
    """A damaged line of text is refused with its line and column, and no file is made."""
    bench.write("a.ic", bench.sample)
    lines = bench.run("nxdis", "a.ic").out.split(b"\n")
    os.remove(bench.path("a.ic"))
    chosen = random.Random(3)
    for at in chosen.sample(range(len(lines) - 1), 40):
        damaged = lines[:at] + [b"?? " + lines[at]] + lines[at + 1:]
        bench.write("a.txt", b"\n".join(damaged))
        outcome = bench.run("nxas", "a.txt", "-o", "b.ic")
        if outcome.status == 0 and lines[at].strip().startswith((b";", b"#", b"//")) or not lines[at].strip():
            os.path.exists(bench.path("b.ic")) and os.remove(bench.path("b.ic"))
            continue
        bench.refuse(outcome, err=r"a\.txt:%d:\d+: " % (at + 1), files=["a.txt"])


# ---- nxrun


@check
def nxrun_status_and_counts(bench):
    bench.write("a.ic", bench.sample)
    bench.expect(bench.run("nxrun", "a.ic"), 7, out=r"^27 13\.5\n$", err="", files=["a.ic"])
    bench.expect(bench.run("nxrun", "--count", "a.ic"), 7, out=r"^27 13\.5\n$", err=r'(?s)^\s*\{.*"loads".*"cost".*\}\s*$',
                 files=["a.ic"])
    bench.expect(bench.run("nxrun", "--count=c.json", "a.ic"), 7, err="", files=["a.ic", "c.json"])


@check
def nxrun_step_limit(bench):
    bench.write("a.ic", bench.sample)
    bench.expect(bench.run("nxrun", "--max-steps=10", "a.ic"), 3, err="step limit", files=["a.ic"])


# ---- nxparse


@check
def nxparse_errors(bench):
    if not bench.has_front_end:
        return
    bench.write("bad.c", b"int f(void) { return undeclared; }\n")
    bench.refuse(bench.run("nxparse", "-o", "bad.ic", "bad.c"), err=r"bad\.c:1:\d+: ", files=["bad.c"])
    bench.write("vla.c", b"int f(int n) {\n  int a[n];\n  return a[0];\n}\n")
    bench.refuse(bench.run("nxparse", "-o", "vla.ic", "vla.c"), err=r"vla\.c:2:\d+: ", files=["bad.c", "vla.c"])
    bench.write("one.c", b"int one;\n")
    bench.write("two.c", b"int two;\n")
    files = ["bad.c", "vla.c", "one.c", "two.c"]
    bench.refuse(bench.run("nxparse", "-o", "x.ic", "one.c", "two.c"), files=files)
    bench.expect(bench.run("nxparse", "-E", "-DN=41", "one.c"), 0, out="int one;", files=files)


def sample_bytes(tools):
    with Scratch() as folder:
        ic = os.path.join(folder, "sample.ic")
        if tools.missing("nxparse"):
            made = run([tools.nxas, os.path.join(HERE, "sample.nxa"), "-o", ic], SECONDS)
        else:
            made = run([tools.nxparse, "-w", "-o", ic, "sample.c"], SECONDS, cwd=HERE)
        if made.status != 0:
            sys.exit("the sample cannot be made: " + describe(made))
        with open(ic, "rb") as file:
            return file.read()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", default="build/release", help="the build folder")
    parser.add_argument("-v", "--verbose", action="store_true", help="name every check")
    parser.add_argument("only", nargs="*", help="names of checks (default: all)")
    options = parser.parse_args()
    tools = Tools(options.bin)
    missing = tools.missing("nxopt", "nxrun", "nxdis", "nxas")
    if missing:
        parser.error("not found: " + ", ".join(missing))
    sample = sample_bytes(tools)
    passed = failed = 0
    for function in CHECKS:
        if options.only and function.__name__ not in options.only:
            continue
        with Scratch() as folder:
            try:
                function(Bench(tools, sample, folder))
                passed += 1
                if options.verbose:
                    print("passed: " + function.__name__, flush=True)
            except Wrong as wrong:
                failed += 1
                print("FAILED: %s: %s" % (function.__name__, wrong), flush=True)
    print("%d passed, %d failed" % (passed, failed))
    return 1 if failed or not passed else 0


if __name__ == "__main__":
    sys.exit(main())
