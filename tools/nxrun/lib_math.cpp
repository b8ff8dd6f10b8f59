// Library functions of math.h: those of the machine that runs the interpreter.
#include "exec.h"
#include "library.h"

#include <bit>
#include <cmath>

namespace {

double d(int64_t slot) { return std::bit_cast<double>(slot); }
float f(int64_t slot) { return std::bit_cast<float>(static_cast<uint32_t>(slot)); }
void give(int64_t* a, double v) { a[0] = std::bit_cast<int64_t>(v); }
void give(int64_t* a, float v) { a[0] = std::bit_cast<uint32_t>(v); }

} // namespace

#define ONE(name)                                                                                                      \
    void lib_##name(VM&, int64_t* a) { give(a, std::name(d(a[0]))); }                                                  \
    void lib_##name##f(VM&, int64_t* a) { give(a, std::name(f(a[0]))); }
#define TWO(name)                                                                                                      \
    void lib_##name(VM&, int64_t* a) { give(a, std::name(d(a[0]), d(a[1]))); }                                         \
    void lib_##name##f(VM&, int64_t* a) { give(a, std::name(f(a[0]), f(a[1]))); }
ONE(sin)
ONE(cos)
ONE(tan)
ONE(asin)
ONE(acos)
ONE(atan)
ONE(sinh)
ONE(cosh)
ONE(tanh)
ONE(exp)
ONE(exp2)
ONE(log)
ONE(log2)
ONE(log10)
ONE(sqrt)
ONE(cbrt)
ONE(ceil)
ONE(floor)
ONE(trunc)
ONE(round)
ONE(rint)
ONE(fabs)
ONE(acosh)
ONE(asinh)
ONE(atanh)
ONE(expm1)
ONE(log1p)
ONE(logb)
ONE(erf)
ONE(erfc)
ONE(lgamma)
ONE(tgamma)
ONE(nearbyint)
TWO(atan2)
TWO(pow)
TWO(hypot)
TWO(fmod)
TWO(fmin)
TWO(fmax)
TWO(copysign)
TWO(remainder)
TWO(nextafter)
TWO(fdim)

void lib__sqrt(VM& vm, int64_t* a) { lib_sqrt(vm, a); }
void lib_ldexp(VM&, int64_t* a) { give(a, std::ldexp(d(a[0]), static_cast<int>(a[1]))); }
void lib_ldexpf(VM&, int64_t* a) { give(a, std::ldexp(f(a[0]), static_cast<int>(a[1]))); }
void lib_scalbn(VM& vm, int64_t* a) { lib_ldexp(vm, a); }
void lib_fma(VM&, int64_t* a) { give(a, std::fma(d(a[0]), d(a[1]), d(a[2]))); }
void lib_lround(VM&, int64_t* a) { a[0] = static_cast<int32_t>(std::lround(d(a[0]))); }
void lib_lrint(VM&, int64_t* a) { a[0] = static_cast<int32_t>(std::lrint(d(a[0]))); }
void lib_llround(VM&, int64_t* a) { a[0] = std::llround(d(a[0])); }
void lib_ilogb(VM&, int64_t* a) { a[0] = std::ilogb(d(a[0])); }

void lib_frexp(VM& vm, int64_t* a) {
    int exponent = 0;
    double v = std::frexp(d(a[0]), &exponent);
    vm.mem.write_n(static_cast<ADDRESS>(a[1]), static_cast<uint32_t>(exponent), 2);
    give(a, v);
}
void lib_frexpf(VM& vm, int64_t* a) {
    int exponent = 0;
    float v = std::frexp(f(a[0]), &exponent);
    vm.mem.write_n(static_cast<ADDRESS>(a[1]), static_cast<uint32_t>(exponent), 2);
    give(a, v);
}
void lib_modf(VM& vm, int64_t* a) {
    double whole = 0;
    double v = std::modf(d(a[0]), &whole);
    vm.mem.write_n(static_cast<ADDRESS>(a[1]), std::bit_cast<uint64_t>(whole), 4);
    give(a, v);
}
void lib_modff(VM& vm, int64_t* a) {
    float whole = 0;
    float v = std::modf(f(a[0]), &whole);
    vm.mem.write_n(static_cast<ADDRESS>(a[1]), std::bit_cast<uint32_t>(whole), 2);
    give(a, v);
}
