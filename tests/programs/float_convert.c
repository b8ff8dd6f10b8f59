/* Conversions among integers of every size, float and double; truncation toward zero; mixed arithmetic; rounding
 * by hand. */
#include <stdint.h>
#include <stdio.h>

static int round_half_up(double d) { return (int)(d < 0 ? d - 0.5 : d + 0.5); }

static int16_t to_q15(float f) {
    float scaled = f * 32768.0f;
    if (scaled >= 32767.0f) return 32767;
    if (scaled <= -32768.0f) return -32768;
    return (int16_t)scaled;
}

static float from_q15(int16_t v) { return (float)v / 32768.0f; }

static double average(const int16_t* v, int n) {
    long long s = 0;
    for (int i = 0; i < n; i++) s += v[i];
    return (double)s / n;
}

static unsigned float_to_unsigned(double d) {
    return d >= 2147483648.0 ? (unsigned)(int)(d - 2147483648.0) + 0x80000000u : (unsigned)(int)d;
}

typedef struct {
    int whole;
    int thousandths;
} PARTS;

static PARTS split(double d) {
    PARTS p;
    p.whole = (int)d;
    p.thousandths = (int)((d - p.whole) * 1000);
    return p;
}

int main(void) {
    static const double values[] = {0.0, 0.5, 0.75, 1.25, -0.75, -1.5, 99.875, -1000.125, 32767.5, 2147483520.0};
    for (int i = 0; i < 10; i++) {
        double d = values[i];
        float f = (float)d;
        PARTS p = split(d);
        printf("%g: int %d, long long %lld, rounded %d, float %g, parts %d %d\n", d, (int)d, (long long)d,
               i < 9 ? round_half_up(d) : 0, (double)f, p.whole, p.thousandths);
    }
    int16_t s = -1234;
    uint16_t us = 54321;
    int32_t i = -7654321;
    uint32_t u = 4000000000u;
    int64_t l = -1234567890123ll;
    uint64_t ul = 1ull << 63;
    printf("%g %g %g %g %.1f %.1f\n", (double)s, (double)us, (double)i, (double)u, (double)l, (double)ul);
    printf("%d %d\n", (float)u == 4000000000.0f, (double)(float)16777217 == 16777216.0);
    printf("%llu %lld\n", (unsigned long long)9223372036854775808.0, (long long)-4611686018427387904.0);
    printf("%u %u %u\n", (unsigned)3000000000.0, float_to_unsigned(3000000000.0), float_to_unsigned(5.75));
    printf("%d %d\n", (int16_t)-300.75f, (uint16_t)65535.25);
    s = (int16_t)(s * 1.5);
    us = (uint16_t)(us / 2.0f);
    i = (int32_t)(i * 0.25);
    printf("%d %u %d\n", s, (unsigned)us, (int)i);
    printf("%g %g %g\n", 7 / 2 + 0.5, 7 / 2.0 + 0.5, 7 / 2.0f + 1 / 2);
    printf("%g %d %g\n", 3 + 0.25f, (int)3.99f + (int)-3.99, (double)(1.0f + 2));
    u = 10;
    printf("%d %d %d\n", -1 < 1u, -1.0 < 1u, u - 11 > 0.0);
    int ok = 1;
    for (int v = -32768; v < 32768; v += 257) ok &= to_q15(from_q15((int16_t)v)) == v;
    printf("q15 round trip %d, limits %d %d %d\n", ok, to_q15(2.0f), to_q15(-2.0f), to_q15(-0.5f));
    const int16_t samples[] = {1, 2, 3, 4, -32768, 32767, 0, 7};
    printf("average %g\n", average(samples, 8));
    float acc = 0;
    for (int k = 0; k < 100; k++) acc += k * 0.5f - (k % 2 ? 1 : 2);
    printf("%g\n", (double)acc);
    long long exact = 1;
    double power = 1;
    int same = 0;
    for (int k = 0; k < 39; k++) {
        exact *= 3;
        power *= 3;
        same += (double)exact == power;
        if (k > 33) exact /= 3, power = (double)exact;
    }
    printf("powers of three equal %d times\n", same >= 33);
    _Bool yes = 0.25, no = 0.0, down = (_Bool)-0.0f;
    printf("%d %d %d\n", yes, no, down);
    double table[3][2] = {{1, 2.5f}, {'A', 3u}, {-1, 1 << 20}};
    for (int k = 0; k < 6; k++) printf("%g ", table[k / 2][k % 2]);
    printf("\n");
    return 0;
}
