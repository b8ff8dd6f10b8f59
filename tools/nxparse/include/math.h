#ifndef _NX_MATH_H
#define _NX_MATH_H
#define HUGE_VAL __builtin_huge_val()
#define HUGE_VALF __builtin_huge_valf()
#define INFINITY __builtin_inff()
#define NAN __builtin_nanf("")
#define M_E 2.7182818284590452354
#define M_PI 3.14159265358979323846
#define M_PI_2 1.57079632679489661923
#define M_PI_4 0.78539816339744830962
#define M_SQRT2 1.41421356237309504880
#define M_LN2 0.69314718055994530942
#define M_LN10 2.30258509299404568402
#define isnan(x) ((x) != (x))
#define isinf(x) (fabs((double)(x)) == HUGE_VAL)
#define isfinite(x) (fabs((double)(x)) < HUGE_VAL)
#define signbit(x) (copysign(1.0, (double)(x)) < 0.0)
typedef float float_t;
typedef double double_t;
double acos(double x);
float acosf(float x);
double asin(double x);
float asinf(float x);
double atan(double x);
float atanf(float x);
double cos(double x);
float cosf(float x);
double sin(double x);
float sinf(float x);
double tan(double x);
float tanf(float x);
double cosh(double x);
float coshf(float x);
double sinh(double x);
float sinhf(float x);
double tanh(double x);
float tanhf(float x);
double acosh(double x);
float acoshf(float x);
double asinh(double x);
float asinhf(float x);
double atanh(double x);
float atanhf(float x);
double exp(double x);
float expf(float x);
double exp2(double x);
float exp2f(float x);
double expm1(double x);
float expm1f(float x);
double log(double x);
float logf(float x);
double log10(double x);
float log10f(float x);
double log1p(double x);
float log1pf(float x);
double log2(double x);
float log2f(float x);
double logb(double x);
float logbf(float x);
double cbrt(double x);
float cbrtf(float x);
double fabs(double x);
float fabsf(float x);
double sqrt(double x);
float sqrtf(float x);
double erf(double x);
float erff(float x);
double erfc(double x);
float erfcf(float x);
double lgamma(double x);
float lgammaf(float x);
double tgamma(double x);
float tgammaf(float x);
double ceil(double x);
float ceilf(float x);
double floor(double x);
float floorf(float x);
double nearbyint(double x);
float nearbyintf(float x);
double rint(double x);
float rintf(float x);
double round(double x);
float roundf(float x);
double trunc(double x);
float truncf(float x);
double atan2(double x, double y);
float atan2f(float x, float y);
double pow(double x, double y);
float powf(float x, float y);
double hypot(double x, double y);
float hypotf(float x, float y);
double fmod(double x, double y);
float fmodf(float x, float y);
double remainder(double x, double y);
float remainderf(float x, float y);
double copysign(double x, double y);
float copysignf(float x, float y);
double nextafter(double x, double y);
float nextafterf(float x, float y);
double fdim(double x, double y);
float fdimf(float x, float y);
double fmax(double x, double y);
float fmaxf(float x, float y);
double fmin(double x, double y);
float fminf(float x, float y);
double frexp(double x, int* exponent);
double ldexp(double x, int exponent);
double modf(double x, double* whole);
double scalbn(double x, int n);
float frexpf(float x, int* exponent);
float ldexpf(float x, int exponent);
float modff(float x, float* whole);
double fma(double x, double y, double z);
long lround(double x);
long lrint(double x);
long long llround(double x);
int ilogb(double x);
#endif
