"""What the differential scripts share: running a command with limits, and a temporary folder that never stays."""

import os
import shutil
import signal
import subprocess
import tempfile

RUNTIME = os.path.join(os.path.dirname(os.path.abspath(__file__)), "runtime")
MEMORY_LIMIT = 4 << 30  # bytes of address space for any one tool

# The native build that the target must agree with: 32-bit int, long and pointer, 64-bit objects aligned to their size,
# floats computed in their own width, signed overflow wrapping as on the target.
NATIVE = ["gcc", "-m32", "-std=gnu99", "-O0", "-w", "-fwrapv", "-malign-double", "-msse2", "-mfpmath=sse", "-I", RUNTIME]


class Outcome:
    """How a command ended: status (negative: killed by that signal), out, err (bytes); timed_out."""

    def __init__(self, command, status, out, err, timed_out):
        self.command, self.status, self.out, self.err, self.timed_out = command, status, out, err, timed_out

    def what(self):
        if self.timed_out:
            return "timed out"
        if self.status < 0:
            try:
                return "killed by " + signal.Signals(-self.status).name
            except ValueError:
                return "killed by signal %d" % -self.status
        return "exit status %d" % self.status


def limits():
    """The words that put a limit on a command's memory; none under sanitizers, whose shadow needs address space."""
    if os.environ.get("NX_UNLIMITED") == "1":
        return []
    return ["prlimit", "--as=%d" % MEMORY_LIMIT, "--core=0"]


def run(command, timeout, cwd=None, env=None, stdin=b"", limited=True):
    """Runs a command to its end or for `timeout` seconds; its whole process group ends with it."""
    full = (limits() if limited else []) + list(command)
    with subprocess.Popen(full, cwd=cwd, env=env, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, start_new_session=True) as process:
        try:
            out, err = process.communicate(stdin, timeout=timeout)
            return Outcome(command, process.returncode, out, err, False)
        except subprocess.TimeoutExpired:
            try:
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            out, err = process.communicate()
            return Outcome(command, process.returncode, out, err, True)


class Scratch:
    """A temporary folder for the length of a `with`."""

    def __enter__(self):
        self.path = tempfile.mkdtemp(prefix="nxdiff-")
        return self.path

    def __exit__(self, *_):
        shutil.rmtree(self.path, ignore_errors=True)


class Tools:
    """Where the programs of a build folder lie."""

    def __init__(self, folder):
        folder = os.path.abspath(folder)
        self.nxopt = os.path.join(folder, "nxopt")
        for tool, directory in [("nxparse", "nxparse"), ("nxrun", "nxrun"), ("nxdis", "nxdis"), ("nxas", "nxdis")]:
            setattr(self, tool, os.path.join(folder, "tools", directory, tool))

    def missing(self, *names):
        return [name for name in names if not os.access(getattr(self, name), os.X_OK)]
