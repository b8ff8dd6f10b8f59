/* ADPCM coder and decoder with step tables: 16-bit samples to 4-bit codes packed four to a word, and back. */
#include <stdint.h>
#include <stdio.h>

static const int16_t step_table[89] = {
    7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,   28,
    31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,  118,
    130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,  494,
    544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878, 2066,
    2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845, 8630,
    9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};

static const int16_t index_table[16] = {-1, -1, -1, -1, 2, 4, 6, 8, -1, -1, -1, -1, 2, 4, 6, 8};

typedef struct {
    int predicted;
    int index;
} CODEC;

static int limit(int v, int low, int high) {
    if (v < low)
        v = low;
    else if (v > high)
        v = high;
    return v;
}

static int difference_of(int code, int step) {
    int d = step >> 3;
    if (code & 4) d += step;
    if (code & 2) d += step >> 1;
    if (code & 1) d += step >> 2;
    return code & 8 ? -d : d;
}

static int decode(CODEC* c, int code) {
    c->predicted = limit(c->predicted + difference_of(code, step_table[c->index]), -32768, 32767);
    c->index = limit(c->index + index_table[code], 0, 88);
    return c->predicted;
}

static int encode(CODEC* c, int sample) {
    int step = step_table[c->index], d = sample - c->predicted, code = 0;
    if (d < 0) {
        code = 8;
        d = -d;
    }
    for (int bit = 4; bit; bit >>= 1) {
        if (d >= step) {
            code |= bit;
            d -= step;
        }
        step >>= 1;
    }
    decode(c, code);
    return code;
}

static int triangle(int t, int period, int height) {
    t %= period;
    int half = period / 2, v = t < half ? t : period - t;
    return v * 2 * height / half - height;
}

int main(void) {
    enum { N = 256 };
    static int16_t in[N], out[N];
    static uint16_t packed[N / 4];
    for (int i = 0; i < N; i++) in[i] = (int16_t)(triangle(i, 64, 9000) + triangle(i, 22, 2500));
    CODEC coder = {0, 0}, decoder = {0, 0};
    for (int i = 0; i < N; i++) packed[i / 4] = (uint16_t)(packed[i / 4] | encode(&coder, in[i]) << i % 4 * 4);
    for (int i = 0; i < N; i++) out[i] = (int16_t)decode(&decoder, packed[i / 4] >> i % 4 * 4 & 15);
    printf("end states equal %d\n", coder.predicted == decoder.predicted && coder.index == decoder.index);
    long long noise = 0, signal = 0;
    for (int i = 40; i < N; i++) {
        int e = in[i] - out[i];
        noise += (long long)e * e;
        signal += (long long)in[i] * in[i];
    }
    printf("signal at least 200 times the noise: %d\n", signal > 200 * noise);
    uint32_t check = 0;
    for (int i = 0; i < N / 4; i++) check = (check << 5 | check >> 27) ^ packed[i];
    printf("checksum %08x, words", (unsigned)check);
    for (int i = 0; i < 8; i++) printf(" %04x", (unsigned)packed[i]);
    printf("\n");
    for (int i = 0; i < N; i += 32) printf("%d/%d ", in[i], out[i]);
    printf("\n");
    for (int i = 0; i < 40; i++) encode(&coder, i & 1 ? 32767 : -32768);
    printf("index at the top %d, sample within range %d\n", coder.index == 88,
           coder.predicted >= -32768 && coder.predicted <= 32767);
    return 0;
}
