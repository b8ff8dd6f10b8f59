/* Mandelbrot and Julia sets in 8.24 fixed point, the game of life on a torus, and an elementary cellular automaton. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#define ONE (1 << 24)

static int32_t fixed_multiply(int32_t a, int32_t b) { return (int32_t)((int64_t)a * b >> 24); }

static int escape_time(int32_t zr, int32_t zi, int32_t cr, int32_t ci, int limit) {
    int n = 0;
    while (n < limit) {
        int32_t r2 = fixed_multiply(zr, zr), i2 = fixed_multiply(zi, zi);
        if (r2 + i2 > 4 * ONE) break;
        zi = 2 * fixed_multiply(zr, zi) + ci;
        zr = r2 - i2 + cr;
        n++;
    }
    return n;
}

static uint32_t draw(int julia) {
    static const char shades[] = " .,:;ox%#@";
    uint32_t check = 0;
    for (int y = 0; y < 13; y++) {
        for (int x = 0; x < 40; x++) {
            int32_t px = (x - (julia ? 20 : 27)) * (ONE / 13), py = (y - 6) * (ONE / 5);
            int n = julia ? escape_time(px, py, -ONE / 8 * 6, ONE / 10, 45) : escape_time(0, 0, px, py, 45);
            putchar(shades[n / 5]);
            check = check * 31u + (uint32_t)n;
        }
        printf("|\n");
    }
    return check;
}

#define SIDE 12

static uint16_t world[SIDE];

static int alive(int y, int x) { return world[(y + SIDE) % SIDE] >> (x + SIDE) % SIDE & 1; }

static int generation(void) {
    uint16_t next[SIDE];
    int population = 0;
    for (int y = 0; y < SIDE; y++) {
        next[y] = 0;
        for (int x = 0; x < SIDE; x++) {
            int n = 0;
            for (int dy = -1; dy <= 1; dy++)
                for (int dx = -1; dx <= 1; dx++)
                    if (dy || dx) n += alive(y + dy, x + dx);
            if (n == 3 || (n == 2 && alive(y, x))) {
                next[y] = (uint16_t)(next[y] | 1u << x);
                population++;
            }
        }
    }
    memcpy(world, next, sizeof world);
    return population;
}

static void rule(unsigned number, int steps) {
    uint32_t cells = 1u << 15;
    for (int s = 0; s < steps; s++) {
        for (int i = 31; i >= 1; i--) putchar(cells >> i & 1u ? '*' : ' ');
        printf("|\n");
        uint32_t next = 0;
        for (int i = 0; i < 32; i++) {
            unsigned around =
                (cells >> (i + 1) % 32 & 1u) << 2 | (cells >> i & 1u) << 1 | (cells >> (i + 31) % 32 & 1u);
            next |= (number >> around & 1u) << i;
        }
        cells = next;
    }
}

int main(void) {
    uint32_t first = draw(0), second = draw(1);
    printf("%08x %08x\n", (unsigned)first, (unsigned)second);
    /* a glider returns to its place after 4 * SIDE generations, one cell each 4 */
    static const uint16_t glider[SIDE] = {2, 4, 7};
    memcpy(world, glider, sizeof world);
    int steady = 1;
    for (int g = 0; g < 4; g++) steady &= generation() == 5;
    int moved = 1;
    for (int y = 0; y < SIDE; y++) moved &= world[(y + 1) % SIDE] == (uint16_t)(glider[y] << 1);
    for (int g = 4; g < 4 * SIDE; g++) steady &= generation() == 5;
    printf("glider steady %d, moved %d, returned %d\n", steady, moved, memcmp(world, glider, sizeof world) == 0);
    memset(world, 0, sizeof world);
    world[5] = 0x70;
    int a = generation(), turned = world[4] == 0x20 && world[5] == 0x20 && world[6] == 0x20;
    printf("blinker %d %d %d\n", a, turned, generation());
    memset(world, 0, sizeof world);
    world[4] = 0x60;
    world[5] = 0x30;
    world[6] = 0x20;
    for (int g = 0; g < 10; g++) printf("%d ", generation());
    printf("\n");
    rule(90, 8);
    rule(30, 8);
    return 0;
}
