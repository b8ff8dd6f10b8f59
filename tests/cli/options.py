#!/usr/bin/env python3
"""Options of nxopt, from the command line: what each fault says, that it ends with status 1 and touches no file; help.

    tests/cli/options.py --bin build/release [-v]

Ends with "N passed, M failed".
"""

import os
import re
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
import run as cli  # noqa: E402  (the path must be there first)

cli.CHECKS.clear()  # only the checks of this file
check, Wrong, describe = cli.check, cli.Wrong, cli.describe


def one_line(data):
    """Messages are broken at blanks; the texts below are not."""
    return " ".join(data.decode("utf-8", "replace").split())


def refuse(bench, words, text):
    """The run ends with status 1 and the text, and the files that were there are as they were."""
    old = {"a.ic": bench.sample, "a.opt": b"old"}
    for name, data in old.items():
        bench.write(name, data)
    outcome = bench.run("nxopt", *words)
    bench.expect(outcome, 1, out="", files=old)
    if text not in one_line(outcome.err):
        raise Wrong("%r is not in: %s" % (text, describe(outcome)))
    for name, data in old.items():
        with open(bench.path(name), "rb") as file:
            if file.read() != data:
                raise Wrong("%s was touched: %s" % (name, describe(outcome)))


@check
def faults(bench):
    """Each kind of fault, in both forms, in front of and behind the names."""
    number = "argument to option %s (%s) is out of range"
    for option, text in [
            ("--no_such_option", "error: option is invalid"),
            ("--opt_leve=2", "error: option is invalid"),
            ("--opt_levels", "error: option is invalid"),
            ("--big_endian=1", "error: option is invalid"),
            ("--", "error: option is invalid"),
            ("--=", "error: option is invalid"),
            ("--opt_level\xff", "error: option is invalid"),
            ("-q", "error: option is invalid"),
            ("-sq", "error: option is invalid"),
            ("-d", "error: option is invalid"),
            ("--" + "x" * 5000, "error: option is invalid"),
            ("--opt_for_speed=", "option --opt_for_speed is missing its parameter 'degree'"),
            ("--opt_level=", "option --opt_level is missing its parameter 'level'"),
            ("--opt_info_filename", "option --opt_info_filename is missing its parameter 'file'"),
            ("--debug:", "option --debug: is missing its parameter 'switches'"),
            ("--opt_for_speed=6", number % ("--opt_for_speed", "6") + " (must be a number from 0 to 5"),
            ("--opt_for_speed=-1", number % ("--opt_for_speed", "-1") + " (must be a number from 0 to 5"),
            ("-i-3", number % ("-i", "-3") + " (must be a non-negative_number)"),
            ("--auto_inline=-0x10", number % ("--auto_inline", "-0x10") + " (must be a non-negative_number)"),
            ("--auto_inline=2147483648", number % ("--auto_inline", "2147483648")),
            ("--auto_inline=99999999999999999999999999", number % ("--auto_inline", "9" * 26)),
            ("--max_unrolled_loop_size=08", number % ("--max_unrolled_loop_size", "08")),
            ("-n5x", number % ("-n", "5x")),
            ("-n0x", number % ("-n", "0x")),
            ("-n 5", number % ("-n", " 5")),
            ("--opt_level=5", "bad argument to option --opt_level: should be one of {off,0,1,2,3,4}"),
            ("-o,", "bad argument to option -o: should be one of {off,0,1,2,3,4}"),
            ("--endian=middle", "bad argument to option --endian: should be one of {big,little}"),
            ("--vectorize=50", "bad argument to option --vectorize: should be one of {off,on}"),
    ]:
        refuse(bench, [option, "a.ic"], text)
    refuse(bench, ["a.ic", "other.opt", "--endian=middle"], "should be one of {big,little}")


@check
def an_unknown_option_is_named(bench):
    refuse(bench, ["--No_Such=7", "a.ic"], "--No_Such=7")
    refuse(bench, ["-sQk", "a.ic"], "-sQk")


@check
def arguments_in_the_next_word(bench):
    for option, parameter in [("-n", "level"), ("-o", "level"), ("-v", "version"), ("-kdi", "cycles")]:
        short = "-di" if option == "-kdi" else option
        refuse(bench, ["a.ic", option], "option %s is missing its parameter '%s'" % (short, parameter))
        refuse(bench, ["a.ic", option, ""], "option %s is missing its parameter '%s'" % (short, parameter))
    bench.write("a.ic", bench.sample)
    bench.expect(bench.run("nxopt", "-o", "2", "a.ic", "-n", "3", "b.opt"), 0, err="", files=["a.ic", "a.opt", "b.opt"])
    refuse_value = bench.run("nxopt", "-o", "a.ic")  # the name is taken as the level
    if "should be one of" not in one_line(refuse_value.err) or refuse_value.status != 1:
        raise Wrong(describe(refuse_value))


