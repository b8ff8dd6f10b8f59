/* long has 32 bits: wrapping of unsigned long, conversions from 64 bits, strtol limits, printf with %ld, mixed
 * arithmetic.
 *
 * Line by line:
 *  1  unsigned long wraps: 4294967295+1 = 0; 0-1 = 4294967295; 65536*65536 = 0; 3000000000*2 =
 *     6000000000-4294967296 = 1705032704
 *  2  (long)5000000000 keeps the low 32 bits: 5000000000-4294967296 = 705032704; (unsigned long)-1ll = 4294967295;
 *     (long)3000000000u = 3000000000-4294967296 = -1294967296
 *  3  a long and an unsigned int meet as unsigned long (long does not hold all of unsigned): -1l < 1u is 0; a long
 *     long holds them all: -1ll < 1u is 1
 *  4  the constant 2147483648 does not fit a long and is a long long: size 4; 2147483647 is an int: 2; 0x80000000
 *     fits unsigned int: 2; 4294967296 is a long long: 4
 *  5  strtol stops at the 32-bit limits: 2147483647 and -2147483648 with ERANGE, -2147483648 itself without
 *  6  strtoul("4294967295") fits; "4294967296" does not: ULONG_MAX, ERANGE
 *  7  1ul<<31 = 2147483648; (1ul<<31)<<1 = 0; -8l>>1 = -4; ~0ul>>31 = 1
 *  8  labs(-2147483647l) = 2147483647; -7l/2 = -3; -7l%2 = -1
 *  9  a product of two longs widened first: 100000*100000 = 10000000000; kept in unsigned long:
 *     10000000000-2*4294967296 = 1410065408
 * 10  100000 added 100000 times in unsigned long: 1410065408 as well
 */
#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>

static volatile unsigned long zero, three = 3000000000ul, k64 = 65536;
static volatile long long big = 5000000000ll, minus_one = -1;
static volatile long small = 100000;

static const char* range(void) { return errno == ERANGE ? "range" : "ok"; }

int main(void) {
    unsigned long all = zero - 1;
    printf("%lu %lu %lu %lu\n", all + 1, all, k64 * k64, three * 2);
    printf("%ld %lu %ld\n", (long)big, (unsigned long)minus_one, (long)(unsigned)three);
    printf("%d %d\n", (long)minus_one < 1u, minus_one < 1u);
    printf("%d %d %d %d\n", (int)sizeof 2147483648, (int)sizeof 2147483647, (int)sizeof 0x80000000,
           (int)sizeof 4294967296);
    static const char* const texts[] = {"2147483648", "-2147483649", "-2147483648"};
    for (int i = 0; i < 3; i++) {
        errno = 0;
        long v = strtol(texts[i], NULL, 10);
        printf("%ld %s%c", v, range(), i < 2 ? ',' : '\n');
    }
    errno = 0;
    unsigned long u = strtoul("4294967295", NULL, 10);
    printf("%lu %s,", u, range());
    u = strtoul("4294967296", NULL, 10);
    printf("%lu %s\n", u, range());
    unsigned long bit = 1ul << (31 + zero);
    printf("%lu %lu %ld %lu\n", bit, bit << 1, (minus_one * 8) >> 1 == -4 ? -8l >> 1 : 0l, all >> 31);
    printf("%ld %ld %ld\n", labs(-2147483647l), -7l / (2 + (long)zero), -7l % (2 + (long)zero));
    printf("%lld %lu\n", (long long)small * small, (unsigned long)small * (unsigned long)small);
    unsigned long sum = 0;
    for (long i = 0; i < small; i++) sum += (unsigned long)small;
    printf("%lu\n", sum);
    return 0;
}
