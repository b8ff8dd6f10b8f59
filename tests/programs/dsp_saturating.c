/* Saturating and rounding fixed-point arithmetic: Q15/Q31 adds and products, dot product, block scaling, square
 * root. */
#include <limits.h>
#include <stdint.h>
#include <stdio.h>

static inline int32_t clip32(int64_t v) { return v > INT32_MAX ? INT32_MAX : v < INT32_MIN ? INT32_MIN : (int32_t)v; }

static inline int16_t clip16(int32_t v) { return (int16_t)(v > 32767 ? 32767 : v < -32768 ? -32768 : v); }

static int32_t add_sat(int32_t a, int32_t b) {
    uint32_t sum = (uint32_t)a + (uint32_t)b;
    /* overflow if both operands differ in sign from the sum */
    if (((uint32_t)a ^ sum) & ((uint32_t)b ^ sum) & 0x80000000u) return a < 0 ? INT32_MIN : INT32_MAX;
    return clip32((int64_t)a + b);
}

static int32_t mul_q31(int32_t a, int32_t b) { return clip32(((int64_t)a * b + (1ll << 30)) >> 31); }

static int16_t mul_q15(int16_t a, int16_t b) { return clip16((a * b + (1 << 14)) >> 15); }

static int norm32(int32_t v) {
    uint32_t u = v < 0 ? ~(uint32_t)v : (uint32_t)v;
    int n = 0;
    if (u == 0) return 31;
    while (!(u & 0x40000000u)) {
        u <<= 1;
        n++;
    }
    return n;
}

static int64_t dot(const int16_t* a, const int16_t* b, int n) {
    int64_t acc = 0;
    while (n--) acc += (int32_t)*a++ * *b++;
    return acc;
}

static uint32_t square_root(uint64_t v) {
    uint64_t bit = 1ull << 62, root = 0;
    while (bit > v) bit >>= 2;
    for (; bit; bit >>= 2) {
        if (v >= root + bit) {
            v -= root + bit;
            root = (root >> 1) + bit;
        } else {
            root >>= 1;
        }
    }
    return (uint32_t)root;
}

static int block_exponent(const int32_t* v, int n) {
    int least = 31;
    for (int i = 0; i < n; i++) {
        int e = norm32(v[i]);
        if (e < least) least = e;
    }
    return least;
}

int main(void) {
    static const int32_t samples[] = {0, 1, -1, 1000, -1000, 0x40000000, -0x40000000, INT32_MAX, INT32_MIN};
    int n = (int)(sizeof samples / sizeof samples[0]);
    for (int i = 0; i < n; i++)
        printf("%d: +max %d, +min %d, *half %d, *-1 %d, norm %d\n", (int)samples[i],
               (int)add_sat(samples[i], INT32_MAX), (int)add_sat(samples[i], INT32_MIN),
               (int)mul_q31(samples[i], 0x40000000), (int)mul_q31(samples[i], INT32_MIN), norm32(samples[i]));
    printf("q15: %d %d %d %d\n", mul_q15(32767, 32767), mul_q15(-32768, -32768), mul_q15(16384, 16384),
           mul_q15(-32768, 1));

    int16_t a[32], b[32];
    for (int i = 0; i < 32; i++) {
        a[i] = (int16_t)(i * 1000 - 16000);
        b[i] = (int16_t)(i & 1 ? 32767 : -32768);
    }
    int64_t d = dot(a, b, 32);
    /* the odd elements of a sum to 0, the even ones to -16000: -16000 * -32768 */
    printf("dot %lld, saturated %d\n", (long long)d, (int)clip32(d * 8));

    static const uint64_t squares[] = {
        0, 1, 3, 4, 99, 100, 65536, 4294967295ull, 4294967296ull, 1000000000000ull, UINT64_MAX};
    for (unsigned i = 0; i < sizeof squares / sizeof squares[0]; i++) {
        uint64_t r = square_root(squares[i]);
        int ok = r * r <= squares[i] && (r == UINT32_MAX || (r + 1) * (r + 1) > squares[i]);
        printf("%llu:%llu%s ", (unsigned long long)squares[i], (unsigned long long)r, ok ? "" : " wrong");
    }
    putchar('\n');

    int32_t block[6] = {300, -5, 1200, -70000, 12, 65535};
    int e = block_exponent(block, 6);
    printf("exponent %d:", e);
    for (int i = 0; i < 6; i++) {
        block[i] = (int32_t)((uint32_t)block[i] << e);
        printf(" %d", (int)block[i]);
    }
    printf("\nnow %d\n", block_exponent(block, 6));
    return 0;
}
