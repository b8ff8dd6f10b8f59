/* SHA-256 and MD5 of the standard test texts, with bytes held one to an element and masked by hand. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

static const uint32_t k256[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

static uint32_t right(uint32_t v, int n) { return v >> n | v << (32 - n); }
static uint32_t left(uint32_t v, int n) { return v << n | v >> (32 - n); }

static void sha_block(uint32_t h[8], const uint16_t* b) {
    uint32_t w[64], v[8];
    for (int i = 0; i < 16; i++)
        w[i] = (uint32_t)b[4 * i] << 24 | (uint32_t)b[4 * i + 1] << 16 | (uint32_t)b[4 * i + 2] << 8 | b[4 * i + 3];
    for (int i = 16; i < 64; i++) {
        uint32_t s0 = right(w[i - 15], 7) ^ right(w[i - 15], 18) ^ w[i - 15] >> 3;
        uint32_t s1 = right(w[i - 2], 17) ^ right(w[i - 2], 19) ^ w[i - 2] >> 10;
        w[i] = w[i - 16] + s0 + w[i - 7] + s1;
    }
    memcpy(v, h, sizeof v);
    for (int i = 0; i < 64; i++) {
        uint32_t s1 = right(v[4], 6) ^ right(v[4], 11) ^ right(v[4], 25), choice = (v[4] & v[5]) ^ (~v[4] & v[6]);
        uint32_t t1 = v[7] + s1 + choice + k256[i] + w[i];
        uint32_t s0 = right(v[0], 2) ^ right(v[0], 13) ^ right(v[0], 22);
        uint32_t t2 = s0 + ((v[0] & v[1]) ^ (v[0] & v[2]) ^ (v[1] & v[2]));
        for (int j = 7; j > 0; j--) v[j] = v[j - 1];
        v[4] += t1;
        v[0] = t1 + t2;
    }
    for (int i = 0; i < 8; i++) h[i] += v[i];
}

static void md5_block(uint32_t h[4], const uint16_t* b) {
    /* floor(2^32 * |sin(i + 1)|) */
    static const uint32_t k[64] = {
        0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
        0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
        0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
        0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
        0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
        0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
        0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
        0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};
    static const short turn[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
    uint32_t a = h[0], x = h[1], c = h[2], d = h[3];
    for (int i = 0; i < 64; i++) {
        uint32_t f;
        int g;
        switch (i >> 4) {
        case 0:
            f = (x & c) | (~x & d);
            g = i;
            break;
        case 1:
            f = (d & x) | (~d & c);
            g = 5 * i + 1;
            break;
        case 2:
            f = x ^ c ^ d;
            g = 3 * i + 5;
            break;
        default:
            f = c ^ (x | ~d);
            g = 7 * i;
            break;
        }
        g = g % 16 * 4;
        uint32_t word = (uint32_t)b[g + 3] << 24 | (uint32_t)b[g + 2] << 16 | (uint32_t)b[g + 1] << 8 | b[g];
        f += a + k[i] + word;
        a = d;
        d = c;
        c = x;
        x += left(f, turn[i >> 4][i & 3]);
    }
    h[0] += a;
    h[1] += x;
    h[2] += c;
    h[3] += d;
}

static void digest(const char* text, int n, int repeat, uint32_t* h, void (*block)(uint32_t*, const uint16_t*),
                   int big) {
    uint16_t buffer[64];
    int used = 0;
    uint64_t bits = (uint64_t)n * (uint64_t)repeat * 8;
    while (repeat--) {
        for (int i = 0; i < n; i++) {
            buffer[used++] = (uint16_t)(text[i] & 0xff);
            if (used == 64) {
                block(h, buffer);
                used = 0;
            }
        }
    }
    buffer[used++] = 0x80;
    while (used != 56) {
        if (used == 64) {
            block(h, buffer);
            used = 0;
            continue;
        }
        buffer[used++] = 0;
    }
    for (int i = 0; i < 8; i++) buffer[56 + i] = (uint16_t)(bits >> 8 * (big ? 7 - i : i) & 0xff);
    block(h, buffer);
}

static void sha256(const char* s, int repeat) {
    uint32_t h[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a, 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    digest(s, (int)strlen(s), repeat, h, sha_block, 1);
    for (int i = 0; i < 8; i++) printf("%08x", (unsigned)h[i]);
    printf("\n");
}

static void md5(const char* s) {
    uint32_t h[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
    digest(s, (int)strlen(s), 1, h, md5_block, 0);
    for (int i = 0; i < 16; i++) printf("%02x", (unsigned)(h[i / 4] >> 8 * (i % 4) & 0xffu));
    printf("\n");
}

int main(void) {
    sha256("", 1);
    sha256("abc", 1);
    sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", 1);
    sha256("a", 1000);
    md5("");
    md5("abc");
    md5("message digest");
    md5("12345678901234567890123456789012345678901234567890123456789012345678901234567890");
    return 0;
}
