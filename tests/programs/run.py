#!/usr/bin/env python3
"""Take every program here through the tools and compare what it prints with what is on record.

For each NAME.c (also below target/):
  1. nxparse -o x.ic NAME.c
  2. nxrun x.ic ARGS                       must print NAME.expected and end with NAME.status (0 if there is none)
  3. nxdis x.ic > t; nxas t -o x2.ic       must give x.ic again, byte for byte
  4. for each level (and speed goal): nxopt --opt_level=L [--opt_for_speed=G] x.ic y.opt; then 2 and 3 on y.opt

Beside NAME.c: NAME.expected, NAME.args (one line of arguments), NAME.status, NAME.in (standard input).

usage: run.py --bin DIR [--levels off,0,1,2,3,4] [--goals 0,1,2,3,4,5] [--jobs N] [--only REGEX] [--keep DIR]
              [--unoptimized] [--timeout SECONDS] [--nxopt-args ...]
The tools are looked up below DIR by name. Without --goals, nxopt runs without --opt_for_speed.
Failures show program, level, command and a short difference. The last line is "N passed, M failed", where one is one
program at one level ("plain" is the unoptimized file); the exit status is 1 if anything failed, 2 if the set-up is wrong.
"""

import argparse
import concurrent.futures
import difflib
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
TOOLS = ("nxparse", "nxrun", "nxopt", "nxdis", "nxas")
OUTPUT_LIMIT = 4 * 1024 * 1024


def find_tools(root):
    """The newest executable file of each tool's name below root."""
    found = {}
    for folder, folders, files in os.walk(root):
        folders[:] = sorted(f for f in folders if f not in ("CMakeFiles", "Testing", ".git"))
        for name in files:
            path = os.path.join(folder, name)
            if name not in TOOLS or not os.access(path, os.X_OK) or not os.path.isfile(path):
                continue
            if name not in found or os.path.getmtime(path) > os.path.getmtime(found[name]):
                found[name] = path
    return found


def quoted(command):
    return " ".join(shlex.quote(c) for c in command)


class Failed(Exception):
    """One check failed; the text says how."""


class Runner:
    def __init__(self, options, tools):
        self.options = options
        self.tools = tools

    def run(self, command, stdin=None, status=0):
        """Run a command with the time limit; its output as bytes. Failed if the status is another one."""
        stdin = stdin or os.devnull
        try:
            with open(stdin, "rb") as source:
                done = subprocess.run(command, stdin=source, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                      timeout=self.options.timeout, check=False)
        except subprocess.TimeoutExpired:
            raise Failed("no end after %g s: %s" % (self.options.timeout, quoted(command))) from None
        if status is not None and done.returncode != status:
            how = "signal %d" % -done.returncode if done.returncode < 0 else "exit status %d" % done.returncode
            text = done.stderr.decode("utf-8", "replace").strip().splitlines()
            raise Failed("%s, not %d: %s\n%s" % (how, status, quoted(command), indent(text[:8])))
        return done.stdout[:OUTPUT_LIMIT]

    def check_output(self, program, file):
        command = [self.tools["nxrun"], file] + program.args
        got = self.run(command, program.stdin, program.status)
        if got != program.expected:
            raise Failed("wrong output: %s\n%s" % (quoted(command), short_diff(program.expected, got)))

    def check_text_form(self, file):
        text = self.run([self.tools["nxdis"], file])
        with open(file + ".txt", "wb") as out:
            out.write(text)
        command = [self.tools["nxas"], file + ".txt", "-o", file + ".again"]
        self.run(command)
        if read(file) != read(file + ".again"):
            raise Failed("nxdis and nxas give another file: %s" % quoted(command))

    def check_program(self, program):
        """All checks of one program: a list of (level, None or what failed)."""
        folder = os.path.join(self.options.work, program.name.replace("/", "-"))
        os.makedirs(folder, exist_ok=True)
        plain = os.path.join(folder, "plain.ic")
        results = []

        def attempt(level, *steps):
            try:
                for step in steps:
                    step()
                results.append((level, None))
            except Failed as failure:
                results.append((level, str(failure)))

        def parse():
            self.run([self.tools["nxparse"], "-o", plain, program.source])

        attempt("plain", parse, lambda: self.check_output(program, plain), lambda: self.check_text_form(plain))
        if not os.path.exists(plain):
            return results
        for level, goal in self.options.settings:
            title = "level %s" % level + ("" if goal is None else ", goal %s" % goal)
            out = os.path.join(folder, "level-%s%s.opt" % (level, "" if goal is None else "-goal-" + goal))
            command = [self.tools["nxopt"], "--opt_level=" + level]
            if goal is not None:
                command.append("--opt_for_speed=" + goal)
            command += self.options.nxopt_args + [plain, out]
            attempt(title, lambda c=command: self.run(c), lambda f=out: self.check_output(program, f),
                    lambda f=out: self.check_text_form(f))
        return results


