/* Rational numbers as small structs by value: arithmetic in lowest terms, comparison, harmonic sums, continued
 * fractions. */
#include <stdio.h>

typedef struct {
    long long top, bottom; /* bottom > 0, no common factor */
} RATIO;

static long long gcd(long long a, long long b) {
    if (a < 0) a = -a;
    while (b) {
        long long t = a % b;
        a = b;
        b = t;
    }
    return a;
}

static RATIO ratio(long long top, long long bottom) {
    if (bottom < 0) {
        top = -top;
        bottom = -bottom;
    }
    long long g = gcd(top, bottom);
    if (g == 0) g = 1;
    return (RATIO){top / g, bottom / g};
}

static RATIO add(RATIO a, RATIO b) { return ratio(a.top * b.bottom + b.top * a.bottom, a.bottom * b.bottom); }
static RATIO negate(RATIO a) { return (RATIO){-a.top, a.bottom}; }
static RATIO subtract(RATIO a, RATIO b) { return add(a, negate(b)); }
static RATIO multiply(RATIO a, RATIO b) { return ratio(a.top * b.top, a.bottom * b.bottom); }
static RATIO invert(RATIO a) { return ratio(a.bottom, a.top); }
static RATIO divide(RATIO a, RATIO b) { return multiply(a, invert(b)); }
static int compare(RATIO a, RATIO b) {
    long long d = a.top * b.bottom - b.top * a.bottom;
    return (d > 0) - (d < 0);
}
static int equal(RATIO a, RATIO b) { return a.top == b.top && a.bottom == b.bottom; }

static void show(RATIO r) {
    if (r.bottom == 1)
        printf("%lld ", r.top);
    else
        printf("%lld/%lld ", r.top, r.bottom);
}

static RATIO power(RATIO r, int n) {
    if (n < 0) return power(invert(r), -n);
    RATIO p = ratio(1, 1);
    for (; n > 0; n >>= 1, r = n ? multiply(r, r) : r)
        if (n & 1) p = multiply(p, r);
    return p;
}

static int expand(RATIO r, int* out) {
    int n = 0;
    while (r.bottom != 0) {
        long long whole = r.top / r.bottom;
        if (r.top % r.bottom < 0) whole--;
        out[n++] = (int)whole;
        RATIO rest = {r.bottom, r.top - whole * r.bottom};
        r = rest;
    }
    return n;
}

static RATIO collapse(const int* terms, int n) {
    RATIO r = ratio(terms[--n], 1);
    while (n-- > 0) r = add(ratio(terms[n], 1), invert(r));
    return r;
}

static int solve(RATIO m[3][4], RATIO* x) {
    for (int k = 0; k < 3; k++) {
        int p = k;
        while (p < 3 && m[p][k].top == 0) p++;
        if (p == 3) return 0;
        for (int j = 0; j < 4; j++) {
            RATIO t = m[p][j];
            m[p][j] = m[k][j];
            m[k][j] = t;
        }
        for (int i = 0; i < 3; i++) {
            if (i == k) continue;
            RATIO f = divide(m[i][k], m[k][k]);
            for (int j = k; j < 4; j++) m[i][j] = subtract(m[i][j], multiply(f, m[k][j]));
        }
    }
    for (int i = 0; i < 3; i++) x[i] = divide(m[i][3], m[i][i]);
    return 1;
}

int main(void) {
    RATIO a = ratio(6, -8), b = ratio(5, 6);
    show(a);
    show(add(a, b));
    show(subtract(a, b));
    show(multiply(a, b));
    show(divide(a, b));
    show(power(a, 3));
    show(power(ratio(2, 3), -4));
    printf("\n%d %d %d\n", compare(a, b), compare(b, a), compare(a, ratio(-9, 12)));
    RATIO sum = ratio(0, 1);
    for (int i = 1; i <= 20; i++) sum = add(sum, ratio(1, i));
    show(sum);
    sum = ratio(0, 1);
    for (int i = 1; i <= 15; i++) sum = add(sum, ratio(1, (long long)i * (i + 1)));
    show(sum);
    printf("%d\n", equal(sum, ratio(15, 16)));
    int terms[40], n = expand(ratio(355, 113), terms);
    for (int i = 0; i < n; i++) printf("%d ", terms[i]);
    show(collapse(terms, n));
    n = expand(ratio(-649, 200), terms);
    for (int i = 0; i < n; i++) printf("%d ", terms[i]);
    show(collapse(terms, n));
    printf("\n");
    for (int i = 0; i < 10; i++) terms[i] = i ? 2 : 1;
    RATIO root = collapse(terms, 10), error = subtract(multiply(root, root), ratio(2, 1));
    show(root);
    show(error);
    printf("\n");
    RATIO m[3][4], x[3];
    static const int raw[3][4] = {{0, 2, -1, 7}, {3, -1, 2, 1}, {1, 4, 5, -2}};
    for (int i = 0; i < 12; i++) m[i / 4][i % 4] = ratio(raw[i / 4][i % 4], 1);
    if (solve(m, x)) {
        int right = 1;
        for (int i = 0; i < 3; i++) {
            RATIO s = ratio(0, 1);
            for (int j = 0; j < 3; j++) s = add(s, multiply(ratio(raw[i][j], 1), x[j]));
            right &= equal(s, ratio(raw[i][3], 1));
            show(x[i]);
        }
        printf("checks %d\n", right);
    }
    for (int i = 0; i < 12; i++) m[i / 4][i % 4] = ratio(i, 1);
    printf("singular %d\n", solve(m, x) == 0);
    return 0;
}
