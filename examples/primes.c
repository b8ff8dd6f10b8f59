/* Primes by a sieve of packed bits, and the largest gap between two neighbours. */
#include <stdio.h>
#include <string.h>

#define LIMIT 30000
#define WORD 32

static unsigned composite[LIMIT / WORD + 1];

static int is_marked(int n) { return composite[n / WORD] >> n % WORD & 1; }
static void mark(int n) { composite[n / WORD] |= 1u << n % WORD; }

struct gap {
    int from, to;
};

static struct gap widest(int limit) {
    struct gap best = {2, 3};
    int last = 2;
    for (int n = 3; n <= limit; n++) {
        if (is_marked(n)) continue;
        if (n - last > best.to - best.from) {
            best.from = last;
            best.to = n;
        }
        last = n;
    }
    return best;
}

int main(void) {
    int count = 0;
    for (int n = 2; n < LIMIT; n++) {
        if (is_marked(n)) continue;
        count++;
        for (int m = n + n; m < LIMIT; m += n) mark(m);
    }
    struct gap gap = widest(LIMIT - 1);
    printf("%d primes below %d, widest gap %d to %d\n", count, LIMIT, gap.from, gap.to);
    return 0;
}
