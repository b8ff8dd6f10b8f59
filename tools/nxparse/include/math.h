#ifndef _NX_MATH_H
#define _NX_MATH_H
#include <nx_features.h>
#define HUGE_VAL __builtin_huge_val()
#define M_E 2.7182818284590452354
#define M_LOG2E 1.4426950408889634074
#define M_LOG10E 0.43429448190325182765
#define M_LN2 0.69314718055994530942
#define M_LN10 2.30258509299404568402
#define M_PI 3.14159265358979323846
#define M_PI_2 1.57079632679489661923
#define M_PI_4 0.78539816339744830962
#define M_1_PI 0.31830988618379067154
#define M_2_PI 0.63661977236758134308
#define M_2_SQRTPI 1.12837916709551257390
#define M_SQRT2 1.41421356237309504880
#define M_SQRT1_2 0.70710678118654752440

/* The functions, each for double, float and long double. */
#define _NX_X(name)                                                                                                    \
    double name(double x);                                                                                             \
    float name##f(float x);                                                                                            \
    long double name##l(long double x);
#define _NX_XY(name)                                                                                                   \
    double name(double x, double y);                                                                                   \
    float name##f(float x, float y);                                                                                   \
    long double name##l(long double x, long double y);
#define _NX_XN(name, type)                                                                                             \
    double name(double x, type n);                                                                                     \
    float name##f(float x, type n);                                                                                    \
    long double name##l(long double x, type n);
#define _NX_TO(name, type)                                                                                             \
    type name(double x);                                                                                               \
    type name##f(float x);                                                                                             \
    type name##l(long double x);
_NX_X(acos)
_NX_X(asin)
_NX_X(atan)
_NX_X(cos)
_NX_X(sin)
_NX_X(tan)
_NX_X(cosh)
_NX_X(sinh)
_NX_X(tanh)
_NX_X(exp)
_NX_X(log)
_NX_X(log10)
_NX_X(sqrt)
_NX_X(fabs)
_NX_X(ceil)
_NX_X(floor)
_NX_XY(atan2)
_NX_XY(pow)
_NX_XY(fmod)
_NX_XN(frexp, int*)
_NX_XN(ldexp, int)
double modf(double x, double* whole);
float modff(float x, float* whole);
long double modfl(long double x, long double* whole);

#ifdef NX_C99
typedef float float_t;
typedef double double_t;
#define HUGE_VALF __builtin_huge_valf()
#define HUGE_VALL __builtin_huge_vall()
#define INFINITY __builtin_inff()
#define NAN __builtin_nanf("")
#define MATH_ERRNO 1
#define MATH_ERREXCEPT 2
#define math_errhandling MATH_ERRNO
#define FP_ILOGB0 (-2147483647 - 1)
#define FP_ILOGBNAN (-2147483647 - 1)
_NX_X(acosh)
_NX_X(asinh)
_NX_X(atanh)
_NX_X(exp2)
_NX_X(expm1)
_NX_X(log1p)
_NX_X(log2)
_NX_X(logb)
_NX_X(cbrt)
_NX_X(erf)
_NX_X(erfc)
_NX_X(lgamma)
_NX_X(tgamma)
_NX_X(nearbyint)
_NX_X(rint)
_NX_X(round)
_NX_X(trunc)
_NX_XY(hypot)
_NX_XY(remainder)
_NX_XY(copysign)
_NX_XY(nextafter)
_NX_XY(fdim)
_NX_XY(fmax)
_NX_XY(fmin)
_NX_XN(scalbn, int)
_NX_XN(scalbln, long)
_NX_XN(nexttoward, long double)
_NX_TO(ilogb, int)
_NX_TO(lrint, long)
_NX_TO(lround, long)
_NX_TO(llrint, long long)
_NX_TO(llround, long long)
double fma(double x, double y, double z);
float fmaf(float x, float y, float z);
long double fmal(long double x, long double y, long double z);
double remquo(double x, double y, int* quotient);
float remquof(float x, float y, int* quotient);
long double remquol(long double x, long double y, int* quotient);
double nan(const char* tag);
float nanf(const char* tag);
long double nanl(const char* tag);

/* Classification. A function for each, so that the argument is evaluated once. */
#define FP_NAN 0
#define FP_INFINITE 1
#define FP_ZERO 2
#define FP_SUBNORMAL 3
#define FP_NORMAL 4
static __inline unsigned int __nx_bits(float x) {
    union {
        float value;
        unsigned int bits;
    } u;
    u.value = x;
    return u.bits;
}
static __inline unsigned long long __nx_wide_bits(double x) {
    union {
        double value;
        unsigned long long bits;
    } u;
    u.value = x;
    return u.bits;
}
static __inline int __nx_fpclassifyf(float x) {
    unsigned int b = __nx_bits(x) << 1, exponent = b >> 24;
    if (exponent == 0xFF) return b << 8 != 0 ? FP_NAN : FP_INFINITE;
    if (exponent != 0) return FP_NORMAL;
    return b != 0 ? FP_SUBNORMAL : FP_ZERO;
}
static __inline int __nx_fpclassify(double x) {
    unsigned long long b = __nx_wide_bits(x) << 1;
    unsigned int exponent = (unsigned int)(b >> 53);
    if (exponent == 0x7FF) return b << 11 != 0 ? FP_NAN : FP_INFINITE;
    if (exponent != 0) return FP_NORMAL;
    return b != 0 ? FP_SUBNORMAL : FP_ZERO;
}
static __inline int __nx_isnormalf(float x) { return __nx_fpclassifyf(x) == FP_NORMAL; }
static __inline int __nx_isnormal(double x) { return __nx_fpclassify(x) == FP_NORMAL; }
/* A float keeps all of these as a double. */
static __inline int __nx_isnan(double x) { return x != x; }
static __inline int __nx_isinf(double x) { return x == __builtin_huge_val() ? 1 : x == -__builtin_huge_val() ? -1 : 0; }
static __inline int __nx_isfinite(double x) { return x >= -__DBL_MAX__ && x <= __DBL_MAX__; }
static __inline int __nx_signbit(double x) { return (int)(__nx_wide_bits(x) >> 63); }
static __inline int __nx_isgreater(double x, double y) { return x > y; }
static __inline int __nx_isgreaterequal(double x, double y) { return x >= y; }
static __inline int __nx_isless(double x, double y) { return x < y; }
static __inline int __nx_islessequal(double x, double y) { return x <= y; }
static __inline int __nx_islessgreater(double x, double y) { return x < y || x > y; }
static __inline int __nx_isunordered(double x, double y) { return x != x || y != y; }
#define fpclassify(x) _Generic((x), float : __nx_fpclassifyf, default : __nx_fpclassify)(x)
#define isnormal(x) _Generic((x), float : __nx_isnormalf, default : __nx_isnormal)(x)
#define isnan(x) __nx_isnan(x)
#define isinf(x) __nx_isinf(x)
#define isfinite(x) __nx_isfinite(x)
#define signbit(x) __nx_signbit(x)
#define isgreater(x, y) __nx_isgreater(x, y)
#define isgreaterequal(x, y) __nx_isgreaterequal(x, y)
#define isless(x, y) __nx_isless(x, y)
#define islessequal(x, y) __nx_islessequal(x, y)
#define islessgreater(x, y) __nx_islessgreater(x, y)
#define isunordered(x, y) __nx_isunordered(x, y)
#endif

#undef _NX_X
#undef _NX_XY
#undef _NX_XN
#undef _NX_TO
#endif
