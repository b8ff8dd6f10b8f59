#!/usr/bin/env python3
"""What nxopt leaves for a developer: ends by signals, logs, graphs, listings of the log.

    tests/cli/debugging.py --bin build/release [-v]

Ends with "N passed, M failed".
"""

import os
import re
import shutil
import signal
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
import run as cli  # noqa: E402  (the path must be there first)

cli.CHECKS.clear()  # only the checks of this file
check, Wrong, describe = cli.check, cli.Wrong, cli.describe

SECONDS = 20
PIPE_IS_FULL = 40000  # bytes; a pipe holds 16 pieces of 4096 or less

# Everything behind the description and the place.
SUPPORT = """
This is caused by a defect in the compiler itself. Norvex Customer
Support may be able to suggest a workaround to avoid this.

Upgrading to the newest version of the compiler may fix this problem.

"""

DESCRIPTIONS = {
    "SIGILL": "executed an illegal instruction",
    "SIGTRAP": "received a TRAP signal",
    "SIGABRT": "had an internal inconsistency and aborted",
    "SIGBUS": "experienced a bus alignment fault",
    "SIGFPE": "received a floating point exception",
    "SIGSEGV": "experienced a segmentation fault",
    "SIGXCPU": "exceeded the CPU time limit",
    "SIGXFSZ": "exceeded the file size limit",
    "SIGSYS": "experienced a bad system call",
}
REQUESTS = {"SIGHUP": "forced exit", "SIGINT": "forced exit", "SIGTERM": "received a terminate signal"}


def stop_in_a_step(bench, signals, what):
    """Sends the signals to a run that stands still in the middle of a step, since nobody reads its log, which is a
    pipe. Gives status, standard error and the log."""
    os.mkfifo(bench.path("a.odb"))
    log = os.open(bench.path("a.odb"), os.O_RDONLY | os.O_NONBLOCK)
    command = [bench.tools.nxopt, "--print_debug=1", "--opt_level=3", "a.ic"]
    process = subprocess.Popen(command, cwd=bench.folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.PIPE)
    try:
        end = time.monotonic() + SECONDS
        text, size = b"", -1
        while True:
            before, size = size, in_pipe(log)
            if size == before and size > PIPE_IS_FULL:
                break
            if process.poll() is not None or time.monotonic() > end:
                raise Wrong("%s: the log did not fill the pipe: %d bytes, status %s" % (what, size, process.poll()))
            time.sleep(0.1)
        if not os.path.exists(bench.path("a.opt")):
            raise Wrong("%s: no output file before the signal" % what)
        for number in signals:
            process.send_signal(number)
        os.set_blocking(log, True)
        while chunk := os.read(log, 65536):
            text += chunk
        errors = process.communicate(timeout=SECONDS)[1].decode()
    except subprocess.TimeoutExpired as timeout:
        raise Wrong("%s: the run does not end" % what) from timeout
    finally:
        process.kill()
        process.wait()
        os.close(log)
        os.unlink(bench.path("a.odb"))
    return process.returncode, errors, text.decode("utf-8", "replace")


def in_pipe(file):
    import array
    import fcntl
    import termios
    count = array.array("i", [0])
    fcntl.ioctl(file, termios.FIONREAD, count)
    return count[0]


def expect_end(bench, name, status, errors, log):
    """Status 2, both logs end with the signal's name, no output file."""
    closing = "\n>>>> Optimizer terminated by signal: %s.\n" % name
    with open(bench.path("a.nfo"), encoding="utf-8") as file:
        info = file.read()
    for what, text in ("log", log), ("information file", info):
        if not text.endswith(closing) or text.count(closing) != 1:
            raise Wrong("%s: the %s ends with %r" % (name, what, text[-200:]))
    if status != 2:
        raise Wrong("%s: status %s: %r" % (name, status, errors))
    left = sorted(os.listdir(bench.folder))
    if left != ["a.ic", "a.nfo"]:
        raise Wrong("%s: left behind: %s" % (name, left))


