/* Biquad cascade in Q14 (direct forms I and II transposed), one-pole smoother, leaky integrator, moving average. */
#include <stdint.h>
#include <stdio.h>

typedef struct {
    int16_t b0, b1, b2, a1, a2; /* Q14 */
} COEFFICIENTS;

typedef struct {
    int32_t x1, x2, y1, y2;
} FORM1;

typedef struct {
    int64_t s1, s2;
} FORM2;

static const COEFFICIENTS sections[2] = {{1107, 2214, 1107, -18727, 6763}, {4096, 0, -4096, -8192, 8192}};

static int32_t step1(FORM1* f, const COEFFICIENTS* c, int32_t x) {
    int64_t acc = (int64_t)c->b0 * x + (int64_t)c->b1 * f->x1 + (int64_t)c->b2 * f->x2 - (int64_t)c->a1 * f->y1 -
                  (int64_t)c->a2 * f->y2;
    int32_t y = (int32_t)(acc >> 14);
    f->x2 = f->x1;
    f->x1 = x;
    f->y2 = f->y1;
    f->y1 = y;
    return y;
}

/* same filter; the states hold the sums that step1 makes anew, so rounding is the same */
static int32_t step2(FORM2* f, const COEFFICIENTS* c, int32_t x) {
    int64_t acc = (int64_t)c->b0 * x + f->s1;
    int32_t y = (int32_t)(acc >> 14);
    f->s1 = (int64_t)c->b1 * x - (int64_t)c->a1 * y + f->s2;
    f->s2 = (int64_t)c->b2 * x - (int64_t)c->a2 * y;
    return y;
}

typedef struct {
    int32_t ring[8];
    int32_t sum;
    unsigned at;
} AVERAGE;

static int32_t average_step(AVERAGE* a, int32_t x) {
    a->sum += x - a->ring[a->at];
    a->ring[a->at] = x;
    a->at = (a->at + 1u) % 8u;
    return a->sum / 8;
}

static int32_t smooth(int32_t* state, int32_t x) {
    *state += (x * 256 - *state) / 16;
    return *state / 256;
}

int main(void) {
    FORM1 one[2] = {{0, 0, 0, 0}, {0, 0, 0, 0}};
    FORM2 two[2] = {{0, 0}, {0, 0}};
    AVERAGE average = {{0}, 0, 0};
    int32_t smoothed = 0, differences = 0;
    uint32_t check = 1;
    int32_t window[8] = {0};
    for (int n = 0; n < 400; n++) {
        int32_t x = n < 200 ? (n % 25 < 12 ? 8000 : -8000) : (n * 4099 % 8191) - 4095;
        int32_t p = x, q = x;
        for (int s = 0; s < 2; s++) {
            p = step1(&one[s], &sections[s], p);
            q = step2(&two[s], &sections[s], q);
        }
        differences += p != q;
        check = check * 31u + (uint32_t)p;
        window[n % 8] = x;
        int32_t plain = 0;
        for (int k = 0; k < 8; k++) plain += window[k];
        differences += average_step(&average, x) != plain / 8;
        int32_t m = smooth(&smoothed, x);
        if (n % 40 == 39) printf("%d: in %d out %d smooth %d average %d\n", n, (int)x, (int)p, (int)m, (int)plain / 8);
    }
    printf("differences %d, checksum %08x\n", (int)differences, (unsigned)check);

    /* a step through the low pass settles at the gain at zero frequency, less the truncation */
    FORM1 f = {0, 0, 0, 0};
    int32_t y = 0;
    for (int n = 0; n < 300; n++) y = step1(&f, &sections[0], 10000);
    int gain_up = 1107 + 2214 + 1107, gain_down = 16384 - 18727 + 6763;
    int ideal = 10000 * gain_up / gain_down;
    printf("settled %d, ideal %d, close %d\n", (int)y, ideal, y - ideal < 6 && ideal - y < 6);
    return 0;
}
