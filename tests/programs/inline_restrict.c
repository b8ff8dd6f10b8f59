/* inline and restrict: small inline helpers, static inline recursion, vector kernels over restrict pointers,
 * register, const. */
#include <stdio.h>
#include <string.h>

static inline int clamp(int v, int low, int high) { return v < low ? low : v > high ? high : v; }
static inline int square(int v) { return v * v; }
static inline void bump(int* p) { ++*p; }
static inline unsigned gcd(unsigned a, unsigned b) { return b ? gcd(b, a % b) : a; }
static inline const char* plural(int n) { return n == 1 ? "" : "s"; }

inline int external_inline(int a, int b);
extern inline int external_inline(int a, int b) { return a * 10 + b; }

static void add_vectors(int n, const int* restrict a, const int* restrict b, int* restrict out) {
    for (int i = 0; i < n; i++) out[i] = a[i] + b[i];
}

static void scale_add(float* restrict y, const float* restrict x, float a, int n) {
    while (n-- > 0) *y++ += a * *x++;
}

static int dot(const short* restrict a, const short* restrict b, int n) {
    register int sum = 0;
    for (register int i = 0; i < n; ++i) sum += a[i] * b[i];
    return sum;
}

static void matrix_vector(int rows, int columns, const int* restrict m, const int* restrict v, int* restrict out) {
    for (int r = 0; r < rows; r++) {
        int s = 0;
        for (int c = 0; c < columns; c++) s += m[r * columns + c] * v[c];
        out[r] = s;
    }
}

static void copy_words(void* restrict to, const void* restrict from, size_t n) { memcpy(to, from, n); }

static void prefix_sums(const int* restrict in, int* restrict out, int n) {
    int s = 0;
    for (int i = 0; i < n; i++) out[i] = s += in[i];
}

static void interleave(int* restrict out, const int* restrict even, const int* restrict odd, int n) {
    for (int i = 0; i < n; i++) {
        out[2 * i] = even[i];
        out[2 * i + 1] = odd[i];
    }
}

static void stencil(const int* restrict in, int* restrict out, int n) {
    out[0] = in[0];
    for (int i = 1; i < n - 1; i++) out[i] = (in[i - 1] + 2 * in[i] + in[i + 1]) / 4;
    out[n - 1] = in[n - 1];
}

/* no restrict: the ranges overlap and every store must be seen by the next load */
static void smear(int* to, const int* from, int n) {
    for (int i = 0; i < n; i++) to[i] = from[i] + 1;
}

static int aliased(int* a, const int* b) {
    *a = 5;
    int first = *b;
    *a = 6;
    return first * 10 + *b;
}

int main(void) {
    int a[20], b[20], c[40];
    for (int i = 0; i < 20; i++) {
        a[i] = i;
        b[i] = square(i) - 50;
    }
    add_vectors(20, a, b, c);
    printf("%d %d %d\n", c[0], c[7], c[19]);
    float x[8], y[8];
    for (int i = 0; i < 8; i++) {
        x[i] = (float)i * 0.5f;
        y[i] = 1;
    }
    scale_add(y, x, 4, 8);
    printf("%g %g\n", (double)y[0], (double)y[7]);
    short p[10], q[10];
    for (int i = 0; i < 10; i++) {
        p[i] = (short)(i * 100);
        q[i] = (short)(9 - i);
    }
    printf("%d\n", dot(p, q, 10));
    matrix_vector(3, 4, b, a + 1, c);
    printf("%d %d %d\n", c[0], c[1], c[2]);
    copy_words(c, a, 10 * sizeof *a);
    prefix_sums(a, c + 10, 20);
    printf("%d %d %d\n", c[9], c[10], c[29]);
    interleave(c, a, b, 20);
    printf("%d %d %d\n", c[38], c[39], c[5]);
    stencil(b, c, 20);
    printf("%d %d %d\n", c[0], c[10], c[19]);
    int s[10] = {100};
    smear(s + 1, s, 9);
    printf("%d %d\n", s[9], s[1]);
    int k = 0;
    printf("%d", aliased(&k, &k));
    for (int i = 0; i < 5; i++) bump(&k);
    printf(" %d %d %d\n", k, clamp(k, 0, 7), clamp(-k, -3, 3));
    printf("%u %u, %d item%s, %d item%s\n", gcd(84, 36), gcd(17, 0), 1, plural(1), 2, plural(2));
    printf("%d\n", external_inline(4, 2));
    return 0;
}
