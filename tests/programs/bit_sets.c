/* Bit sets in word arrays: sieve, set algebra, iteration over members, packed boolean matrix with transitive
 * closure. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#define LIMIT 2000
#define WORDS (LIMIT / 32 + 1)

typedef struct {
    uint32_t word[WORDS];
} SET;

static void set_add(SET* s, int i) { s->word[i >> 5] |= 1u << (i & 31); }
static void set_remove(SET* s, int i) { s->word[i >> 5] &= ~(1u << (i & 31)); }
static int set_has(const SET* s, int i) { return s->word[i >> 5] >> (i & 31) & 1; }

static int set_count(const SET* s) {
    int n = 0;
    for (int i = 0; i < WORDS; i++)
        for (uint32_t w = s->word[i]; w; w &= w - 1) n++;
    return n;
}

static SET set_combine(const SET* a, const SET* b, char op) {
    SET r;
    for (int i = 0; i < WORDS; i++) {
        switch (op) {
        case '&': r.word[i] = a->word[i] & b->word[i]; break;
        case '|': r.word[i] = a->word[i] | b->word[i]; break;
        case '-': r.word[i] = a->word[i] & ~b->word[i]; break;
        default: r.word[i] = a->word[i] ^ b->word[i]; break;
        }
    }
    return r;
}

static int set_next(const SET* s, int i) {
    while (++i < LIMIT)
        if (set_has(s, i)) return i;
    return -1;
}

static void sieve(SET* s) {
    memset(s, 0, sizeof *s);
    for (int i = 2; i < LIMIT; i++) set_add(s, i);
    for (int p = 2; p * p < LIMIT; p++) {
        if (!set_has(s, p)) continue;
        for (int m = p * p; m < LIMIT; m += p) set_remove(s, m);
    }
}

static uint16_t reach[16];

static void closure(void) {
    for (int k = 0; k < 16; k++)
        for (int i = 0; i < 16; i++)
            if (reach[i] >> k & 1) reach[i] = (uint16_t)(reach[i] | reach[k]);
}

int main(void) {
    static SET primes, squares, fibonacci, odd;
    sieve(&primes);
    printf("primes below %d: %d\n", LIMIT, set_count(&primes));
    int twins = 0, gap = 0, previous = 2;
    for (int p = set_next(&primes, 2); p > 0; p = set_next(&primes, p)) {
        twins += p - previous == 2;
        if (p - previous > gap) gap = p - previous;
        previous = p;
    }
    printf("last %d, twins %d, widest gap %d\n", previous, twins, gap);
    for (int i = 0; i * i < LIMIT; i++) set_add(&squares, i * i);
    for (int a = 1, b = 2, t; a < LIMIT; t = a + b, a = b, b = t) set_add(&fibonacci, a);
    for (int i = 1; i < LIMIT; i += 2) set_add(&odd, i);
    SET r = set_combine(&fibonacci, &primes, '&');
    printf("fibonacci primes:");
    for (int i = set_next(&r, -1); i >= 0; i = set_next(&r, i)) printf(" %d", i);
    r = set_combine(&squares, &fibonacci, '&');
    printf("\nfibonacci squares:");
    for (int i = set_next(&r, -1); i >= 0; i = set_next(&r, i)) printf(" %d", i);
    r = set_combine(&primes, &odd, '-');
    printf("\neven primes:");
    for (int i = set_next(&r, -1); i >= 0; i = set_next(&r, i)) printf(" %d", i);
    SET both = set_combine(&squares, &odd, '&'), either = set_combine(&squares, &odd, '|'),
        one = set_combine(&squares, &odd, '^');
    printf("\n%d + %d = %d + %d, %d\n", set_count(&squares), set_count(&odd), set_count(&both), set_count(&either),
           set_count(&one));

    for (int i = 0; i < 16; i++) reach[i] = (uint16_t)(1u << (i * 3 + 1) % 16 & (i % 4 == 3 ? 0u : 0xffffu));
    closure();
    int pairs = 0;
    for (int i = 0; i < 16; i++) {
        printf("%04x%c", (unsigned)reach[i], i % 8 == 7 ? '\n' : ' ');
        for (int j = 0; j < 16; j++) pairs += reach[i] >> j & 1;
    }
    printf("pairs %d\n", pairs);
    return 0;
}
