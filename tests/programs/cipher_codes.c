/* Encodings and ciphers with published vectors: base64, hex, RC4, XTEA, Vigenere, Hamming(7,4). */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

static int base64_encode(const char* in, int n, char* out) {
    int k = 0;
    for (int i = 0; i < n; i += 3) {
        uint32_t v = 0;
        for (int j = 0; j < 3; j++) v = v << 8 | (i + j < n ? (uint32_t)in[i + j] & 0xffu : 0);
        for (int j = 0; j < 4; j++) out[k++] = j <= n - i ? alphabet[v >> (18 - 6 * j) & 63u] : '=';
    }
    out[k] = '\0';
    return k;
}

static int base64_decode(const char* in, char* out) {
    int n = 0, bits = 0;
    uint32_t v = 0;
    for (; *in && *in != '='; in++) {
        const char* p = strchr(alphabet, *in);
        if (!p) return -1;
        v = v << 6 | (uint32_t)(p - alphabet);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out[n++] = (char)(v >> bits & 0x7fu);
        }
    }
    out[n] = 0;
    return n;
}

typedef struct {
    unsigned short s[256];
    int i, j;
} RC4;

static void rc4_start(RC4* r, const char* key) {
    int n = (int)strlen(key), j = 0;
    for (int i = 0; i < 256; i++) r->s[i] = (unsigned short)i;
    for (int i = 0; i < 256; i++) {
        j = (j + r->s[i] + (key[i % n] & 0xff)) & 0xff;
        unsigned short t = r->s[i];
        r->s[i] = r->s[j];
        r->s[j] = t;
    }
    r->i = r->j = 0;
}

static int rc4_next(RC4* r) {
    r->i = (r->i + 1) & 0xff;
    r->j = (r->j + r->s[r->i]) & 0xff;
    unsigned short t = r->s[r->i];
    r->s[r->i] = r->s[r->j];
    r->s[r->j] = t;
    return r->s[(r->s[r->i] + r->s[r->j]) & 0xff];
}

static void xtea(uint32_t v[2], const uint32_t key[4], int decrypt) {
    uint32_t a = v[0], b = v[1], delta = 0x9e3779b9u, sum = decrypt ? delta * 32u : 0;
    for (int i = 0; i < 32; i++) {
        if (decrypt) {
            b -= ((a << 4 ^ a >> 5) + a) ^ (sum + key[sum >> 11 & 3u]);
            sum -= delta;
            a -= ((b << 4 ^ b >> 5) + b) ^ (sum + key[sum & 3u]);
        } else {
            a += ((b << 4 ^ b >> 5) + b) ^ (sum + key[sum & 3u]);
            sum += delta;
            b += ((a << 4 ^ a >> 5) + a) ^ (sum + key[sum >> 11 & 3u]);
        }
    }
    v[0] = a;
    v[1] = b;
}

static void vigenere(const char* in, const char* key, char* out, int direction) {
    const char* k = key;
    for (; *in; in++) {
        if (*in >= 'A' && *in <= 'Z') {
            *out++ = (char)('A' + (*in - 'A' + direction * (*k - 'A') + 26) % 26);
            if (!*++k) k = key;
        } else {
            *out++ = *in;
        }
    }
    *out = '\0';
}

static int hamming_encode(int d) {
    int d1 = d & 1, d2 = d >> 1 & 1, d3 = d >> 2 & 1, d4 = d >> 3 & 1;
    int p1 = d1 ^ d2 ^ d4, p2 = d1 ^ d3 ^ d4, p3 = d2 ^ d3 ^ d4;
    return p1 | p2 << 1 | d1 << 2 | p3 << 3 | d2 << 4 | d3 << 5 | d4 << 6;
}

static int hamming_decode(int w, int* corrected) {
    int syndrome = 0;
    for (int i = 0; i < 7; i++)
        if (w >> i & 1) syndrome ^= i + 1;
    *corrected = syndrome;
    if (syndrome) w ^= 1 << (syndrome - 1);
    return (w >> 2 & 1) | (w >> 4 & 1) << 1 | (w >> 5 & 1) << 2 | (w >> 6 & 1) << 3;
}

int main(void) {
    static const char* const texts[] = {"", "f", "fo", "foo", "foob", "fooba", "foobar", "Many hands make light work."};
    char out[80], back[80];
    for (int i = 0; i < 8; i++) {
        int n = base64_encode(texts[i], (int)strlen(texts[i]), out), m = base64_decode(out, back);
        printf("%s %d %d, ", out, n % 4, m == (int)strlen(texts[i]) && strcmp(back, texts[i]) == 0);
    }
    printf("%d\n", base64_decode("ab*d", back));
    static const char* const keys[][2] = {{"Key", "Plaintext"}, {"Wiki", "pedia"}, {"Secret", "Attack at dawn"}};
    for (int t = 0; t < 3; t++) {
        RC4 r;
        rc4_start(&r, keys[t][0]);
        for (const char* s = keys[t][1]; *s; s++) printf("%02X", (unsigned)((*s ^ rc4_next(&r)) & 0xff));
        printf(" ");
    }
    printf("\n");
    uint32_t v[2] = {0x41424344u, 0x45464748u}, key[4] = {0x00010203u, 0x04050607u, 0x08090a0bu, 0x0c0d0e0fu};
    xtea(v, key, 0);
    printf("%08x %08x", (unsigned)v[0], (unsigned)v[1]);
    xtea(v, key, 1);
    printf(" %08x %08x\n", (unsigned)v[0], (unsigned)v[1]);
    vigenere("ATTACK AT DAWN", "LEMON", out, 1);
    vigenere(out, "LEMON", back, -1);
    printf("%s = %s\n", out, back);
    int fixed = 0, clean = 0;
    for (int d = 0; d < 16; d++) {
        int at, w = hamming_encode(d);
        clean += hamming_decode(w, &at) == d && at == 0;
        for (int bit = 0; bit < 7; bit++) fixed += hamming_decode(w ^ 1 << bit, &at) == d && at == bit + 1;
    }
    printf("clean %d of 16, repaired %d of 112\n", clean, fixed);
    return 0;
}
