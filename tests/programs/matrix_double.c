/* Gaussian elimination, LU and inverse on doubles whose values stay exact (small dyadic fractions and unit pivots). */
#include <math.h>
#include <stdio.h>

#define N 4

static void copy(double to[N][N], double from[N][N]) {
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) to[i][j] = from[i][j];
}

static void product(double a[][N], double b[][N], double out[][N]) {
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) {
            out[i][j] = 0.0;
            for (int k = 0; k < N; k++) out[i][j] += a[i][k] * b[k][j];
        }
}

/* a := L\U in place, unit diagonal of L not stored; 0 if a pivot is zero */
static int lu(double a[N][N]) {
    for (int k = 0; k < N; k++) {
        if (a[k][k] == 0.0) return 0;
        for (int i = k + 1; i < N; i++) {
            a[i][k] /= a[k][k];
            for (int j = k + 1; j < N; j++) a[i][j] -= a[i][k] * a[k][j];
        }
    }
    return 1;
}

static void solve(double f[N][N], const double* b, double* x) {
    for (int i = 0; i < N; i++) {
        x[i] = b[i];
        for (int j = 0; j < i; j++) x[i] -= f[i][j] * x[j];
    }
    for (int i = N - 1; i >= 0; i--) {
        for (int j = i + 1; j < N; j++) x[i] -= f[i][j] * x[j];
        x[i] /= f[i][i];
    }
}

static void inverse(double f[N][N], double out[N][N]) {
    for (int c = 0; c < N; c++) {
        double unit[N] = {0}, x[N];
        unit[c] = 1.0;
        solve(f, unit, x);
        for (int r = 0; r < N; r++) out[r][c] = x[r];
    }
}

static double norm1(double m[N][N]) {
    double best = 0.0;
    for (int j = 0; j < N; j++) {
        double sum = 0.0;
        for (int i = 0; i < N; i++) sum += fabs(m[i][j]);
        if (sum > best) best = sum;
    }
    return best;
}

static void show(const char* title, double m[N][N]) {
    printf("%s\n", title);
    for (int i = 0; i < N; i++) printf("  %g %g %g %g\n", m[i][0], m[i][1], m[i][2], m[i][3]);
}

int main(void) {
    /* L*U with pivots 2, 1, 4, 0.5, so that every quotient is exact */
    double l[N][N] = {{1, 0, 0, 0}, {0.5, 1, 0, 0}, {-2, 3, 1, 0}, {0.25, -1, 0.5, 1}};
    double u[N][N] = {{2, -4, 8, 1}, {0, 1, 2, -3}, {0, 0, 4, 2}, {0, 0, 0, 0.5}};
    double a[N][N], f[N][N], inv[N][N], check[N][N];
    product(l, u, a);
    show("a", a);
    copy(f, a);
    printf("lu %d\n", lu(f));
    int same = 1;
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) same &= f[i][j] == (i > j ? l[i][j] : u[i][j]);
    printf("factors found again %d\n", same);

    const double want[N] = {1, -2, 0.5, 4};
    double b[N] = {0}, x[N];
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) b[i] += a[i][j] * want[j];
    solve(f, b, x);
    printf("x = %g %g %g %g\n", x[0], x[1], x[2], x[3]);

    inverse(f, inv);
    show("inverse", inv);
    product(a, inv, check);
    show("a * inverse", check);
    double det = 1.0;
    for (int i = 0; i < N; i++) det *= f[i][i];
    printf("det %g, norm %g, of the inverse %g\n", det, norm1(a), norm1(inv));
    for (int j = 0; j < N; j++) a[0][j] = 0.0;
    printf("singular: %d\n", lu(a));
    return 0;
}