@check
def signals(bench):
    bench.write("a.ic", bench.sample)
    for name, description in DESCRIPTIONS.items():
        status, errors, log = stop_in_a_step(bench, [getattr(signal, name)], name)
        head = r"\nINTERNAL ERROR: %s %s\n {18}while processing function _\w+ file a\.ic\n%s\S" % (
            re.escape(bench.tools.nxopt), description, re.escape(SUPPORT))
        if not re.match(head, errors):
            raise Wrong("%s: %r" % (name, errors))
        if "support forum" not in errors or "preprocessed source" not in errors:
            raise Wrong("%s: no closing lines: %r" % (name, errors))
        expect_end(bench, name, status, errors, log)
    for name, text in REQUESTS.items():
        status, errors, log = stop_in_a_step(bench, [getattr(signal, name)], name)
        if errors != "[%s %s]\n" % (bench.tools.nxopt, text):
            raise Wrong("%s: %r" % (name, errors))
        expect_end(bench, name, status, errors, log)


@check
def one_signal_ends_the_run(bench):
    """More signals while the first is told change nothing."""
    bench.write("a.ic", bench.sample)
    status, errors, log = stop_in_a_step(bench, [signal.SIGTERM] + [signal.SIGINT] * 20, "SIGTERM")
    ended_by = "SIGTERM" if "terminate" in errors else "SIGINT"  # which of two pending ones comes first is open
    if errors.count("\n") != 1:
        raise Wrong("told twice: %r" % errors)
    expect_end(bench, ended_by, status, errors, log)


@check
def limits_of_the_system(bench):
    """A limit that is really reached: size of a file, depth of the stack."""
    if os.environ.get("NX_UNLIMITED") == "1":
        return  # sanitizers need more of both
    bench.write("a.ic", bench.sample)
    limited = [bench.tools.nxopt, "--print_debug=1", "--opt_level=3", "a.ic"]
    outcome = cli.run(["prlimit", "--core=0", "--fsize=65536", *limited], SECONDS, cwd=bench.folder, limited=False)
    bench.expect(outcome, 2, err=DESCRIPTIONS["SIGXFSZ"], files=["a.ic", "a.nfo", "a.odb"])
    told = 0
    for kilobytes in range(16, 80, 2):
        outcome = cli.run(["prlimit", "--core=0", "--stack=%d" % (kilobytes << 10), bench.tools.nxopt, "a.ic"],
                          SECONDS, cwd=bench.folder, limited=False)
        message = DESCRIPTIONS["SIGSEGV"].encode() in outcome.err
        told += message
        if outcome.status == 0:
            break
        # With next to nothing the process does not come as far as its own code.
        if message != (outcome.status == 2) or (told and not message) or os.path.exists(bench.path("a.opt")):
            raise Wrong("%d KB: %s" % (kilobytes, describe(outcome)))
    if not told or outcome.status != 0:
        raise Wrong("no full stack: " + describe(outcome))


def read(bench, name):
    with open(bench.path(name), encoding="utf-8") as file:
        return file.read()


def draw(bench, name):
    """dot reads it without a word."""
    outcome = cli.run([shutil.which("dot") or "dot: install graphviz", "-Tsvg", bench.path(name)], SECONDS)
    if outcome.status != 0 or outcome.err:
        raise Wrong("%s: %s\n%s" % (name, describe(outcome), read(bench, name)))
    return outcome.out.decode()




