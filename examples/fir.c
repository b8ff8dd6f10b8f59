/* A low-pass filter over a square wave, in 16-bit fixed point: the loop a signal processor spends its life in. */
#include <stdio.h>

#define TAPS 16
#define SAMPLES 256

/* A raised-cosine window; the coefficients add up to 32768. */
static const short taps[TAPS] = {
    39, 345, 910, 1648, 2448, 3186, 3751, 4057,
    4057, 3751, 3186, 2448, 1648, 910, 345, 39,
};

static short input[SAMPLES + TAPS], output[SAMPLES];

static void make_square_wave(short* x, int n, int half_period) {
    for (int i = 0; i < n; i++) x[i] = (i / half_period) % 2 ? -12000 : 12000;
}

static void filter(const short* restrict x, short* restrict y, int n) {
    for (int i = 0; i < n; i++) {
        long sum = 0;
        for (int k = 0; k < TAPS; k++) sum += (long)x[i + k] * taps[k] >> 4;
        y[i] = (short)(sum >> 11);
    }
}

static long energy(const short* x, int n) {
    long sum = 0;
    for (int i = 0; i < n; i++) sum += (long)x[i] * x[i] >> 12;
    return sum;
}

int main(void) {
    make_square_wave(input, SAMPLES + TAPS, 20);
    filter(input, output, SAMPLES);
    for (int i = 0; i < 20; i++) printf("%6d%s", output[i], i % 10 == 9 ? "\n" : " ");
    printf("energy: %ld before, %ld after\n", energy(input, SAMPLES), energy(output, SAMPLES));
    return 0;
}
