// Programs of several files: what is external meets by name, statics stay apart, weak definitions give way.
//
// REQUIRES: front-end
// RUN: rm -rf %t && mkdir %t && cd %t
// RUN: nxparse -w %s -o main.ic && nxparse -w -DOTHER %s -o other.ic && nxparse -w -DTHIRD %s -o third.ic
// RUN: nxrun --strict main.ic other.ic third.ic -- x main.ic | FileCheck %s
// RUN: nxrun third.ic other.ic main.ic x y | FileCheck %s
// RUN: nxopt --opt_level=2 main.ic m.opt && nxopt --opt_level=2 other.ic o.opt && nxrun m.opt o.opt third.ic x y | FileCheck %s
//
// Faults, all of them, with the names of symbols and files.
// RUN: not nxrun main.ic other.ic other.ic 2>&1 | FileCheck %s --check-prefix=TWICE
// TWICE-DAG: symbol 'shared' is defined twice: in other.ic and in other.ic
// TWICE-DAG: symbol 'make' is defined twice
// TWICE-NOT: 'maybe'
// TWICE-NOT: 'keep'
// RUN: not nxrun main.ic third.ic -- x 2>&1 | FileCheck %s --check-prefix=MISSING
// MISSING-DAG: symbol 'shared' is not defined; main.ic needs it
// MISSING-DAG: symbol 'make' is not defined; main.ic needs it
// MISSING-NOT: 'unused'
// MISSING-NOT: 'nowhere'
// RUN: echo 'double make; int third(void) { return 0; }' > wrong.c && nxparse -w wrong.c && not nxrun main.ic other.ic wrong.ic 2>&1 | FileCheck %s --check-prefix=KIND
// KIND: symbol 'make' is a function in main.ic and an object in wrong.ic
//
// One file: all that is no file is an argument, as is all behind "--"; what is counted covers all files.
// RUN: nxparse -w -DALONE %s -o alone.ic && nxrun alone.ic a -- b | FileCheck %s --check-prefix=ONE
// ONE: 4 a -- b
// RUN: nxrun alone.ic -- main.ic | FileCheck %s --check-prefix=AFTER
// AFTER: 2 main.ic
// RUN: nxrun --count=one.json alone.ic && nxrun --count=all.json main.ic other.ic third.ic -- x y && grep calls one.json all.json | FileCheck %s --check-prefix=COUNTS
// COUNTS: one.json:{{.*}}"calls": 1,
// COUNTS: all.json:{{.*}}"calls": 8,
#include <stdio.h>
#ifdef ALONE
int main(int argc, char **argv) {
    printf("%d", argc);
    while (*++argv) printf(" %s", *argv);
    return 0;
}
#else
struct pair {
#ifdef OTHER
    long x, y;
#else
    int first, second;
#endif
};
static int hidden = 1;
extern int shared;
extern char text[];
struct pair make(int);
int third(void);
int maybe(void);
extern int unused;
int __attribute__((weak)) nowhere(void);
extern int nothing __attribute__((weak));
#ifdef OTHER
int shared = 7;
char text[] = "text";
static int bump(void) { return hidden += 10; }
struct pair make(int n) { return (struct pair){n, bump() + third()}; }
int __attribute__((weak)) maybe(void) { return 1; }
int __attribute__((weak)) keep = 5;
#elif defined THIRD
static int bump(void) { return hidden += 100; }
int third(void) { return bump() * 1000; }
int maybe(void) { return 2; }
#else
extern int keep;
int *where = &shared;
static int bump(void) { return ++hidden; }
int main(int argc, char **argv) {
    struct pair p = make(argc);
    // CHECK: 3 101011 2 7 text 2 5 0 0 x
    printf("%d %d %d %d %s %d %d %d %d", p.first, p.second, bump(), *where, text, maybe(), keep, nowhere ? 1 : 0, &nothing != 0);
    printf(" %s\n", argv[1]);
    return 0;
}
#endif
#endif
