/* Short-circuit logic, the conditional and comma operators, order of side effects at sequence points, boolean
 * results. */
#include <stdbool.h>
#include <stdio.h>

static char trace[64];
static int traced;

static int say(char c, int result) {
    trace[traced++] = c;
    trace[traced] = '\0';
    return result;
}

static void show(const char* what, int result) {
    printf("%s: %d via %s\n", what, result, traced ? trace : "-");
    traced = 0;
}

struct pair {
    int a, b;
};

static struct pair make(int a, int b) { return (struct pair){a, b}; }

static int sign(int v) { return v > 0 ? 1 : v < 0 ? -1 : 0; }

static const char* grade(int points) {
    return points >= 90 ? "A" : points >= 80 ? "B" : points >= 70 ? "C" : points >= 60 ? "D" : "F";
}

static bool leap(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

static int safe_divide(int a, int b) { return b != 0 && a % b == 0 ? a / b : -1; }

static int implies(int a, int b) { return !a || b; }

static int count_true(int a, int b, int c) { return !!a + !!b + !!c; }

static int null_safe(const int* p) { return p && *p > 10 && p[1] > p[0]; }

static bool nearly(double a, double b) { return a - b < 0.125 && b - a < 0.125; }

int main(void) {
    show("and", say('a', 1) && say('b', 0) && say('c', 1));
    show("or", say('a', 0) || say('b', 2) || say('c', 1));
    show("mixed", (say('a', 0) && say('b', 1)) || (say('c', 1) && !say('d', 0)));
    show("nested", !(say('a', 1) && (say('b', 0) || say('c', 0))) && say('d', 5));
    show("question", say('a', 0) ? say('b', 1) : say('c', 0) ? say('d', 2) : say('e', 3));
    show("comma", (say('a', 1), say('b', 2), say('c', 3)));
    show("in index", (say('x', 0), "pqr")[say('y', 1)] - 'p');
    int i = 0, n = 0;
    for (i = 0, n = 10; i < n; i += 2, n--)
        if (i % 3 && (n & 1 || i == 4)) say((char)('0' + i), 0);
    show("loop", i * 100 + n);
    int x = 5;
    x++&& x++ && (x = 0) && x++;
    printf("%d\n", x);
    int a = 3, b = 4, c = (a++, b--, a * b);
    printf("%d %d %d\n", a, b, c);
    for (int v = -2; v <= 2; v += 2) printf("%d ", sign(v));
    for (int p = 55; p <= 95; p += 10) printf("%s ", grade(p));
    printf("\n");
    int years = 0;
    for (int y = 1896; y <= 2104; y++) years += leap(y);
    printf("%d leap years\n", years);
    printf("%d %d %d\n", safe_divide(12, 4), safe_divide(12, 5), safe_divide(12, 0));
    printf("%d%d%d%d\n", implies(0, 0), implies(0, 1), implies(1, 0), implies(1, 1));
    printf("%d %d\n", count_true(5, 0, -1), count_true(0, 0, 0));
    static const int up[] = {11, 12}, down[] = {12, 11};
    printf("%d %d %d\n", null_safe(up), null_safe(down), null_safe(0));
    printf("%d %d %d\n", nearly(1.0, 1.0625), nearly(1.0, 1.25), nearly(-1, -1));
    struct pair p = {1, 2}, q = {3, 4};
    for (int k = 0; k < 3; k++) {
        struct pair r = k == 0 ? p : k == 1 ? q : make(5, 6);
        printf("%d%d ", r.a, r.b);
    }
    printf("%d\n", (n > 3 ? p : q).b + (n > 300 ? p : make(70, 80)).a);
    const char* s = n ? "yes" : "no";
    int* which = n > 2 ? &p.a : &q.b;
    *which = 9;
    (n == 0 ? &p : &q)->b = 77;
    printf("%s %d %d %d\n", s, p.a, p.b, q.b);
    long long wide = 1 ? 1 : 1ll << 40;
    double d = x < 100 ? 1 : 2.5;
    unsigned u = -1 < 0 ? 7u : 8u;
    printf("%lld %g %u\n", wide, d, u);
    bool t = 42, f = 0.0, m = t && !f;
    t = t + t;
    printf("%d %d %d %d\n", t, f, m, t == true);
    printf("%d %d %d\n", 5 > 3 > 1, (5 > 3) + (2 < 1) * 10, !5 == 0);
    int big = (a < b) << 4 | (a > b) << 3 | (a == b) << 2 | (a != b) << 1 | (a >= b);
    printf("%d\n", big);
    return 0;
}
