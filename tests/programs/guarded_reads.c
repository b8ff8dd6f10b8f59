/* Values that only the test in front of them makes readable: unset locals, null pointers, zero divisors. */
#include <stdio.h>

static int table[4] = {3, 0, 7, 0};
static volatile int noise = 5;

static int cached_or(int valid, int fresh) {
    int cached;
    if (valid) cached = fresh;
    return !valid || cached;
}

static int cached_and(int valid, unsigned fresh) {
    unsigned cached;
    if (valid) cached = fresh & 8;
    return valid & 1 && cached & 8;
}

static int through(const int *p) { return p && *p; }
static int behind(const int *p, int n) { return n == 0 || p[n - 1] == 7; }
static int quotient(int a, int b) { return b && a / b; }
static int remainder_or(int a, int b) { return b == 0 || a % b; }

static int chosen(int c, int x) {
    int y;
    if (c > 0) y = x * 2;
    return c > 0 ? y : -1;
}

static int bits(unsigned a, unsigned b) { return (a & 4) && (b & 16) && noise; }

int main(void) {
    int i, sum = 0;
    for (i = 0; i < 3; i++) {
        printf("%d %d ", cached_or(i, i - 1), cached_and(i, i * 8u));
        printf("%d %d ", through(i ? &table[i] : 0), behind(i ? table : 0, i));
        printf("%d %d ", quotient(7, i), remainder_or(i * 3, i));
        printf("%d %d\n", chosen(i - 1, i), bits(i * 4u, i * 16u));
        sum += i;
    }
    printf("%d\n", sum);
    return 0;
}
