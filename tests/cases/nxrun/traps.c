// Each fault of a program ends the run with status 3 and a message that names place, function and cause.
//
// REQUIRES: front-end
// RUN: nxparse -w -DNULL_READ %s -o %t && sh -c 'nxrun %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=NULL
// RUN: nxparse -w -DBEHIND %s -o %t && sh -c 'nxrun %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=BEHIND
// RUN: nxparse -w -DUNDEFINED_LOCAL %s -o %t && sh -c 'nxrun %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=LOCAL
// RUN: nxparse -w -DUNDEFINED_UNIT %s -o %t && sh -c 'nxrun %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=UNIT
// RUN: nxparse -w -DDIVISION %s -o %t && sh -c 'nxrun %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=DIVISION
// RUN: nxparse -w -DCONSTANT %s -o %t && sh -c 'nxrun %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=CONSTANT
// RUN: nxparse -w -DFREED %s -o %t && sh -c 'nxrun %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=FREED
// RUN: nxparse -w -DTWICE %s -o %t && sh -c 'nxrun %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=TWICE
// RUN: nxparse -w -DDEAD_FRAME %s -o %t && sh -c 'nxrun %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=FRAME
// RUN: nxparse -w -DPOINTER_TYPE %s -o %t && sh -c 'nxrun %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=TYPE
// RUN: nxparse -w -DMISSING %s -o %t && sh -c 'nxrun %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=MISSING
// RUN: nxparse -w -DDEEP %s -o %t && sh -c 'nxrun %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=DEEP
// RUN: nxparse -w -DFOREVER %s -o %t && sh -c 'nxrun --max-steps=10000 %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=STEPS
// RUN: nxparse -w -DOVERFLOW %s -o %t && nxrun %t | FileCheck %s --check-prefix=WRAPS
// RUN: sh -c 'nxrun --trap-overflow %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=OVERFLOW
// RUN: nxparse -w -DVARIADIC %s -o %t && sh -c 'nxrun %t; test $? -eq 3' 2>&1 | FileCheck %s --check-prefix=VARIADIC
// RUN: nxparse -w -DASSERTION %s -o %t && sh -c 'nxrun %t; test $? -eq 134' 2>&1 | FileCheck %s --check-prefix=ASSERTION
#include <assert.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

int numbers[3] = {1, 2, 3};
const int fixed[2] = {4, 5};
int *keep;
void missing(int);

int pick(int *p, int i) { return p[i]; }
int *dead(void) {
    int local = 7;
    keep = &local;
    return keep;
}
int deeper(int n) { return n + deeper(n + 1); }
int last_of(int n, ...) {
    va_list ap;
    int v = 0;
    va_start(ap, n);
    while (n-- > 0) v = va_arg(ap, int);
    return v;
}
double half(double x) { return x / 2; }

int main(int argc, char **argv) {
    int zero = argc - 1, unset, array[4];
    printf("begun\n");
#ifdef NULL_READ
    // NULL: begun
    // NULL: nxrun: {{.*}}traps.c:[[#]]:[[#]]: in function 'pick': read through null pointer plus 2
    // NULL-NEXT: called from {{.*}}traps.c:[[#@LINE+1]]:{{[0-9]+}}, function 'main'
    return pick(0, 1);
#elif defined BEHIND
    // BEHIND: in function 'pick': read out of object, 0 units behind 'numbers'
    return pick(numbers, 3);
#elif defined UNDEFINED_LOCAL
    // LOCAL: traps.c:[[#@LINE+2]]:{{[0-9]+}}: in function 'main': read of an undefined value, local 'unset'
    if (zero) unset = 3;
    return unset;
#elif defined UNDEFINED_UNIT
    // UNIT: in function 'pick': read of an undefined value
    array[0] = array[1] = 1;
    return pick(array, 0) + pick(array, 1) + pick(array, 2);
#elif defined DIVISION
    // DIVISION: traps.c:[[#@LINE+1]]:{{[0-9]+}}: in function 'main': division by zero
    return 5 % zero;
#elif defined CONSTANT
    // CONSTANT: in function 'main': write to a constant object, unit 2 of 'fixed'
    *(int *)&fixed[1] = 6;
#elif defined FREED
    // FREED: in function 'pick': read out of object, address {{.*}} of the heap
    int *p = malloc(8 * sizeof(int));
    p[1] = 3;
    if (pick(p, 1) != 3) return 9;
    free(p);
    return pick(p, 1);
#elif defined TWICE
    // TWICE: in function 'main': free of {{.*}}, which is no live block of the heap
    int *p = malloc(1);
    free(p);
    free(p);
#elif defined DEAD_FRAME
    // FRAME: in function 'pick': read out of object, address {{.*}} of the stack
    return pick(dead(), 0);
#elif defined POINTER_TYPE
    // TYPE: in function 'main': call of 'half' through a pointer to another type of function
    int (*f)(int) = (int (*)(int))half;
    return f(3);
#elif defined MISSING
    // MISSING: in function 'main': call of undefined function 'missing'
    missing(3);
#elif defined DEEP
    // DEEP: in function 'deeper': stack overflow
    // DEEP: called from
    return deeper(0);
#elif defined FOREVER
    // STEPS: in function 'main': step limit reached
    for (;;) ++zero;
#elif defined OVERFLOW
    // WRAPS: -2147483648
    // OVERFLOW: in function 'main': signed overflow
    unset = 2147483647 - zero;
    unset += 1;
    printf("%d\n", unset);
#elif defined VARIADIC
    // VARIADIC: in function 'last_of': read out of object
    return last_of(3, 1, 2);
#elif defined ASSERTION
    // ASSERTION: traps.c:[[#@LINE+1]]: main: Assertion `zero == 1' failed.
    assert(zero == 1);
#endif
    return 0;
}
