// The printf family's conversions, flags, widths and precisions. A character of the target has 16 bits: %hhd is %hd.
//
// REQUIRES: front-end
// RUN: nxparse -w %s -o %t && nxrun %t | FileCheck %s --match-full-lines --strict-whitespace
#include <math.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

static int through(char *to, size_t n, const char *format, ...) {
    va_list ap, again;
    int length;
    va_start(ap, format);
    again = ap;
    length = vsnprintf(to, n, format, ap);
    printf("<");
    vprintf(format, again);
    printf(">\n");
    va_end(ap);
    return length;
}

int main(void) {
    char text[40];
    int n, m;
    double zero = 0;
    //      CHECK:[   42][42   ][00042][+42][ 42][-42]
    printf("[%5d][%-5d][%05d][%+d][% d][%i]\n", 42, 42, 42, 42, 42, -42);
    // CHECK-NEXT:[ff][FF][0xff][377][0377][4294967295][  00ff]
    printf("[%x][%X][%#x][%o][%#o][%u][%6.4x]\n", 255, 255, 255, 255, 255, -1, 255);
    // CHECK-NEXT:[-32768][32768][-1][65535]
    printf("[%hd][%hu][%hhd][%hhu]\n", 32768, 32768, 65535, 65535);
    // CHECK-NEXT:[-9223372036854775808][18446744073709551615][123456789a][-5][7]
    printf("[%lld][%llu][%llx][%ld][%zu]\n", -9223372036854775807LL - 1, ~0ULL, 0x123456789aLL, -5L, (size_t)7);
    // CHECK-NEXT:[x][  x][x  ][string][  str][str  ][]
    printf("[%c][%3c][%-3c][%s][%5.3s][%-5.3s][%.0s]\n", 'x', 'x', 'x', "string", "string", "string", "string");
    // CHECK-NEXT:[3.141593][3.14][   3.1][3.1   ][+3.142][003.14][3.]
    printf("[%f][%.2f][%6.1f][%-6.1f][%+.3f][%06.2f][%#.0f]\n", 3.14159265, 3.14159265, 3.14159265, 3.14159265,
           3.14159265, 3.14159265, 3.14159265);
    // CHECK-NEXT:[1.500000e+10][1.5E-07][1e+10][0.0001][1e-05][0x1.8p+1][100000][1e+06]
    printf("[%e][%.1E][%g][%g][%g][%a][%g][%g]\n", 1.5e10, 1.5e-7, 1e10, 0.0001, 0.00001, 3.0, 100000.0, 1e6);
    // CHECK-NEXT:[inf][-inf][INF][nan][   inf][-0.0]
    printf("[%f][%f][%F][%g][%6.2f][%.1f]\n", 1 / zero, -1 / zero, 1 / zero, fabs(zero / zero), 1 / zero, -zero);
    // CHECK-NEXT:[   7][7   ][00.5][ab][100%]
    printf("[%*d][%*d][%0*.*f][%.*s][%d%%]\n", 4, 7, -4, 7, 4, 1, 0.5, 2, "abcdef", 100);
    // CHECK-NEXT:[(nil)] 12 3
    printf("[%p]", (void *)0);
    printf(" %d%n", 12, &n);
    printf(" %d\n", n);
    // CHECK-NEXT:<1 two 3.0 4>
    // CHECK-NEXT:11 1 two
    m = through(text, 6, "%d %s %.1f %lld", 1, "two", 3.0, 4LL);
    printf("%d %s\n", m, text);
    // CHECK-NEXT:6 [-1 zz.]
    n = sprintf(text, "%d %s", -1, "zz.");
    printf("%d [%s]\n", n, text);
    return 0;
}
