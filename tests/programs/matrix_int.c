/* Integer matrices: product, transpose, power, determinant without fractions, identity checks; 2-D array parameters. */
#include <stdio.h>
#include <string.h>

#define N 5

typedef int MATRIX[N][N];

static void identity(MATRIX m) {
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) m[i][j] = i == j;
}

static void multiply(int a[N][N], int b[N][N], int out[N][N]) {
    for (int i = 0; i < N; i++) {
        for (int j = 0; j < N; j++) {
            int sum = 0;
            for (int k = 0; k < N; k++) sum += a[i][k] * b[k][j];
            out[i][j] = sum;
        }
    }
}

static void transpose(MATRIX m) {
    for (int i = 0; i < N; i++) {
        for (int j = i + 1; j < N; j++) {
            int t = m[i][j];
            m[i][j] = m[j][i];
            m[j][i] = t;
        }
    }
}

static void power(MATRIX m, unsigned e, MATRIX out) {
    MATRIX base, t;
    memcpy(base, m, sizeof base);
    identity(out);
    while (e) {
        if (e & 1u) {
            multiply(out, base, t);
            memcpy(out, t, sizeof t);
        }
        e >>= 1;
        if (!e) break;
        multiply(base, base, t);
        memcpy(base, t, sizeof t);
    }
}

/* Bareiss: every division is exact. */
static long long determinant(MATRIX source) {
    long long m[N][N], previous = 1;
    int sign = 1;
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) m[i][j] = source[i][j];
    for (int k = 0; k < N - 1; k++) {
        if (m[k][k] == 0) {
            int r = k + 1;
            while (r < N && m[r][k] == 0) r++;
            if (r == N) return 0;
            for (int j = 0; j < N; j++) {
                long long t = m[k][j];
                m[k][j] = m[r][j];
                m[r][j] = t;
            }
            sign = -sign;
        }
        for (int i = k + 1; i < N; i++)
            for (int j = k + 1; j < N; j++) m[i][j] = (m[i][j] * m[k][k] - m[i][k] * m[k][j]) / previous;
        previous = m[k][k];
    }
    return sign * m[N - 1][N - 1];
}

/* Laplace expansion over a set of columns, as a check of the above. */
static long long expand(MATRIX m, int row, unsigned columns) {
    if (row == N) return 1;
    long long sum = 0;
    int sign = 1;
    for (int j = 0; j < N; j++) {
        if (!(columns >> j & 1u)) continue;
        sum += sign * m[row][j] * expand(m, row + 1, columns & ~(1u << j));
        sign = -sign;
    }
    return sum;
}

static long long trace(MATRIX m) {
    long long t = 0;
    for (int i = 0; i < N; i++) t += m[i][i];
    return t;
}

static void show(const char* name, MATRIX m) {
    printf("%s\n", name);
    for (int i = 0; i < N; i++) {
        for (int j = 0; j < N; j++) printf("%7d", m[i][j]);
        putchar('\n');
    }
}

int main(void) {
    static MATRIX a = {{2, -1, 0, 3, 1}, {0, 0, 4, -2, 5}, {1, 1, -3, 0, 2}, {-4, 2, 2, 1, 0}, {3, 0, -1, 2, -2}};
    static MATRIX b = {{1, 2, 0, 0, 0}, {0, 1, -1, 0, 0}, {0, 0, 1, 3, 0}, {0, 0, 0, 1, 1}, {2, 0, 0, 0, 1}};
    MATRIX ab, ba, p, at;
    multiply(a, b, ab);
    multiply(b, a, ba);
    show("a*b", ab);
    show("b*a", ba);
    printf("det %lld %lld, expanded %lld %lld\n", determinant(a), determinant(b), expand(a, 0, 31), expand(b, 0, 31));
    printf("det of product %lld %lld\n", determinant(ab), determinant(ba));
    printf("trace %lld %lld\n", trace(ab), trace(ba));
    memcpy(at, a, sizeof at);
    transpose(at);
    printf("det of transpose equal %d\n", determinant(at) == determinant(a));
    power(b, 7, p);
    show("b^7", p);
    MATRIX fib = {{1, 1}, {1, 0}};
    power(fib, 40, p);
    printf("fib(40) %d\n", p[0][1]);
    for (int j = 0; j < N; j++) a[3][j] = a[1][j] + a[2][j];
    printf("dependent rows: %lld\n", determinant(a));
    return 0;
}
