/* float and double arithmetic on exactly representable values: sums, products, comparisons, NaN, infinities,
 * negative zero. */
#include <float.h>
#include <math.h>
#include <stdint.h>
#include <stdio.h>

static float sum_floats(const float* v, int n) {
    float s = 0;
    for (int i = 0; i < n; i++) s += v[i];
    return s;
}

static double dot(const double* a, const double* b, int n) {
    double s = 0.0;
    while (n--) s += *a++ * *b++;
    return s;
}

/* sums that stay exact, so any order gives one result */
static double polynomial(const double* c, int n, double x) {
    double r = c[n];
    while (n-- > 0) r = r * x + c[n];
    return r;
}

static uint32_t bits_of(float f) {
    union {
        float f;
        uint32_t u;
    } v = {f};
    return v.u;
}

static uint64_t bits_of_double(double d) {
    union {
        double d;
        uint64_t u;
    } v;
    v.d = d;
    return v.u;
}

static volatile double zero = 0.0;

static void order(double a, double b) {
    putchar(a < b ? '<' : '.');
    putchar(a <= b ? 'l' : '.');
    putchar(a > b ? '>' : '.');
    putchar(a >= b ? 'g' : '.');
    putchar(a == b ? '=' : '.');
    putchar(a != b ? '!' : '.');
    putchar(' ');
}

int main(void) {
    float f[16];
    double a[16], b[16];
    for (int i = 0; i < 16; i++) {
        f[i] = (float)(i * i) / 8.0f - 3.5f;
        a[i] = i * 0.25;
        b[i] = (i % 4) - 1.5;
    }
    printf("%g %g\n", (double)sum_floats(f, 16), dot(a, b, 16));
    const double c[] = {1, -2, 0.5, 0, 4};
    printf("%g %g %g\n", polynomial(c, 4, 0.5), polynomial(c, 4, -3), polynomial(c, 0, 99));
    printf("%08x %08x %08x\n", (unsigned)bits_of(1.0f), (unsigned)bits_of(-0.375f), (unsigned)bits_of(16777216.0f));
    printf("%016llx %016llx\n", (unsigned long long)bits_of_double(-2.0), (unsigned long long)bits_of_double(0.1));
    float third = 1.0f / 3.0f;
    printf("%08x %d\n", (unsigned)bits_of(third), (double)third == 1.0 / 3.0);
    float big = 16777216.0f, next = big + 1.0f;
    printf("float keeps 24 bits %d, double more %d\n", next == big, (double)big + 1.0 != (double)big);

    double nan = zero / zero, infinity = 1.0 / zero, negative_zero = -zero;
    order(1, 2);
    order(2, 2);
    order(3, 2);
    order(0.0, negative_zero);
    printf("\n");
    order(nan, 1);
    order(1, nan);
    order(nan, nan);
    printf("\n");
    order(infinity, DBL_MAX);
    order(-infinity, infinity);
    order(infinity, infinity);
    printf("%d %d\n", 1.0 / negative_zero < 0, nan ? 1 : 0);
    printf("%d %d %d\n", !(nan < 1) && !(nan >= 1), negative_zero ? 1 : 0, infinity - infinity == 0);

    printf("%g %g %g %g\n", floor(-2.5), ceil(-2.5), fabs(-7.25), sqrt(2.25));
    printf("%g %g\n", fmod(17.5, 4), fmod(-17.5, 4));
    printf("%d %d %d\n", FLT_MANT_DIG, DBL_MANT_DIG, FLT_RADIX);
    float x = 1.0f;
    int n = 0;
    while (x > 0.0f && n < 20) {
        x /= 2.0f;
        n++;
    }
    printf("%d %g\n", n, (double)x * 1048576.0);
    double d = 5.5;
    d++;
    ++d;
    d -= 0.5;
    double was = d--;
    d *= 2;
    d /= 4;
    printf("%g %g %g\n", d, was, -d);
    int i = 7;
    i *= 1.5;
    i -= 0.75;
    i /= 0.5f;
    printf("%d\n", i);
    float g = 3;
    g += i;
    g = g > 20 ? g - 20 : -g;
    printf("%g %d\n", (double)g, g != 1);
    return 0;
}
