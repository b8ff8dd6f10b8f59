/* Random number generators with published outputs: Mersenne twister, xorshift, PCG, minimal standard; shuffles,
 * dice. */
#include <stdint.h>
#include <stdio.h>

static uint32_t mt[624];
static int mt_index;

static void mt_seed(uint32_t seed) {
    mt[0] = seed;
    for (int i = 1; i < 624; i++) mt[i] = 1812433253u * (mt[i - 1] ^ mt[i - 1] >> 30) + (uint32_t)i;
    mt_index = 624;
}

static uint32_t mt_next(void) {
    if (mt_index == 624) {
        for (int i = 0; i < 624; i++) {
            uint32_t y = (mt[i] & 0x80000000u) | (mt[(i + 1) % 624] & 0x7fffffffu);
            mt[i] = mt[(i + 397) % 624] ^ y >> 1 ^ (y & 1u ? 0x9908b0dfu : 0);
        }
        mt_index = 0;
    }
    uint32_t y = mt[mt_index++];
    y ^= y >> 11;
    y ^= y << 7 & 0x9d2c5680u;
    y ^= y << 15 & 0xefc60000u;
    return y ^ y >> 18;
}

static uint32_t minimal(uint32_t* seed) {
    *seed = (uint32_t)((uint64_t)*seed * 16807u % 2147483647u);
    return *seed;
}

/* the same without 64-bit arithmetic */
static int32_t minimal_schrage(int32_t seed) {
    seed = 16807 * (seed % 127773) - 2836 * (seed / 127773);
    return seed < 0 ? seed + 2147483647 : seed;
}

typedef struct {
    uint64_t state, increment;
} PCG;

static uint32_t pcg_next(PCG* p) {
    uint64_t old = p->state;
    p->state = old * 6364136223846793005ull + p->increment;
    uint32_t shifted = (uint32_t)((old >> 18 ^ old) >> 27), turn = (uint32_t)(old >> 59);
    return shifted >> turn | shifted << (-turn & 31);
}

static PCG pcg_seed(uint64_t state, uint64_t sequence) {
    PCG p = {0, sequence << 1 | 1};
    pcg_next(&p);
    p.state += state;
    pcg_next(&p);
    return p;
}

static uint64_t xorshift64(uint64_t* s) {
    *s ^= *s << 13;
    *s ^= *s >> 7;
    *s ^= *s << 17;
    return *s;
}

static int below(PCG* p, int n) {
    uint32_t limit = 0xffffffffu - 0xffffffffu % (uint32_t)n, v;
    do { v = pcg_next(p); } while (v >= limit);
    return (int)(v % (uint32_t)n);
}

static void shuffle(PCG* p, short* v, int n) {
    while (n > 1) {
        int k = below(p, n--);
        short t = v[n];
        v[n] = v[k];
        v[k] = t;
    }
}

int main(void) {
    /* published: the first outputs for seed 5489, and the 10000th is 4123659995 */
    mt_seed(5489);
    for (int i = 1; i <= 10000; i++) {
        uint32_t v = mt_next();
        if (i <= 3 || i == 10000) printf("%u ", (unsigned)v);
    }
    printf("\n");
    /* published: minimal standard from 1, the 10000th is 1043618065 */
    uint32_t seed = 1;
    int32_t other = 1, differences = 0;
    for (int i = 0; i < 10000; i++) {
        minimal(&seed);
        other = minimal_schrage(other);
        differences += (uint32_t)other != seed;
    }
    printf("%u, differences %d\n", (unsigned)seed, (int)differences);
    /* published: pcg32 with state 42 and sequence 54 begins with a15c02b7 */
    PCG p = pcg_seed(42, 54);
    for (int i = 0; i < 6; i++) printf("%08x ", (unsigned)pcg_next(&p));
    printf("\n");
    uint64_t s = 88172645463325252ull;
    uint64_t a = xorshift64(&s), b = xorshift64(&s);
    printf("%llu %llu\n", (unsigned long long)a, (unsigned long long)b);
    short cards[52], seen[52] = {0};
    for (short i = 0; i < 52; i++) cards[i] = i;
    shuffle(&p, cards, 52);
    int moved = 0, once = 1;
    for (int i = 0; i < 52; i++) {
        seen[cards[i]]++;
        moved += cards[i] != i;
    }
    for (int i = 0; i < 52; i++) once &= seen[i] == 1;
    printf("shuffled %d, each once %d\n", moved > 40, once);
    int faces[7] = {0}, doubles = 0;
    for (int i = 0; i < 6000; i++) {
        int x = below(&p, 6) + 1, y = below(&p, 6) + 1;
        faces[x]++;
        doubles += x == y;
    }
    int fair = doubles > 850 && doubles < 1150;
    for (int f = 1; f <= 6; f++) fair &= faces[f] > 850 && faces[f] < 1150;
    printf("none outside %d, fair %d\n", faces[0] == 0, fair);
    int inside = 0;
    for (int i = 0; i < 20000; i++) {
        long long x = (long long)(pcg_next(&p) >> 1), y = (long long)(pcg_next(&p) >> 1);
        inside += x * x / 4 + y * y / 4 < (1ll << 60);
    }
    printf("four times the share in a quarter circle: %d tenths\n", inside * 40 / 20000);
    return 0;
}