class Program:
    def __init__(self, source):
        stem = source[: -len(".c")]
        self.name = os.path.relpath(stem, HERE)
        self.source = source
        self.expected = read(stem + ".expected")
        self.args = shlex.split(text_of(stem + ".args"))
        self.status = int(text_of(stem + ".status") or 0)
        self.stdin = stem + ".in" if os.path.exists(stem + ".in") else None


def read(path):
    with open(path, "rb") as file:
        return file.read()


def text_of(path):
    return read(path).decode().strip() if os.path.exists(path) else ""


def indent(lines):
    return "\n".join("      " + line[:200] for line in lines)


def short_diff(want, got):
    lines = difflib.unified_diff(want.decode("utf-8", "replace").splitlines(), got.decode("utf-8", "replace").splitlines(),
                                 "expected", "got", lineterm="", n=0)
    picked = [line for line in lines][2:12]
    return indent(picked or ["only the line ends differ"])


def programs(pattern):
    found = []
    for folder in (HERE, os.path.join(HERE, "target")):
        for name in sorted(os.listdir(folder)):
            if name.endswith(".c"):
                program = Program(os.path.join(folder, name))
                if not pattern or re.search(pattern, program.name):
                    found.append(program)
    return found


def main():
    parser = argparse.ArgumentParser(description="Run the test programs through nxparse, nxopt and nxrun.")
    parser.add_argument("--bin", required=True, help="folder below which the tools are")
    parser.add_argument("--levels", default="off,0,1,2,3,4", help="values for --opt_level, with commas")
    parser.add_argument("--goals", default="", help="values for --opt_for_speed, with commas; none: do not give the option")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 1)
    parser.add_argument("--only", default="", help="regular expression on the program names")
    parser.add_argument("--keep", default="", help="folder for the files made on the way; kept")
    parser.add_argument("--unoptimized", action="store_true", help="leave nxopt out")
    parser.add_argument("--timeout", type=float, default=20.0, help="seconds for each command")
    parser.add_argument("--nxopt-args", nargs=argparse.REMAINDER, default=[], help="everything behind goes to nxopt")
    options = parser.parse_args()

    tools = find_tools(options.bin)
    needed = [t for t in TOOLS if t != "nxopt" or not options.unoptimized]
    missing = [t for t in needed if t not in tools]
    if missing:
        print("no %s below %s" % (", ".join(missing), options.bin), file=sys.stderr)
        return 2
    goals = options.goals.split(",") if options.goals else [None]
    options.settings = [] if options.unoptimized else [(l, g) for l in options.levels.split(",") for g in goals]
    chosen = programs(options.only)
    if not chosen:
        print("no program matches", file=sys.stderr)
        return 2
    options.work = os.path.abspath(options.keep) if options.keep else tempfile.mkdtemp(prefix="nx-programs-")
    passed = failed = 0
    try:
        runner = Runner(options, tools)
        with concurrent.futures.ThreadPoolExecutor(max(1, options.jobs)) as pool:
            for program, results in zip(chosen, pool.map(runner.check_program, chosen)):
                for level, failure in results:
                    if failure is None:
                        passed += 1
                        continue
                    failed += 1
                    print("FAIL %s, %s: %s" % (program.name, level, failure), flush=True)
    finally:
        if not options.keep:
            shutil.rmtree(options.work, ignore_errors=True)
    print("%d passed, %d failed" % (passed, failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
