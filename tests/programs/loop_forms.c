/* Loop shapes: do/while, empty bodies, several variables, break and continue, unsigned count-down, steps, zero
 * trips. */
#include <stdio.h>

static int digits(int v) {
    int n = 0;
    do n++;
    while (v /= 10);
    return n;
}

static int first_multiple(int of, int above) {
    int v = above;
    while (++v % of)
        ;
    return v;
}

static int skip_and_stop(const int* v, int n) {
    int s = 0;
    for (int i = 0; i < n; i++) {
        if (v[i] < 0) continue;
        if (v[i] > 50) break;
        s += v[i];
    }
    return s;
}

static int two_ends(const char* s, int n) {
    int same = 0;
    for (int i = 0, j = n - 1; i < j; ++i, --j) same += s[i] == s[j];
    return same;
}

static int triangle(int n) {
    int cells = 0;
    for (int i = 0; i < n; i++)
        for (int j = i; j < n; j++)
            for (int k = j; k < n; k++) {
                if ((i + j + k) & 1) continue;
                cells++;
            }
    return cells;
}

static unsigned count_down(unsigned n) {
    unsigned s = 0;
    for (unsigned i = n; i-- > 0;) s = s * 2u + i;
    return s;
}

static int short_counter(void) {
    int turns = 0;
    for (short s = 32000; s > 0 && s < 32767; s = (short)(s + 7)) {
        turns++;
        if (s > 32755) break;
    }
    return turns;
}

static int variable_bound(int n) {
    int i, turns = 0;
    for (i = 0; i < n; i++) {
        turns++;
        if (i % 4 == 3) n -= 2;
    }
    return turns * 100 + n;
}

static int nested_exit(int m[4][5], int key) {
    int i, j = -1;
    for (i = 0; i < 4; i++) {
        for (j = 0; j < 5; j++)
            if (m[i][j] == key) break;
        if (j < 5) break;
    }
    return i * 10 + j;
}

static long long sum_strided(const int* v, int n, int step) {
    long long s = 0;
    for (int i = step > 0 ? 0 : n - 1; i >= 0 && i < n; i += step) s = s * 3 + v[i];
    return s;
}

static int invariant(const int* v, int n, int a, int b) {
    int s = 0;
    for (int i = 0; i < n; i++) {
        int t = a * b + a / (b | 1);
        if (a > b)
            s += v[i] + t;
        else
            s -= v[i] * t;
    }
    return s;
}

static int infinite(int n) {
    int steps = 0;
    for (;;) {
        if (n == 1) return steps;
        while (n % 2 == 0) {
            n /= 2;
            if (++steps > 1000) return -1;
        }
        if (n == 1) continue;
        n = 3 * n + 1;
        steps++;
    }
}

static double geometric(double ratio, int n) {
    double term = 1, sum = 0;
    while (n--) {
        sum += term;
        term *= ratio;
    }
    return sum;
}

int main(void) {
    printf("%d %d %d\n", digits(0), digits(7), digits(1234567890));
    printf("%d %d\n", first_multiple(7, 100), first_multiple(1, 5));
    const int v[] = {5, -3, 10, 50, -1, 20, 51, 1000};
    printf("%d %d %d\n", skip_and_stop(v, 8), skip_and_stop(v, 2), skip_and_stop(v, 0));
    printf("%d %d %d\n", two_ends("abcxba", 6), two_ends("a", 1), two_ends("", 0));
    printf("%d %d\n", triangle(6), triangle(1));
    printf("%u %u\n", count_down(10), count_down(0));
    printf("%d\n", short_counter());
    printf("%d %d\n", variable_bound(20), variable_bound(0));
    int m[4][5];
    for (int i = 0; i < 20; i++) m[i / 5][i % 5] = i * i;
    printf("%d %d %d\n", nested_exit(m, 0), nested_exit(m, 169), nested_exit(m, 7));
    printf("%lld %lld %lld\n", sum_strided(v, 8, 3), sum_strided(v, 8, -1), sum_strided(v, 8, 100));
    printf("%d %d\n", invariant(v, 8, 9, 4), invariant(v, 8, 3, 4));
    printf("%d %d %d\n", infinite(1), infinite(27), infinite(1024));
    printf("%g %g\n", geometric(0.5, 10), geometric(2, 0));
    int i = 10, n = 0;
    while (i-- > 5) n += i;
    do {
        if (n > 20) continue;
        n *= 2;
    } while (n < 20);
    printf("%d %d\n", i, n);
    return 0;
}
