/* Speed of the interpreter: nxparse -o speed.ic speed.c && nxrun --time speed.ic [matrix|sieve|calls] */
#include <stdio.h>
#include <string.h>

#define SIDE 120
#define LIMIT 1000000
static int a[SIDE][SIDE], b[SIDE][SIDE], c[SIDE][SIDE];
static char composite[LIMIT + 1];

static unsigned matrix(int rounds) {
    unsigned sum = 0;
    int i, j, k;
    for (i = 0; i < SIDE; i++)
        for (j = 0; j < SIDE; j++) a[i][j] = i + j, b[i][j] = i - j;
    while (rounds-- > 0)
        for (i = 0; i < SIDE; i++)
            for (j = 0; j < SIDE; j++) {
                int dot = 0;
                for (k = 0; k < SIDE; k++) dot += a[i][k] * b[k][j];
                c[i][j] = dot;
                sum += (unsigned)dot;
            }
    return sum;
}

static unsigned sieve(int rounds) {
    unsigned primes = 0;
    int i, j;
    while (rounds-- > 0) {
        primes = 0;
        memset(composite, 0, sizeof composite);
        for (i = 2; i <= LIMIT; i++) {
            if (composite[i]) continue;
            primes++;
            for (j = i + i; j <= LIMIT; j += i) composite[j] = 1;
        }
    }
    return primes;
}

static int fibonacci(int n) { return n < 2 ? n : fibonacci(n - 1) + fibonacci(n - 2); }

int main(int argc, char **argv) {
    const char *which = argc > 1 ? argv[1] : "";
    if (strcmp(which, "sieve") != 0 && strcmp(which, "calls") != 0) printf("matrix %u\n", matrix(10));
    if (strcmp(which, "matrix") != 0 && strcmp(which, "calls") != 0) printf("sieve %u\n", sieve(5));
    if (strcmp(which, "matrix") != 0 && strcmp(which, "sieve") != 0) printf("calls %d\n", fibonacci(32));
    return 0;
}
