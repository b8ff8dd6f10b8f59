/* Modular arithmetic on 64-bit numbers: add-double multiplication, powers, Miller-Rabin, Pollard's rho, extended
 * gcd, CRT. */
#include <stdint.h>
#include <stdio.h>

static uint64_t mul_mod(uint64_t a, uint64_t b, uint64_t m) {
    uint64_t r = 0;
    a %= m;
    b %= m;
    while (b) {
        if (b & 1) r = r >= m - a ? r - (m - a) : r + a;
        a = a >= m - a ? a - (m - a) : a + a;
        b >>= 1;
    }
    return r;
}

static uint64_t pow_mod(uint64_t b, uint64_t e, uint64_t m) {
    uint64_t r = 1 % m;
    for (; e; e >>= 1) {
        if (e & 1) r = mul_mod(r, b, m);
        b = mul_mod(b, b, m);
    }
    return r;
}

static int is_prime(uint64_t n) {
    static const unsigned short bases[] = {2, 3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37};
    if (n < 2) return 0;
    for (int i = 0; i < 12; i++)
        if (n % bases[i] == 0) return n == bases[i];
    uint64_t d = n - 1;
    int s = 0;
    while (!(d & 1)) {
        d >>= 1;
        s++;
    }
    for (int i = 0; i < 12; i++) {
        uint64_t x = pow_mod(bases[i], d, n);
        if (x == 1 || x == n - 1) continue;
        int r = 1;
        for (; r < s; r++) {
            x = mul_mod(x, x, n);
            if (x == n - 1) break;
        }
        if (r >= s) return 0;
    }
    return 1;
}

static uint64_t gcd(uint64_t a, uint64_t b) {
    while (b) {
        uint64_t t = a % b;
        a = b;
        b = t;
    }
    return a;
}

static uint64_t rho(uint64_t n) {
    if (n % 2 == 0) return 2;
    for (uint64_t c = 1;; c++) {
        uint64_t x = 2, y = 2, d = 1;
        do {
            x = (mul_mod(x, x, n) + c) % n;
            y = (mul_mod(y, y, n) + c) % n;
            y = (mul_mod(y, y, n) + c) % n;
            d = gcd(x > y ? x - y : y - x, n);
        } while (d == 1);
        if (d != n) return d;
    }
}

static int factor(uint64_t n, uint64_t* out) {
    if (n == 1) return 0;
    if (is_prime(n)) {
        out[0] = n;
        return 1;
    }
    uint64_t d = rho(n);
    int k = factor(d, out);
    return k + factor(n / d, out + k);
}

static int64_t extended_gcd(int64_t a, int64_t b, int64_t* x, int64_t* y) {
    if (b == 0) {
        *x = 1;
        *y = 0;
        return a;
    }
    int64_t p, q, g = extended_gcd(b, a % b, &p, &q);
    *x = q;
    *y = p - a / b * q;
    return g;
}

static int64_t inverse(int64_t a, int64_t m) {
    int64_t x, y;
    if (extended_gcd(a, m, &x, &y) != 1) return -1;
    return (x % m + m) % m;
}

static int64_t chinese(const int* rest, const int* modulus, int n) {
    int64_t product = 1, r = 0;
    for (int i = 0; i < n; i++) product *= modulus[i];
    for (int i = 0; i < n; i++) {
        int64_t part = product / modulus[i];
        r += rest[i] * part % product * inverse(part % modulus[i], modulus[i]) % product;
    }
    return r % product;
}

int main(void) {
    printf("%llu\n", (unsigned long long)mul_mod(0xfffffffffffffffeull, 0xfffffffffffffffdull, 0xffffffffffffffc5ull));
    printf("%llu %llu\n", (unsigned long long)pow_mod(3, 1000000007ull - 1, 1000000007ull),
           (unsigned long long)pow_mod(2, 64, 0xffffffffffffffc5ull));
    int count = 0;
    for (uint64_t n = 0; n < 1000; n++) count += is_prime(n);
    printf("primes below 1000: %d\n", count);
    static const uint64_t tests[] = {4294967291ull,          4294967297ull,   3215031751ull,
                                     2305843009213693951ull, 999999999989ull, 561};
    for (int i = 0; i < 6; i++)
        printf("%llu %s\n", (unsigned long long)tests[i], is_prime(tests[i]) ? "prime" : "composite");
    static const uint64_t numbers[] = {4294967297ull, 600851475143ull, 1001001001001ull, 8589934592ull,
                                       1000003ull * 999983ull};
    for (int i = 0; i < 5; i++) {
        uint64_t f[64], product = 1;
        int n = factor(numbers[i], f);
        for (int a = 1; a < n; a++)
            for (int b = a; b > 0 && f[b - 1] > f[b]; b--) {
                uint64_t t = f[b];
                f[b] = f[b - 1];
                f[b - 1] = t;
            }
        printf("%llu =", (unsigned long long)numbers[i]);
        for (int k = 0; k < n; k++) {
            product *= f[k];
            if (k < 6) printf(" %llu", (unsigned long long)f[k]);
        }
        printf("%s (%d)%s\n", n > 6 ? " ..." : "", n, product == numbers[i] ? "" : " wrong");
    }
    int64_t x, y, g = extended_gcd(240, 46, &x, &y);
    printf("gcd %lld = 240*%lld + 46*%lld\n", (long long)g, (long long)x, (long long)y);
    printf("inverses %lld %lld %lld\n", (long long)inverse(3, 11), (long long)inverse(6, 9),
           (long long)inverse(123456, 1000000007));
    const int rest[] = {2, 3, 2, 10}, modulus[] = {3, 5, 7, 11};
    printf("chinese %lld %lld\n", (long long)chinese(rest, modulus, 3), (long long)chinese(rest, modulus, 4));
    return 0;
}
