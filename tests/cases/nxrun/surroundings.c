// What a program sees around it is what the command line says; and the end of memory is told.
//
// REQUIRES: front-end
// RUN: nxparse -w %s -o %t && nxrun --env=A=1 --env=B=two=2 --epoch=86400 %t | FileCheck %s
// RUN: nxrun %t | FileCheck %s --check-prefix=BARE
// RUN: nxrun %t once > %t.1 && nxrun %t once > %t.2 && cmp %t.1 %t.2
// BARE: none none none 2000
// RUN: sh -c 'nxrun --epoch=x %t; nxrun --env=A %t; true' 2>&1 | FileCheck %s --check-prefix=WRONG
// WRONG: --epoch wants a number
// WRONG: unknown option '--env=A'
//
// A program stopped by its own signals, and a jump to a function that has returned.
// RUN: sh -c 'nxrun %t raise; test $? -eq 143'
// RUN: sh -c 'nxrun %t jump; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=JUMP
// RUN: sh -c 'nxrun %t end; test $? -eq 134' | FileCheck %s --check-prefix=END
// END: signal 6
// JUMP: in function 'main': longjmp to a function that is not running any more
//
// RUN: sh -c 'ulimit -v 300000; nxrun %t; test $? -eq 1' 2>&1 | FileCheck %s --check-prefix=MEMORY
// MEMORY: nxrun: not enough memory
#include <errno.h>
#include <setjmp.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

static jmp_buf gone;
static int leave(void) { return setjmp(gone); }
static void told(int number) { printf("signal %d\n", number); }
static const char *of(const char *name) { return getenv(name) ? getenv(name) : "none"; }

int main(int argc, char **argv) {
    time_t now = time(0);
    if (argc > 1 && argv[1][0] == 'r') raise(SIGTERM);
    if (argc > 1 && argv[1][0] == 'e') {
        signal(SIGABRT, told);
        atexit(abort); // a function of the library, called by nobody
        return 0;
    }
    if (argc > 1 && argv[1][0] == 'j') {
        leave();
        longjmp(gone, 1);
    }
    // CHECK: 1 two=2 none 1970
    printf("%s %s %s %d\n", of("A"), of("B"), of("HOME"), gmtime(&now)->tm_year + 1900);
    // CHECK-NEXT: 1 1 0 1
    printf("%d %d ", malloc(0xF0000000u) == 0, errno == ENOMEM);
    printf("%d %d\n", system(0), aligned_alloc(2, 8) != 0);
    return 0;
}
