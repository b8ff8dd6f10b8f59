"""Every program of a folder, as the front end and as the optimizer write it: the text must give the same bytes back.

    round_trip.py FOLDER-OF-C-PROGRAMS SCRATCH-FOLDER
"""

import pathlib
import subprocess
import sys


def run(*command):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120)
    if result.returncode != 0 or (command[0] != "nxparse" and result.stderr):
        sys.exit(f"{' '.join(map(str, command))}: status {result.returncode}\n{result.stderr.decode(errors='replace')}")
    return result.stdout


def goes_round(icode, scratch):
    text = scratch / "text.nxa"
    again = scratch / "again.ic"
    text.write_bytes(run("nxdis", icode))
    run("nxas", "--check", text, "-o", again)
    if icode.read_bytes() != again.read_bytes():
        sys.exit(f"{icode}: nxas makes another file of nxdis' text {text}")


def main():
    programs, scratch = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    scratch.mkdir(parents=True, exist_ok=True)
    sources = sorted(programs.glob("*.c"))
    for source in sources:
        icode = scratch / "program.ic"
        run("nxparse", "-w", "-o", icode, source)
        goes_round(icode, scratch)
        run("nxopt", icode)
        goes_round(scratch / "program.opt", scratch)
    print(f"{len(sources)} programs went round")


main()
