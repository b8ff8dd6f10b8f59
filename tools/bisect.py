#!/usr/bin/env python3
"""Finds the first (function, step) pair of nxopt that changes what a program prints.

    tools/bisect.py [--bin build/release] [--nxopt=--opt_level=2 ...] FILE.ic [-- program arguments]

With --debug:step_limit=N only the first N pairs run, N = 0 none. Limit 0 must give the right result and no limit the
wrong one; a binary search between them finds the N whose last pair makes the difference, and nxopt names it. Right is
what nxrun makes of FILE.ic itself: output and exit status. An nxopt that fails counts as wrong.

--expect TEXT    compare with this output instead of running FILE.ic
--max-steps N    step limit of nxrun (default 100 million)
Exit status: 0 found, 1 nothing to find, 2 the search cannot start.
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile

SECONDS = 300


def run(command):
    """(status, output, error text); a hang counts as a status of its own."""
    try:
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, stdin=subprocess.DEVNULL,
                              timeout=SECONDS, check=False)
        return done.returncode, done.stdout, done.stderr.decode("utf-8", "replace")
    except subprocess.TimeoutExpired:
        return "hang", b"", ""


class Search:
    def __init__(self, options, folder):
        self.options, self.folder = options, folder
        self.nxopt = os.path.join(options.bin, "nxopt")
        self.nxrun = os.path.join(options.bin, "tools", "nxrun", "nxrun")
        self.trials = 0

    def execute(self, file):
        status, out, _ = run([self.nxrun, "--max-steps=%d" % self.options.max_steps, file, *self.options.arguments])
        return status, out

    def optimize(self, limit):
        """Runs nxopt with the limit (None: without). Returns (the output file or None, standard error)."""
        self.trials += 1
        output = os.path.join(self.folder, "try.opt")
        words = [] if limit is None else ["--debug:step_limit=%d" % limit]
        status, _, err = run([self.nxopt, *self.options.nxopt, *words, self.options.file, output])
        return (output if status == 0 else None), err

    def good(self, limit):
        output, _ = self.optimize(limit)
        return output is not None and self.execute(output) == self.expected

    def last_step(self, limit):
        """(step, function) that nxopt names as the last that ran under the limit, or None if it ended earlier."""
        _, err = self.optimize(limit)
        found = re.search(r'step limit \d+: last step "([^"]*)" in (\S+)', err)
        return found.groups() if found else None

    def search(self):
        options = self.options
        self.expected = (0, options.expect.encode()) if options.expect is not None else self.execute(options.file)
        if self.good(None):
            print("nothing to find: the optimized program does what it should")
            return 1
        if not self.good(0):
            print("wrong even with no optional step run (--debug:step_limit=0): reading or writing is at fault")
            return 2
        low, high = 0, 64  # good(low); high doubles until it is wrong
        while self.good(high):
            low, high = high, high * 2
            if high > 1 << 30:
                print("right under every limit, wrong without one: a step that the limit does not count")
                return 2
        while high - low > 1:
            middle = (low + high) // 2
            if self.good(middle):
                low = middle
            else:
                high = middle
        step = self.last_step(high)
        where = 'step "%s" in function %s' % step if step else "nxopt did not name the step"
        print("%s (--debug:step_limit=%d is the first wrong one, %d runs)" % (where, high, self.trials))
        return 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", default="build/release", help="the build folder")
    parser.add_argument("--nxopt", action="append", default=[], help="an option for nxopt, as --nxopt=--opt_level=2")
    parser.add_argument("--expect", help="the right output")
    parser.add_argument("--max-steps", type=int, default=100_000_000)
    parser.add_argument("file", help="the icode file")
    parser.add_argument("arguments", nargs="*", help="arguments of the program, behind --")
    options = parser.parse_args()
    folder = tempfile.mkdtemp(prefix="nxbisect-")
    try:
        return Search(options, folder).search()
    finally:
        shutil.rmtree(folder, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