@check
def other_case_warns_and_works(bench):
    bench.write("a.ic", bench.sample)
    outcome = bench.run("nxopt", "--Opt_Level=OFF", "a.ic")
    bench.expect(outcome, 0, files=["a.ic", "a.opt"])
    text = ("warning: Case insensitivity of options has been deprecated; --Opt_Level must be written as --opt_level "
            "in future releases")
    if one_line(outcome.err) != text or len(outcome.err.splitlines()) != 2:
        raise Wrong(describe(outcome))
    unbroken = bench.run("nxopt", "--diag_wrap=off", "--Opt_Level=OFF", "a.ic")
    if unbroken.err.decode() != text + "\n":
        raise Wrong(describe(unbroken))
    short = bench.run("nxopt", "-O2", "-SK", "a.ic")
    bench.expect(short, 0, err="", files=["a.ic", "a.opt"])


@check
def help_in_every_form(bench):
    forms = ["--help", "--usage", "-?", "-s?", "--HELP"]
    texts = {bench.run("nxopt", form, "none.ic").out for form in forms}
    if len(texts) != 1:
        raise Wrong("the forms of help differ")
    text = texts.pop().decode()
    if not text.startswith("Usage: nxopt [-options] filename\n\n"
                           "This tool is designed to be invoked by the compiler.\n"):
        raise Wrong(text[:200])
    bench.expect(bench.run("nxopt", "-ks?", "--wrong"), 0, out="Usage", err="")  # nothing behind it is looked at
    bench.expect(bench.run("nxopt", "--toolversion"), 0, out=r"^Orvane C/C\+\+ Optimizer\nBuild Number \d+\n$", err="")


@check
def the_manual_has_every_option(bench):
    """docs/options.md names each long and short form that --help does, with the values it takes."""
    with open(os.path.join(HERE, "..", "..", "docs", "options.md")) as file:
        manual = file.read()
    forms = re.findall(r"^  (?:(-\S+),)? +(--[\w:]+)(?:=?\{(.*?)\})?", bench.run("nxopt", "--help").out.decode(), re.M)
    if len(forms) < 60:
        raise Wrong("only %d options in the help" % len(forms))
    for short, long_form, values in forms:
        row = re.search(r"^\| `%s[`=<].*$" % re.escape(long_form), manual, re.M)
        if not row:
            raise Wrong("no row for " + long_form)
        if short and "`%s" % short not in row.group():
            raise Wrong("no %s in: %s" % (short, row.group()))
        for value in values.split(",") if values else []:
            if not re.search(r"\b%s\b" % value, row.group()):
                raise Wrong("no value %s in: %s" % (value, row.group()))


@check
def the_information_file_is_named(bench):
    bench.write("a.ic", bench.sample)
    bench.expect(bench.run("nxopt", "-o3", "-n1", "--opt_info_filename=notes", "a.ic"), 0,
                 files=["a.ic", "a.opt", "notes"])
    refuse_folder = bench.run("nxopt", "-o3", "-n1", "--opt_info_filename=no/such", "a.ic", "b.opt")
    bench.refuse(refuse_folder, err="Cannot Open Info File", files=["a.ic", "a.opt", "notes"])


# ---- option sets that a file records


def with_option_set(bench, text):
    """The sample with a set 0 of one recorded word."""
    bench.write("a.ic", bench.sample)
    lines = bench.run("nxdis", "a.ic").out.split(b"\n")
    at = next(i for i, line in enumerate(lines) if line.startswith(b".type"))
    bench.write("a.txt", b"\n".join(lines[:at] + [b'.option_set 0 "%s"' % text.encode()] + lines[at:]))
    made = bench.run("nxas", "a.txt", "-o", "a.ic")
    if made.status != 0:
        raise Wrong(describe(made))


@check
def recorded_options(bench):
    files = ["a.ic", "a.txt"]
    for text, said in [("--nonsense", "option is invalid"), ("--help", "option is invalid"), ("-?", "option is invalid"),
                       ("--toolversion", "option is invalid"), ("opt_level=2", "option is invalid"),
                       ("--opt_level=9", "should be one of {off,0,1,2,3,4}"), ("-n", "is missing its parameter"),
                       ("-i99999999999", "is out of range")]:
        with_option_set(bench, text)
        outcome = bench.run("nxopt", "a.ic", "b.opt")
        bench.refuse(outcome, files=files)
        if said not in one_line(outcome.err) or "option set 0 of the input file" not in one_line(outcome.err):
            raise Wrong(describe(outcome))
    with_option_set(bench, "--Opt_Level=3")
    bench.expect(bench.run("nxopt", "-n1", "a.ic", "b.opt"), 0, err="Case insensitivity",
                 files=files + ["b.opt", "a.nfo"])
    bench.expect(bench.run("nxopt", "-n1", "-o1", "a.ic", "c.opt"), 0, files=files + ["b.opt", "c.opt", "a.nfo"])


if __name__ == "__main__":
    sys.exit(cli.main())
