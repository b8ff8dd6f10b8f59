/* Checksums with published check values: CRC-8, CRC-16 variants, CRC-32 bitwise and by table, Adler, Fletcher,
 * Luhn, ISBN. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

static uint32_t reflect(uint32_t v, int bits) {
    uint32_t r = 0;
    while (bits--) {
        r = r << 1 | (v & 1u);
        v >>= 1;
    }
    return r;
}

struct parameters {
    const char* name;
    int width;
    uint32_t polynomial, start, final;
    int reflected;
    uint32_t check; /* of the text 123456789 */
};

static const struct parameters catalogue[] = {
    {"CRC-8", 8, 0x07, 0, 0, 0, 0xf4},
    {"CRC-16/ARC", 16, 0x8005, 0, 0, 1, 0xbb3d},
    {"CRC-16/CCITT", 16, 0x1021, 0xffff, 0, 0, 0x29b1},
    {"CRC-16/XMODEM", 16, 0x1021, 0, 0, 0, 0x31c3},
    {"CRC-16/MODBUS", 16, 0x8005, 0xffff, 0, 1, 0x4b37},
    {"CRC-32", 32, 0x04c11db7, 0xffffffffu, 0xffffffffu, 1, 0xcbf43926u},
    {"CRC-32/BZIP2", 32, 0x04c11db7, 0xffffffffu, 0xffffffffu, 0, 0xfc891918u},
    {"CRC-32C", 32, 0x1edc6f41, 0xffffffffu, 0xffffffffu, 1, 0xe3069283u},
};

static uint32_t crc_bitwise(const struct parameters* p, const char* data, int n) {
    uint32_t top = 1u << (p->width - 1), mask = top | (top - 1), crc = p->start;
    for (int i = 0; i < n; i++) {
        uint32_t byte = (uint32_t)data[i] & 0xffu;
        if (p->reflected) byte = reflect(byte, 8);
        crc ^= byte << (p->width - 8);
        for (int b = 0; b < 8; b++) crc = crc & top ? (crc << 1 ^ p->polynomial) & mask : crc << 1 & mask;
    }
    if (p->reflected) crc = reflect(crc, p->width);
    return crc ^ p->final;
}

static uint32_t table[256];

static void make_table(uint32_t polynomial) {
    for (uint32_t i = 0; i < 256; i++) {
        uint32_t c = i;
        for (int k = 0; k < 8; k++) c = c & 1u ? c >> 1 ^ polynomial : c >> 1;
        table[i] = c;
    }
}

static uint32_t crc_table(const char* data, int n) {
    uint32_t c = ~0u;
    while (n-- > 0) c = c >> 8 ^ table[(c ^ (uint32_t)*data++) & 0xffu];
    return ~c;
}

static uint32_t adler(const char* s, int n) {
    uint32_t a = 1, b = 0;
    for (int i = 0; i < n; i++) {
        a = (a + ((uint32_t)s[i] & 0xffu)) % 65521u;
        b = (b + a) % 65521u;
    }
    return b << 16 | a;
}

static unsigned fletcher(const char* s, int n) {
    unsigned a = 0, b = 0;
    while (n--) {
        a = (a + ((unsigned)*s++ & 0xffu)) % 255u;
        b = (b + a) % 255u;
    }
    return b << 8 | a;
}

static int luhn(const char* s) {
    int sum = 0, twice = 0;
    for (int i = (int)strlen(s) - 1; i >= 0; i--, twice = !twice) {
        int d = s[i] - '0';
        if (twice && (d *= 2) > 9) d -= 9;
        sum += d;
    }
    return sum % 10 == 0;
}

static int isbn10(const char* s) {
    int sum = 0, weight = 10;
    for (; *s; s++) {
        if (*s == '-') continue;
        sum += weight-- * (*s == 'X' ? 10 : *s - '0');
    }
    return weight == 0 && sum % 11 == 0;
}

int main(void) {
    static const char check[] = "123456789";
    for (unsigned i = 0; i < sizeof catalogue / sizeof catalogue[0]; i++) {
        const struct parameters* p = &catalogue[i];
        uint32_t c = crc_bitwise(p, check, 9);
        printf("%s %0*x %s\n", p->name, p->width / 4, (unsigned)c, c == p->check ? "ok" : "WRONG");
    }
    make_table(0xedb88320u);
    printf("table %08x %08x, %08x\n", (unsigned)table[1], (unsigned)table[255], (unsigned)crc_table(check, 9));
    char long_text[301];
    for (int i = 0; i < 300; i++) long_text[i] = (char)(' ' + i * 7 % 90);
    long_text[300] = 0;
    int same = 1;
    for (int n = 0; n <= 300; n += 23) same &= crc_table(long_text, n) == crc_bitwise(&catalogue[5], long_text, n);
    printf("methods agree %d\n", same);
    long_text[150] = (char)(long_text[150] ^ 1);
    uint32_t before = crc_table(long_text, 300);
    long_text[150] = (char)(long_text[150] ^ 1);
    printf("one bit changes it %d\n", before != crc_table(long_text, 300));
    /* published: Adler-32 of "Wikipedia" is 11e60398, Fletcher-16 of "abcde" c8f0 */
    printf("%08x %04x\n", (unsigned)adler("Wikipedia", 9), fletcher("abcde", 5));
    printf("%d %d %d\n", luhn("79927398713"), luhn("79927398710"), luhn("0"));
    printf("%d %d\n", isbn10("0-306-40615-2"), isbn10("0-8044-2957-X"));
    return 0;
}
