/* Fixed-point radix-2 FFT (Q14 twiddles from a quarter-wave table), inverse, energy check; struct arrays, bit
 * reversal. */
#include <stdint.h>
#include <stdio.h>

#define LOG2N 6
#define N (1 << LOG2N)

typedef struct {
    int32_t re, im;
} COMPLEX;

/* sin(2 pi k / 64) in Q14 for k = 0..16 */
static const int16_t quarter[17] = {0,     1606,  3196,  4756,  6270,  7723,  9102,  10394, 11585,
                                    12665, 13623, 14449, 15137, 15679, 16069, 16305, 16384};

static int32_t sine(int k) {
    k &= N - 1;
    if (k <= 16) return quarter[k];
    if (k <= 32) return quarter[32 - k];
    if (k <= 48) return -quarter[k - 32];
    return -quarter[64 - k];
}

static COMPLEX twiddle(int k, int direction) {
    COMPLEX w = {sine(k + 16), -direction * sine(k)};
    return w;
}

static COMPLEX times(COMPLEX a, COMPLEX w) {
    COMPLEX r;
    r.re = (int32_t)(((int64_t)a.re * w.re - (int64_t)a.im * w.im + (1 << 13)) >> 14);
    r.im = (int32_t)(((int64_t)a.re * w.im + (int64_t)a.im * w.re + (1 << 13)) >> 14);
    return r;
}

static unsigned reverse(unsigned v) {
    unsigned r = 0;
    for (int b = 0; b < LOG2N; b++) {
        r = r << 1 | (v & 1u);
        v >>= 1;
    }
    return r;
}

static void fft(COMPLEX* x, int direction) {
    for (unsigned i = 0; i < N; i++) {
        unsigned j = reverse(i);
        if (j > i) {
            COMPLEX t = x[i];
            x[i] = x[j];
            x[j] = t;
        }
    }
    for (int half = 1; half < N; half <<= 1) {
        int stride = N / (2 * half);
        for (int k = 0; k < half; k++) {
            COMPLEX w = twiddle(k * stride, direction);
            for (int i = k; i < N; i += 2 * half) {
                COMPLEX t = times(x[i + half], w);
                x[i + half].re = x[i].re - t.re;
                x[i + half].im = x[i].im - t.im;
                x[i].re += t.re;
                x[i].im += t.im;
            }
        }
    }
}

static int32_t distance(int32_t a, int32_t b) { return a > b ? a - b : b - a; }

int main(void) {
    COMPLEX x[N], original[N];
    int16_t amplitude[2] = {4000, 1500};
    int bins[2] = {5, 20};
    for (int i = 0; i < N; i++) {
        int64_t v = 0;
        for (int t = 0; t < 2; t++) v += (int64_t)amplitude[t] * sine(i * bins[t] + 16 * t);
        x[i].re = (int32_t)(v / 16384) + 100;
        x[i].im = 0;
        original[i] = x[i];
    }
    fft(x, 1);
    /* a sine of amplitude A at bin k gives |X[k]| = A * N / 2; the mean is bin 0 */
    for (int k = 0; k < N / 2; k++) {
        int64_t power = (int64_t)x[k].re * x[k].re + (int64_t)x[k].im * x[k].im;
        if (power > 1000000)
            printf("bin %d: near %d %d\n", k, (int)((x[k].re + 512) >> 10), (int)((x[k].im + 512) >> 10));
    }
    printf("bin 0 close to 6400: %d\n", distance(x[0].re, 6400) < 40);
    printf("bin 5 close to -128000i: %d\n", distance(x[5].im, -128000) < 64 && distance(x[5].re, 0) < 64);
    printf("bin 20 close to 48000: %d\n", distance(x[20].re, 48000) < 64 && distance(x[20].im, 0) < 64);
    int32_t asymmetry = 0;
    for (int k = 1; k < N; k++) {
        int32_t d = distance(x[k].re, x[N - k].re) + distance(x[k].im, -x[N - k].im);
        if (d > asymmetry) asymmetry = d;
    }
    printf("real input gives a symmetric spectrum: %d\n", asymmetry < 16);
    fft(x, -1);
    int32_t worst = 0;
    for (int i = 0; i < N; i++) {
        int32_t d = distance((x[i].re + N / 2) >> LOG2N, original[i].re);
        if (d > worst) worst = d;
        d = distance(x[i].im >> LOG2N, 0);
        if (d > worst) worst = d;
    }
    printf("worst error of the round trip below 3: %d\n", worst < 3);
    uint32_t check = 0;
    for (int i = 0; i < N; i++) check = check * 17u + (uint32_t)x[i].re + 3u * (uint32_t)x[i].im;
    printf("checksum %08x\n", (unsigned)check);
    return 0;
}
