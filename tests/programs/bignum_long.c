/* Binary big numbers in 32-bit limbs with 64-bit partial products: multiply, Knuth division, gcd, modular power,
 * printing. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct {
    int n;
    uint32_t d[40];
} NUM;

static void trim(NUM* a) {
    while (a->n > 0 && a->d[a->n - 1] == 0) a->n--;
}

static NUM num(uint64_t v) {
    NUM a = {.n = 2, .d = {(uint32_t)v, (uint32_t)(v >> 32)}};
    trim(&a);
    return a;
}

static int compare(const NUM* a, const NUM* b) {
    if (a->n != b->n) return a->n < b->n ? -1 : 1;
    for (int i = a->n - 1; i >= 0; i--)
        if (a->d[i] != b->d[i]) return a->d[i] < b->d[i] ? -1 : 1;
    return 0;
}

static NUM add(const NUM* a, const NUM* b) {
    NUM r = {0};
    uint64_t carry = 0;
    int n = a->n > b->n ? a->n : b->n;
    for (int i = 0; i < n || carry; i++) {
        carry += (uint64_t)(i < a->n ? a->d[i] : 0) + (i < b->n ? b->d[i] : 0);
        r.d[r.n++] = (uint32_t)carry;
        carry >>= 32;
    }
    return r;
}

static NUM subtract(const NUM* a, const NUM* b) {
    NUM r = *a;
    int64_t borrow = 0;
    for (int i = 0; i < a->n; i++) {
        int64_t t = (int64_t)a->d[i] - (i < b->n ? b->d[i] : 0) + borrow;
        r.d[i] = (uint32_t)((uint64_t)t & 0xffffffffu);
        borrow = t < 0 ? -1 : 0;
    }
    trim(&r);
    return r;
}

static NUM multiply(const NUM* a, const NUM* b) {
    NUM r = {0};
    r.n = a->n + b->n;
    for (int i = 0; i < a->n; i++) {
        uint64_t carry = 0;
        for (int j = 0; j < b->n; j++) {
            carry += (uint64_t)a->d[i] * b->d[j] + r.d[i + j];
            r.d[i + j] = (uint32_t)carry;
            carry >>= 32;
        }
        r.d[i + b->n] = (uint32_t)carry;
    }
    trim(&r);
    return r;
}

static uint32_t divide_limb(NUM* a, uint32_t m) {
    uint64_t rest = 0;
    for (int i = a->n - 1; i >= 0; i--) {
        rest = rest << 32 | a->d[i];
        a->d[i] = (uint32_t)(rest / m);
        rest %= m;
    }
    trim(a);
    return (uint32_t)rest;
}

static NUM divide(const NUM* a, const NUM* b, NUM* rest) {
    NUM q = {0};
    if (compare(a, b) < 0) {
        *rest = *a;
        return q;
    }
    if (b->n == 1) {
        q = *a;
        *rest = num(divide_limb(&q, b->d[0]));
        return q;
    }
    int shift = 0;
    while (!(b->d[b->n - 1] << shift & 0x80000000u)) shift++;
    uint32_t u[41], v[40];
    uint64_t carry = 0;
    for (int i = 0; i < b->n; i++) {
        carry |= (uint64_t)b->d[i] << shift;
        v[i] = (uint32_t)carry;
        carry >>= 32;
    }
    carry = 0;
    for (int i = 0; i < a->n; i++) {
        carry |= (uint64_t)a->d[i] << shift;
        u[i] = (uint32_t)carry;
        carry >>= 32;
    }
    u[a->n] = (uint32_t)carry;
    int m = a->n - b->n, n = b->n;
    for (int j = m; j >= 0; j--) {
        uint64_t top = (uint64_t)u[j + n] << 32 | u[j + n - 1];
        uint64_t guess = top / v[n - 1], r = top % v[n - 1];
        while (guess > 0xffffffffu || guess * v[n - 2] > (r << 32 | u[j + n - 2])) {
            guess--;
            r += v[n - 1];
            if (r > 0xffffffffu) break;
        }
        uint64_t borrow = 0;
        for (int i = 0; i < n; i++) {
            uint64_t p = guess * v[i] + borrow;
            borrow = (p >> 32) + (u[i + j] < (uint32_t)p);
            u[i + j] -= (uint32_t)p;
        }
        int negative = u[j + n] < borrow;
        u[j + n] -= (uint32_t)borrow;
        if (negative) {
            guess--;
            uint64_t c = 0;
            for (int i = 0; i < n; i++) {
                c += (uint64_t)u[i + j] + v[i];
                u[i + j] = (uint32_t)c;
                c >>= 32;
            }
            u[j + n] += (uint32_t)c;
        }
        q.d[j] = (uint32_t)guess;
    }
    q.n = m + 1;
    trim(&q);
    memset(rest, 0, sizeof *rest);
    rest->n = n;
    for (int i = 0; i < n; i++) rest->d[i] = (uint32_t)((u[i] | (uint64_t)(i + 1 < n ? u[i + 1] : 0) << 32) >> shift);
    trim(rest);
    return q;
}

static void show(const char* name, NUM a) {
    char text[400];
    int at = sizeof text / sizeof text[0] - 1;
    text[at] = '\0';
    do {
        uint32_t r = divide_limb(&a, 1000000000u);
        for (int k = 0; k < 9 && (a.n || r); k++, r /= 10) text[--at] = (char)('0' + r % 10);
    } while (a.n);
    printf("%s = %s\n", name, text[at] ? text + at : "0");
}

static NUM power_mod(NUM base, NUM e, const NUM* m) {
    NUM r = num(1), t;
    while (e.n) {
        if (e.d[0] & 1u) {
            t = multiply(&r, &base);
            divide(&t, m, &r);
        }
        t = multiply(&base, &base);
        divide(&t, m, &base);
        for (int i = 0; i < e.n; i++) e.d[i] = e.d[i] >> 1 | (i + 1 < e.n ? e.d[i + 1] << 31 : 0);
        trim(&e);
    }
    return r;
}

static NUM gcd(NUM a, NUM b) {
    while (b.n) {
        NUM r;
        divide(&a, &b, &r);
        a = b;
        b = r;
    }
    return a;
}

int main(void) {
    NUM a = num(0xfedcba9876543210ull), b = num(0x123456789abcdefull), c = multiply(&a, &b), r;
    show("a", a);
    show("b", b);
    show("a*b", c);
    NUM c3 = multiply(&c, &c);
    c3 = multiply(&c3, &c);
    show("(a*b)^3", c3);
    int bad = 0;
    uint64_t seed = 88172645463325252ull;
    for (int t = 0; t < 200; t++) {
        NUM x = {0}, y = {0};
        for (int i = 0; i < 9; i++) {
            seed ^= seed << 13;
            seed ^= seed >> 7;
            seed ^= seed << 17;
            uint32_t limb = t % 3 == 0 ? (seed & 1 ? 0xffffffffu : 0x80000000u) : (uint32_t)seed;
            if (i < 3 + t % 7) x.d[x.n++] = limb;
            if (i < 1 + t % 5) y.d[y.n++] = (uint32_t)(limb ^ seed >> 32) | 1u;
        }
        trim(&x);
        trim(&y);
        NUM q = divide(&x, &y, &r), back = multiply(&q, &y);
        back = add(&back, &r);
        if (compare(&back, &x) != 0 || compare(&r, &y) >= 0) bad++;
        NUM s = add(&x, &y), d = subtract(&s, &x);
        if (compare(&d, &y) != 0) bad++;
    }
    printf("bad divisions %d\n", bad);
    /* 2^127 - 1 is prime: by Fermat 3^(p-1) mod p = 1 */
    NUM two64 = {.n = 3, .d = {0, 0, 1}}, half = num(1ull << 63), p = multiply(&two64, &half), one = num(1);
    p = subtract(&p, &one);
    show("p", p);
    NUM e = subtract(&p, &one);
    show("3^(p-1) mod p", power_mod(num(3), e, &p));
    NUM x = multiply(&c, &p), g = gcd(x, multiply(&a, &p));
    divide(&g, &p, &r);
    printf("gcd multiple of p: %d\n", r.n == 0);
    show("gcd(a, b)", gcd(a, b));
    show("zero", num(0));
    return 0;
}
