/* Bit tricks: population counts, leading and trailing zeros, reversal, Gray code, rotations, next permutation,
 * parity. */
#include <stdint.h>
#include <stdio.h>

static int pop_loop(uint32_t v) {
    int n = 0;
    for (; v; v &= v - 1) n++;
    return n;
}

static int pop_parallel(uint32_t v) {
    v -= v >> 1 & 0x55555555u;
    v = (v & 0x33333333u) + (v >> 2 & 0x33333333u);
    v = (v + (v >> 4)) & 0x0f0f0f0fu;
    return (int)(v * 0x01010101u >> 24);
}

static int pop64(uint64_t v) {
    v -= (v >> 1) & 0x5555555555555555ull;
    v = (v & 0x3333333333333333ull) + ((v >> 2) & 0x3333333333333333ull);
    v = (v + (v >> 4)) & 0x0f0f0f0f0f0f0f0full;
    return (int)((v * 0x0101010101010101ull) >> 56);
}

static int leading_zeros(uint32_t v) {
    int n = 32;
    for (int step = 16; step; step >>= 1) {
        uint32_t high = v >> step;
        if (high) {
            n -= step;
            v = high;
        }
    }
    return n - (int)v;
}

static int trailing_zeros(uint32_t v) {
    static const signed char table[32] = {0,  1,  28, 2,  29, 14, 24, 3, 30, 22, 20, 15, 25, 17, 4,  8,
                                          31, 27, 13, 23, 21, 19, 16, 7, 26, 12, 18, 6,  11, 5,  10, 9};
    return v ? table[(v & (0u - v)) * 0x077CB531u >> 27] : 32;
}

static uint32_t reverse_bits(uint32_t v) {
    v = (v >> 1 & 0x55555555u) | (v & 0x55555555u) << 1;
    v = (v >> 2 & 0x33333333u) | (v & 0x33333333u) << 2;
    v = (v >> 4 & 0x0f0f0f0fu) | (v & 0x0f0f0f0fu) << 4;
    v = (v >> 8 & 0x00ff00ffu) | (v & 0x00ff00ffu) << 8;
    return v >> 16 | v << 16;
}

static uint32_t rotate_left(uint32_t v, int n) { return v << (n & 31) | v >> (-n & 31); }

static uint32_t gray(uint32_t v) { return v ^ v >> 1; }

static uint32_t ungray(uint32_t g) {
    for (int s = 1; s < 32; s <<= 1) g ^= g >> s;
    return g;
}

static uint32_t next_permutation(uint32_t v) {
    uint32_t lowest = v & (0u - v), ripple = v + lowest;
    return ripple | ((v ^ ripple) / lowest) >> 2;
}

static uint32_t round_up_power(uint32_t v) {
    v--;
    v |= v >> 1;
    v |= v >> 2;
    v |= v >> 4;
    v |= v >> 8;
    v |= v >> 16;
    return v + 1;
}

static int parity(uint32_t v) {
    v ^= v >> 16;
    v ^= v >> 8;
    v ^= v >> 4;
    return 0x6996 >> (v & 15) & 1;
}

static uint32_t interleave(uint16_t x, uint16_t y) {
    uint32_t z = 0;
    for (int i = 0; i < 16; i++) z |= (uint32_t)(x >> i & 1) << 2 * i | (uint32_t)(y >> i & 1) << (2 * i + 1);
    return z;
}

static int branchless_min(int a, int b) { return b ^ ((a ^ b) & -(a < b)); }
static int branchless_abs(int v) {
    int mask = v >> 31;
    return (v + mask) ^ mask;
}

int main(void) {
    uint32_t v = 1, differences = 0, check = 0;
    for (int i = 0; i < 2000; i++) {
        v = v * 1664525u + 1013904223u;
        uint32_t w = i % 5 ? v >> i % 32 : 1u << i % 32;
        int n = 0;
        for (int b = 0; b < 32; b++) n += (int)(w >> b & 1u);
        differences += n != pop_loop(w);
        differences += n != pop_parallel(w);
        differences += 2 * n != pop64((uint64_t)w << 32 | w);
        differences += reverse_bits(reverse_bits(w)) != w;
        differences += ungray(gray(w)) != w;
        differences += parity(w) != (n & 1);
        differences += rotate_left(rotate_left(w, i), 32 - i) != w;
        differences += leading_zeros(reverse_bits(w)) != trailing_zeros(w);
        differences += pop_loop(gray(w) ^ gray(w + 1)) != 1;
        check = rotate_left(check, 5) ^ reverse_bits(w);
    }
    printf("differences %u, checksum %08x\n", (unsigned)differences, (unsigned)check);
    printf("zeros %d %d %d, %d %d %d\n", leading_zeros(0), leading_zeros(1), leading_zeros(0x80000000u),
           trailing_zeros(0), trailing_zeros(1), trailing_zeros(0x80000000u));
    printf("reverse %08x %08x, rotate %08x %08x\n", (unsigned)reverse_bits(1), (unsigned)reverse_bits(0x12345678u),
           (unsigned)rotate_left(0x80000001u, 1), (unsigned)rotate_left(0x12345678u, -8));
    int subsets = 0;
    for (uint32_t s = 7; s < 64; s = next_permutation(s)) subsets++;
    printf("subsets of 3 out of 6: %d\n", subsets);
    for (uint32_t i = 1; i < 70000; i = i * 5 + 1) printf("%u ", (unsigned)round_up_power(i));
    printf("\ninterleave %08x %08x\n", (unsigned)interleave(0xffff, 0), (unsigned)interleave(0x1234, 0xabcd));
    printf("min %d %d, abs %d %d\n", branchless_min(-5, 3), branchless_min(7, 7), branchless_abs(-123456),
           branchless_abs(2147483647));
    uint32_t a = 0xdeadbeefu, b = 0x0badf00du;
    a ^= b;
    b ^= a;
    a ^= b;
    printf("swapped %08x %08x\n", (unsigned)a, (unsigned)b);
    return 0;
}
