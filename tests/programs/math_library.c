/* math.h: classes of numbers, the functions for every type, and tgmath.h, which picks them. Each macro looks once. */
#include <errno.h>
#include <float.h>
#include <math.h>
#include <stdio.h>

static int looks;
static double once(double x) {
    ++looks;
    return x;
}
static float once_f(float x) {
    ++looks;
    return x;
}
static const char *class_of(int c) {
    return c == FP_NAN ? "nan" : c == FP_INFINITE ? "infinite" : c == FP_ZERO ? "zero" : c == FP_NORMAL ? "normal" : "subnormal";
}
static void classify(double d, float f) {
    looks = 0;
    printf("%s %s %d%d%d%d%d", class_of(fpclassify(once(d))), class_of(fpclassify(once_f(f))), !!isnan(once(d)),
           !!isinf(once(d)), !!isfinite(once(d)), !!isnormal(once(d)), !!signbit(once(d)));
    printf(" %d%d%d%d%d\n", !!isnan(once_f(f)), !!isinf(once_f(f)), !!isfinite(once_f(f)), !!isnormal(once_f(f)),
           !!signbit(once_f(f)));
    if (looks != 12) printf("%d looks\n", looks);
}
static void compare(double a, double b) {
    printf("%d%d%d%d%d%d ", isgreater(a, b), isgreaterequal(a, b), isless(a, b), islessequal(a, b), islessgreater(a, b),
           isunordered(a, b));
}
#define SHOW(x) printf("%.6g ", (double)(x))

static void rounding(double x) {
    printf("%ld %ld %lld %lld ", lrint(x), lround(x), llrint(x), llround(x));
    printf("%ld %lld %g %g %g %g ", lroundf((float)x), llrintl(x), rint(x), nearbyint(x), round(x), trunc(x));
    printf("%d\n", ilogb(x));
}

int main(void) {
    volatile double zero = 0, one = 1, big = 1e300, third = 1 / 3.0;
    volatile float f = 2;
    volatile long double l = 2;
    int n = 0;
    double part;
    float part_f;
    classify(one, f);
    classify(zero / zero, (float)(zero / zero));
    classify(-big * big, (float)big);
    classify(-zero, 0);
    classify(DBL_MIN / 4, FLT_MIN / 4);
    classify(FLT_MIN / 4, -FLT_MIN);
    compare(1, 2);
    compare(2, 2);
    compare(zero / zero, 2);
    printf("\n");
    rounding(2.5);
    rounding(-3.5);
    rounding(8.499);

    SHOW(acos(third)), SHOW(asinf(0.5f)), SHOW(atanl(l)), SHOW(atan2(-1, -2)), SHOW(sinhf(f)), SHOW(coshl(l)), SHOW(tanh(third));
    SHOW(asinh(f)), SHOW(acosh(f)), SHOW(atanhf(0.5f)), printf("\n");
    SHOW(exp2(10)), SHOW(expm1(1e-10)), SHOW(log1p(1e-10)), SHOW(log2l(l)), SHOW(log10f(1000)), SHOW(logb(-10)), SHOW(cbrt(-27));
    SHOW(hypotf(3, 4)), SHOW(powl(l, 0.5L)), SHOW(erf(0.5)), SHOW(erfc(0.5)), SHOW(tgamma(5)), SHOW(lgammaf(10)), printf("\n");
    SHOW(fmod(-7, 3)), SHOW(remainder(-7, 3)), SHOW(remquo(29, 3, &n)), printf("%d ", n & 7), SHOW(fdim(1, 3)), SHOW(fmaxf(f, 3));
    SHOW(fmin(zero / zero, 4)), SHOW(fma(third, 3, -1) * 1e17), SHOW(copysign(3, -zero)), SHOW(nextafter(1, 2) - 1);
    SHOW(nextafterf(1, 0) - 1), SHOW(nexttoward(one, 0.0L) - 1), printf("\n");
    SHOW(scalbn(3, 4)), SHOW(scalblnf(3, -1)), SHOW(ldexpl(l, 3)), SHOW(frexpf(f * 5, &n)), printf("%d ", n), SHOW(modf(-3.25, &part));
    SHOW(part), SHOW(modff(2.5f, &part_f)), SHOW(part_f), printf("%d %d\n", isnan(nan("")), isinf(HUGE_VAL * one) != 0);
    errno = 0;
    part = sqrt(-one);
    n = errno == EDOM;
    errno = 0;
    part = exp(big);
    printf("%d %d %g\n", n, errno == ERANGE, part);
    return 0;
}
