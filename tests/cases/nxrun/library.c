// Library functions against values that follow from the C standard.
//
// REQUIRES: front-end
// RUN: nxparse -w %s -o %t && sh -c 'printf "one two\nlast" | nxrun %t a "b c"; echo status $?' 2>%t.err | FileCheck %s --match-full-lines
// RUN: FileCheck %s --check-prefix=ERR --input-file=%t.err
//
// The headers declare every function of the library, and as the library has it.
// RUN: sed -n -e 's/^LIB(\([A-Za-z0-9_]*\),.*/\1/p' -e 's/^LIB_AS(\([A-Za-z0-9_]*\),.*/\1/p' -e 's/^LIB_MATH[12]*(\([a-z0-9]*\).*/\1\n\1f\n\1l/p' %S/../../../tools/nxrun/library.def | grep -v -e _sqrt -e '^name' > %t.names
// RUN: sh -c 'for h in assert ctype inttypes locale math setjmp signal stdio stdlib string time wchar wctype; do echo "#include <$h.h>"; done; sed "s/.*/#undef &/" %t.names; echo "void *all[] = {"; sed "s/.*/(void*)\&&,/" %t.names; echo "}; int main(void) { return 0; }"' > %t.all.c
// RUN: nxparse -w %t.all.c -o %t.all && nxrun --strict %t.all
// RUN: echo 'double time(int); int main(void) { return &time == 0; }' > %t.wrong.c && nxparse -w %t.wrong.c -o %t.all && not nxrun --strict %t.all 2>&1 | FileCheck %s --check-prefix=WRONG
// WRONG: function 'time': declared otherwise than the library has it
#include <ctype.h>
#include <errno.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int calls;
static int by_value(const void *a, const void *b) {
    int x = *(const int *)a, y = *(const int *)b;
    ++calls;
    return (x > y) - (x < y);
}
static int by_tens(const void *a, const void *b) { return *(const int *)a / 10 - *(const int *)b / 10; }
static void first(void) { printf("first registered, last run\n"); }
static void second(void) { printf("second registered\n"); }

int main(int argc, char **argv) {
    char text[64], *end, *p;
    int v[40], i, sorted = 1;
    // CHECK:      3 a b c
    printf("%d %s %s\n", argc, argv[1], argv[2]);

    // CHECK-NEXT: 255 -15 83 0 [xyz] 2147483647 34
    printf("%ld ", strtol("0xff", 0, 0));
    printf("%d %ld %ld ", atoi("  -15abc"), strtol("123", 0, 8), strtol("xyz", &end, 10));
    printf("[%s] ", end);
    errno = 0;
    printf("%ld ", strtol("99999999999", 0, 10));
    printf("%d\n", errno);
    // CHECK-NEXT: 18446744073709551615 -9000000000 2.5 [ rest] 0.1
    printf("%llu %lld ", strtoull("ffffffffffffffff", 0, 16), strtoll("-9000000000", 0, 10));
    printf("%g ", strtod("2.5 rest", &end));
    printf("[%s] %g\n", end, atof("1e-1"));

    // CHECK-NEXT: 12.5 1.00000012
    // What follows a number need not be there; a float is rounded once.
    p = malloc(5);
    memcpy(p, "12.5,", 5);
    printf("%g %.9g\n", strtod(p, 0), strtof("1.00000017881393421514957253748434595763683319091796875001", 0));

    // CHECK-NEXT: a,b,c 3 1 0 llo o none
    strcpy(text, "a;b,;c");
    for (p = strtok(text, ",;"); p; p = strtok(0, ",;")) printf("%s%s", p == text ? "" : ",", p);
    printf(" %d %d %d ", (int)strspn("aab", "ab"), (int)strcspn("xa", "a"), strcmp("same", "same"));
    printf("%s %s %s\n", strstr("hello", "ll"), strrchr("foo", 'o'), strchr("foo", 'x') ? "some" : "none");
    // CHECK-NEXT: abcab abcdef 0 1 -1 1
    memset(text, 0, sizeof text);
    strncpy(text, "abcdef", 3);
    strncat(text, "abcdef", 2);
    printf("%s ", text);
    memmove(text + 2, "abcdef", 7);
    printf("%s ", text + 2);
    printf("%d %d %d %d\n", memcmp("ab", "ab", 2), strcmp("b", "a") > 0, strncmp("ab", "ac", 2) < 0 ? -1 : 1,
           memchr("xyz", 'y', 3) != 0);

    // CHECK-NEXT: sorted, 17 at 5, none, 40 41 42 43
    for (i = 0; i < 40; i++) v[i] = (i * 7 + 3) % 40 * 3 + 2;
    qsort(v, 40, sizeof v[0], by_value);
    for (i = 1; i < 40; i++) sorted &= v[i - 1] < v[i] && calls > 0;
    i = 17;
    p = bsearch(&i, v, 40, sizeof v[0], by_value);
    printf("%s, %d at %d, ", sorted ? "sorted" : "not sorted", *(int *)p, (int)((int *)p - v));
    i = 18;
    printf("%s,", bsearch(&i, v, 40, sizeof v[0], by_value) ? "found" : "none");
    for (i = 0; i < 40; i++) v[i] = (39 - i) / 8 * 10 + i % 8; // what compares equal keeps its order
    qsort(v, 40, sizeof v[0], by_tens);
    printf(" %d %d %d %d\n", v[32], v[33], v[34], v[35]);

    // CHECK-NEXT: 1 0 Q 5 -3 2 -1
    printf("%d %d %c ", isalpha('z') != 0, isdigit('x'), toupper('q'));
    printf("%d %lld %d %d\n", abs(-5), llabs(3) * -1, div(-11, -5).quot, div(-11, 5).rem);
    // CHECK-NEXT: 2 1.5 -2 8 0.5 3 0.25 3
    printf("%g %g %g %g ", sqrt(4), fabs(-1.5), floor(-1.5), pow(2, 3));
    printf("%g ", frexp(4, &i));
    printf("%d ", i);
    {
        double whole, part = modf(3.25, &whole);
        printf("%g %g\n", part, whole);
    }
    // CHECK-NEXT: 0 0 2 9
    p = calloc(4, 1);
    printf("%d %d ", p[0], p[3]);
    p[1] = 2;
    p = realloc(p, 100);
    p[99] = 9;
    printf("%d %d\n", p[1], p[99]);
    free(p);

    // CHECK-NEXT: 2 one [two] line=[last] end
    {
        char a[10], b[10];
        i = scanf("%s %[a-z]%*c", a, b);
        printf("%d %s [%s] ", i, a, b);
        fgets(text, sizeof text, stdin);
        printf("line=[%s] %s\n", text, fgets(text, sizeof text, stdin) ? "more" : "end");
    }
    // CHECK-NEXT: 3 10 -7 2.5
    {
        int a, b;
        float f;
        i = sscanf("0xA,-7 2.5", "%i,%d %f", &a, &b, &f);
        printf("%d %d %d %g\n", i, a, b, f);
    }
    // CHECK-NEXT: put s
    putchar('p');
    fputc('u', stdout);
    fputs("t ", stdout);
    puts("s");
    // ERR: to standard error 1
    fprintf(stderr, "to standard error %d\n", 1);
    // CHECK-NEXT: second registered
    // CHECK-NEXT: first registered, last run
    // CHECK-NEXT: status 5
    atexit(first);
    atexit(second);
    exit(5);
}
