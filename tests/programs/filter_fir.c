/* FIR filters in Q15: straight, symmetric (folded), circular buffer, decimating, saturating; all forms must agree. */
#include <stdint.h>
#include <stdio.h>

#define TAPS 16
#define SAMPLES 128

static const int16_t taps[TAPS] = {-52,  -210, -394, -290, 508,  2180, 4317, 5900,
                                   5900, 4317, 2180, 508,  -290, -394, -210, -52};

static int16_t saturate(int32_t v) {
    if (v > 32767) return 32767;
    if (v < -32768) return -32768;
    return (int16_t)v;
}

static void fir_plain(const int16_t* restrict x, int16_t* restrict y, int n) {
    for (int i = 0; i < n; i++) {
        int32_t sum = 1 << 14;
        for (int k = 0; k < TAPS; k++)
            if (i - k >= 0) sum += taps[k] * x[i - k];
        y[i] = saturate(sum >> 15);
    }
}

static void fir_folded(const int16_t* x, int16_t* y, int n) {
    for (int i = 0; i < n; i++) {
        int32_t sum = 1 << 14;
        for (int k = 0; k < TAPS / 2; k++) {
            int32_t a = i >= k ? x[i - k] : 0;
            int32_t b = i >= TAPS - 1 - k ? x[i - TAPS + 1 + k] : 0;
            sum += taps[k] * (a + b);
        }
        y[i] = saturate(sum >> 15);
    }
}

typedef struct {
    int16_t line[TAPS];
    unsigned position;
} DELAY;

static int16_t fir_step(DELAY* d, int16_t in) {
    int32_t sum = 1 << 14;
    d->line[d->position & (TAPS - 1)] = in;
    for (unsigned k = 0; k < TAPS; k++) sum += taps[k] * d->line[(d->position - k) & (TAPS - 1)];
    d->position++;
    return saturate(sum >> 15);
}

/* two taps a turn, as a hand-unrolled kernel would be written */
static void fir_unrolled(const int16_t* x, int16_t* y, int n) {
    for (int i = TAPS - 1; i < n; i++) {
        const int16_t* p = &x[i];
        const int16_t* c = taps;
        int32_t even = 1 << 14, odd = 0;
        do {
            even += *c++ * *p--;
            odd += *c++ * *p--;
        } while (c != taps + TAPS);
        y[i] = saturate((even + odd) >> 15);
    }
}

static int decimate(const int16_t* x, int16_t* y, int n, int factor) {
    DELAY d = {.position = 0};
    int made = 0;
    for (int i = 0; i < n; i++) {
        int16_t v = fir_step(&d, x[i]);
        if (i % factor == 0) y[made++] = v;
    }
    return made;
}

int main(void) {
    static int16_t x[SAMPLES], y[SAMPLES], z[SAMPLES], w[SAMPLES], u[SAMPLES], few[SAMPLES];
    /* impulse response is the taps, scaled by the impulse */
    x[0] = 16384;
    fir_plain(x, y, TAPS + 1);
    for (int k = 0; k <= TAPS; k++) printf("%d%s", y[k], k < TAPS ? " " : "\n");

    for (int i = 0; i < SAMPLES; i++) x[i] = (int16_t)((i * 7919 + i * i * 13) % 40001 - 20000);
    fir_plain(x, y, SAMPLES);
    fir_folded(x, z, SAMPLES);
    DELAY d = {{0}, 0};
    for (int i = 0; i < SAMPLES; i++) w[i] = fir_step(&d, x[i]);
    fir_unrolled(x, u, SAMPLES);
    int differences = 0;
    for (int i = 0; i < SAMPLES; i++) {
        differences += y[i] != z[i];
        differences += y[i] != w[i];
        if (i >= TAPS - 1) differences += y[i] != u[i];
    }
    int32_t sum = 0;
    for (int i = 0; i < SAMPLES; i++) sum = sum % 65521 * 3 + y[i];
    printf("differences %d, checksum %d\n", differences, (int)sum);
    int made = decimate(x, few, SAMPLES, 4), wrong = 0;
    for (int i = 0; i < made; i++) wrong += few[i] != y[4 * i];
    printf("decimated %d, wrong %d\n", made, wrong);

    for (int i = 0; i < SAMPLES; i++) x[i] = 32767;
    fir_plain(x, y, SAMPLES);
    int32_t gain = 0;
    for (int k = 0; k < TAPS; k++) gain += taps[k];
    printf("gain %d, constant in gives %d, expected %d\n", (int)gain, y[SAMPLES - 1],
           (int)((gain * 32767ll + (1 << 14)) >> 15));
    return 0;
}
