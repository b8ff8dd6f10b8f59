// The command line, and files that cannot be run.
//
// REQUIRES: front-end
// RUN: nxrun --help | FileCheck %s --check-prefix=HELP
// HELP: usage: nxrun
// RUN: nxrun --version | FileCheck %s --check-prefix=VERSION
// VERSION: nxrun {{[0-9]}}
// RUN: sh -c 'nxrun; test $? -eq 1' 2>&1 | FileCheck %s --check-prefix=NOFILE
// NOFILE: nxrun: no file given
// RUN: sh -c 'nxrun --wrong x; test $? -eq 1' 2>&1 | FileCheck %s --check-prefix=WRONG
// WRONG: nxrun: unknown option '--wrong'
// RUN: sh -c 'nxrun %t.none; test $? -eq 1' 2>&1 | FileCheck %s --check-prefix=ABSENT
// ABSENT: nxrun: {{.*}}.none: cannot be opened
// RUN: sh -c 'nxrun %s; test $? -eq 1' 2>&1 | FileCheck %s --check-prefix=NOTICODE
// NOTICODE: nxrun: {{.*}}options.c: not an icode file
//
// A program's status is the tool's, and its arguments are all that stands behind the file.
// RUN: nxparse -w %s -o %t && sh -c 'nxrun %t --count x; test $? -eq 42'
//
// A file without main, and one cut short.
// RUN: nxparse -w -Dmain=other %s -o %t && sh -c 'nxrun %t; test $? -eq 1' 2>&1 | FileCheck %s --check-prefix=NOMAIN
// NOMAIN: no function main
// RUN: sh -c 'head -c 100 %t > %t.cut; nxrun %t.cut; test $? -eq 1'
//
// The counts go to standard error, whatever the program prints.
// RUN: nxparse -w %s -o %t && sh -c 'nxrun --count %t --count x 2>&1 >/dev/null; true' | FileCheck %s --check-prefix=JSON
// JSON: {
// JSON-NEXT: "loads": {{[0-9]+}},
// JSON: "cost": {{[0-9]+}}
// JSON-NEXT: }
int main(int argc, char **argv) { return argc == 3 && argv[1][2] == 'c' ? 42 : 0; }
