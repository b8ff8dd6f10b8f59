#!/usr/bin/env python3
"""Makes one large C translation unit out of small programs, each copied as often as wished under new names.

    bench/make_unit.py --copies N [PROGRAM.c ...] > big.c

Every name that a program gives at file level (functions, objects, tags, typedefs, enumerators, macros) gets the suffix
_cN, everywhere in its text, so that copies do not meet; a renamed local or member does no harm. The copies' main
functions are called by one new main. Default programs: a fixed choice from tests/programs.
"""

import argparse
import glob
import os
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
PROGRAMS = os.path.join(HERE, "..", "tests", "programs")
INCLUDE = re.compile(r"^\s*#\s*include\s*<[^>]+>.*\n", re.MULTILINE)
WORD = re.compile(r"\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\\n])*'|/\*.*?\*/|//[^\n]*|[A-Za-z_]\w*", re.DOTALL)


def file_level_names(path, text):
    """Functions and objects from the object file's symbols; tags, typedefs, enumerators and macros from the text."""
    names = {"main"}
    with tempfile.TemporaryDirectory() as folder:
        objfile = os.path.join(folder, "o.o")
        subprocess.run(["gcc", "-w", "-O0", "-fkeep-static-functions", "-fkeep-static-consts", "-c", path, "-o", objfile],
                       check=True, cwd=os.path.dirname(path))
        symbols = subprocess.run(["nm", "--defined-only", objfile], check=True, stdout=subprocess.PIPE, text=True)
        names.update(line.split()[-1].split(".")[0] for line in symbols.stdout.splitlines())
    code = re.sub(r"/\*.*?\*/|//[^\n]*", " ", text, flags=re.DOTALL)
    names.update(re.findall(r"\b(?:struct|union|enum)\s+([A-Za-z_]\w*)", code))
    names.update(re.findall(r"\btypedef\b[^;{}]*?([A-Za-z_]\w*)\s*(?:\[[^\]]*\]\s*)*;", code))
    names.update(re.findall(r"\btypedef\b[^;{}]*\(\s*\*\s*([A-Za-z_]\w*)\s*\)", code))
    names.update(re.findall(r"^\}\s*([A-Za-z_]\w*)\s*[;=\[]", code, flags=re.MULTILINE))
    for body in re.findall(r"\benum\b[^;{}()]*\{([^}]*)\}", code):
        names.update(re.findall(r"(?:^|,)\s*([A-Za-z_]\w*)", body))
    names.update(re.findall(r"^\s*#\s*define\s+([A-Za-z_]\w*)", text, flags=re.MULTILINE))
    # prototypes that only declare, and objects that the compiler left out
    names.update(re.findall(r"^static\b[^;={(]*?([A-Za-z_]\w*)\s*(?:\[[^\]]*\]\s*)*[=;(]", code, flags=re.MULTILINE))
    return {name for name in names if name}


def renamed(text, names, suffix):
    """The text with the names renamed outside strings, characters and comments."""
    return WORD.sub(lambda word: word.group() + suffix if word.group() in names else word.group(), text)


class Program:
    def __init__(self, path):
        with open(path, encoding="utf-8") as file:
            text = file.read()
        self.includes = [line.strip() for line in INCLUDE.findall(text)]
        self.text = INCLUDE.sub("", text)
        self.names = file_level_names(path, text)
        self.has_arguments = bool(re.search(r"\bmain\s*\(\s*int\b", text))

    def copy(self, number):
        return renamed(self.text, self.names, "_c%d" % number)

    def call(self, number):
        return "main_c%d(%s);" % (number, "0, 0" if self.has_arguments else "")


def default_programs(limit=12):
    """Programs without special demands, spread over the folder."""
    paths = sorted(glob.glob(os.path.join(PROGRAMS, "*.c")))
    return paths[:: max(1, len(paths) // limit)][:limit]


def make_unit(programs, copies):
    includes = sorted({line for program in programs for line in program.includes})
    parts = ["\n".join(includes)]
    calls = []
    for i in range(copies):
        for j, program in enumerate(programs):
            number = i * len(programs) + j
            parts.append(program.copy(number))
            calls.append("    " + program.call(number))
    # The calls stand in groups: one function of thousands of calls would be a test of something else.
    groups = [calls[k:k + 50] for k in range(0, len(calls), 50)]
    parts += ["static void all_%d(void) {\n%s\n}\n" % (k, "\n".join(group)) for k, group in enumerate(groups)]
    parts.append("int main(void) {\n%s\n    return 0;\n}\n" % "\n".join("    all_%d();" % k for k in range(len(groups))))
    return "\n".join(parts)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--copies", type=int, default=1)
    parser.add_argument("programs", nargs="*")
    options = parser.parse_args()
    sys.stdout.write(make_unit([Program(os.path.abspath(p)) for p in options.programs or default_programs()],
                               options.copies))


if __name__ == "__main__":
    main()