@check
def graphs(bench):
    if not shutil.which("dot"):
        raise Wrong("graphviz is not installed; tools/install-deps.sh test installs it")
    bench.write("a.ic", bench.sample)
    words = ["--opt_level=2", "--debug:dot", "--dump_call_graph", "a.ic"]
    files = ["a.calls.dot", "a.ic", "a.opt", "a__main.dot", "a__weigh.dot"]
    bench.expect(bench.run("nxopt", *words), 0, err="", files=files)
    first = {name: read(bench, name) for name in files if name.endswith(".dot")}
    plain = bench.run("nxopt", "--opt_level=2", "a.ic", "b.opt")
    bench.expect(plain, 0, err="", files=files + ["b.opt"])
    bench.run("nxopt", *words)
    for name, text in first.items():
        if read(bench, name) != text:
            raise Wrong("%s differs from run to run" % name)
        draw(bench, name)
    calls = draw(bench, "a.calls.dot")
    for name in "_main", "_weigh", "_printf":
        if name not in calls:
            raise Wrong("%s is not in the call graph:\n%s" % (name, first["a.calls.dot"]))
    # Each block and each edge of the picture: the loop closes with the one dashed edge.
    if first["a__weigh.dot"].count("style=dashed") != 1:
        raise Wrong("not one loop:\n" + first["a__weigh.dot"])


# A name and a text with everything that dot or a file system could trip over.
ODD = rb"""
global '../a\"b%s.{}|<\n>\xC3\xFF' : int(int)
func '../a\"b%s.{}|<\n>\xC3\xFF' {
  parm n: int
  .prolog
  return '../a\"b%s.{}|<\n>\xC3\xFF'(n)
}
"""


@check
def graphs_of_odd_names(bench):
    bench.write("odd.txt", ODD)
    bench.expect(bench.run("nxas", "odd.txt", "-o", "odd.ic"), 0, files=["odd.ic", "odd.txt"])
    graph = "odd_%2E%2E%2Fa%22b%25s%2E%7B%7D%7C%3C%0A%3E%C3%FF.dot"
    bench.expect(bench.run("nxopt", "--opt_level=1", "--debug:dot", "--dump_call_graph", "odd.ic"), 0, err="",
                 files=["odd.calls.dot", "odd.ic", "odd.opt", "odd.txt", graph])
    for name in "odd.calls.dot", graph:
        picture = draw(bench, name)
        if r"../a&quot;b%s.{}|&lt;\x0A&gt;\xC3\xFF" not in picture:
            raise Wrong("the name is not as it was:\n" + picture)


@check
def graphs_at_a_step(bench):
    """--debug:dot=N shows the function as step N leaves it."""
    bench.write("a.ic", bench.sample)
    bench.run("nxopt", "--opt_level=0", "--debug:dot=4", "a.ic")
    early = read(bench, "a__weigh.dot")
    bench.run("nxopt", "--opt_level=2", "--debug:dot", "a.ic")
    late = read(bench, "a__weigh.dot")
    if early == late or "sum = 0" not in early:
        raise Wrong("early:\n%s\nlate:\n%s" % (early, late))


@check
def graph_cannot_be_written(bench):
    bench.write("a.ic", bench.sample)
    os.mkdir(bench.path("a__weigh.dot"))
    bench.refuse(bench.run("nxopt", "--debug:dot", "a.ic"), err=r"Cannot Write Graph File, .* : a__weigh\.dot",
                 files=["a.ic", "a__weigh.dot"])


@check
def a_log_for_each_function(bench):
    """The log of a function ends with its trailer, and the first log goes on behind it."""
    bench.write("a.ic", bench.sample)
    words = ["--print_debug=1", "--debug:split_odb", "a.ic"]
    bench.expect(bench.run("nxopt", *words), 0, err="",
                 files=["a.ic", "a.nfo", "a.odb", "a.opt", "a__main.odb", "a__weigh.odb"])
    whole = read(bench, "a.odb")
    for name in "_weigh", "_main":
        log = read(bench, "a_%s.odb" % name)
        if "---------- EXITING step 52 'pass 2 trailer'" not in log and "'pass 2 trailer'" not in log:
            raise Wrong("the log of %s ends early: %r" % (name, log[-300:]))
        if ">>>> SWITCHING LOG TO a_%s.odb" % name not in whole:
            raise Wrong("%s is not in the file's log" % name)
    if "Global symbols" not in whole or not whole.endswith("\n== END OF DEBUG OUTPUT==\n"):
        raise Wrong("the file's log does not go on: %r" % whole[-300:])


if __name__ == "__main__":
    sys.exit(cli.main())
