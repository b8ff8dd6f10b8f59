/* CORDIC sine, cosine and arctangent in 32-bit fixed point, with the Goertzel tone detector built on its cosine. */
#include <stdint.h>
#include <stdio.h>

/* atan(2^-i) in units of 2^-28 rad */
static const int32_t angles[16] = {210828714, 124459457, 65760959, 33381290, 16755422, 8385879, 4193963, 2097109,
                                   1048571,   524287,    262144,   131072,   65536,    32768,   16384,   8192};

#define ONE (1 << 28)
#define GAIN 163008219 /* product of cos(atan(2^-i)) in Q28 */
#define PI_Q28 843314857

typedef struct {
    int32_t x, y, z;
} STATE;

static STATE rotate(STATE s, int vectoring) {
    for (int i = 0; i < 16; i++) {
        int down = vectoring ? s.y > 0 : s.z < 0;
        int32_t dx = s.x >> i, dy = s.y >> i;
        if (down) {
            s.x += dy;
            s.y -= dx;
            s.z += angles[i];
        } else {
            s.x -= dy;
            s.y += dx;
            s.z -= angles[i];
        }
    }
    return s;
}

static void sine_cosine(int32_t angle, int32_t* sine, int32_t* cosine) {
    int negative = 0;
    if (angle > PI_Q28 / 2) {
        angle -= PI_Q28;
        negative = 1;
    } else if (angle < -PI_Q28 / 2) {
        angle += PI_Q28;
        negative = 1;
    }
    STATE s = rotate((STATE){GAIN, 0, angle}, 0);
    *sine = negative ? -s.y : s.y;
    *cosine = negative ? -s.x : s.x;
}

static int32_t arctangent(int32_t y, int32_t x) {
    STATE s = {x >> 1, y >> 1, 0};
    return rotate(s, 1).z;
}

static int32_t thousandths(int32_t q28) {
    int64_t v = (int64_t)q28 * 1000;
    return (int32_t)((v + (v < 0 ? -(ONE / 2) : ONE / 2)) / ONE);
}

static int64_t goertzel(const int16_t* x, int n, int32_t coefficient) {
    int64_t s1 = 0, s2 = 0;
    for (int i = 0; i < n; i++) {
        int64_t s0 = x[i] + ((coefficient * s1) >> 27) - s2;
        s2 = s1;
        s1 = s0;
    }
    return s1 * s1 + s2 * s2 - ((coefficient * s1) >> 27) * s2;
}

int main(void) {
    for (int degrees = -180; degrees <= 180; degrees += 30) {
        int32_t s, c;
        sine_cosine((int32_t)((int64_t)PI_Q28 * degrees / 180), &s, &c);
        int64_t unit = ((int64_t)s * s + (int64_t)c * c) >> 28;
        printf("%4d: sin %5d cos %5d, unit circle %d\n", degrees, (int)thousandths(s), (int)thousandths(c),
               unit - ONE < 60000 && ONE - unit < 60000);
    }
    for (int i = 0; i <= 4; i++) printf("atan(%d/4) = %d\n", i, (int)thousandths(arctangent(i * (ONE / 4), ONE)));

    /* a tone in bin 6 of 48 samples: its Goertzel power stands far above the others */
    int16_t tone[48];
    for (int i = 0; i < 48; i++) {
        int32_t s, c, angle = (int32_t)((int64_t)PI_Q28 * ((i * 6) % 48) / 24);
        if (angle > PI_Q28) angle = angle - PI_Q28 - PI_Q28;
        sine_cosine(angle, &s, &c);
        tone[i] = (int16_t)(s >> 18);
    }
    int best = -1;
    int64_t best_power = 0, others = 0;
    for (int bin = 1; bin < 12; bin++) {
        int32_t s, c;
        sine_cosine(PI_Q28 / 24 * bin, &s, &c);
        int64_t power = goertzel(tone, 48, c);
        if (power > best_power) {
            others = best_power > others ? best_power : others;
            best = bin;
            best_power = power;
        } else if (power > others) {
            others = power;
        }
    }
    printf("best bin %d, clear %d\n", best, best_power > 1000 * (others + 1));
    return 0;
}
