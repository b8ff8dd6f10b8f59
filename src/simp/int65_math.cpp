// Number theory on target integers.
#include "simp/fold.h"

#include "ir/types.h"

#include <bit>
#include <utility>

namespace {

using wide = INT65::wide;

wide magnitude(wide v) { return v < 0 ? -v : v; }

wide wide_gcd(wide a, wide b) {
    a = magnitude(a);
    b = magnitude(b);
    while (b != 0) a = std::exchange(b, a % b);
    return a;
}

// The exact value, or with *overflow set what 65 bits keep of it.
INT65 cut(wide v, int* overflow) {
    INT65 r = INT65::from_wide(v);
    *overflow = r.to_wide() != v;
    return r;
}

} // namespace

int power_of_2(INT65 v) {
    if (v.is_negative() || !std::has_single_bit(v.bits64())) return -1;
    return std::countr_zero(v.bits64());
}

unsigned clp2(unsigned v) { return v == 0 || v > 0x80000000u ? 0 : std::bit_ceil(v); }

unsigned uint_gcd(unsigned a, unsigned b) { return static_cast<unsigned>(wide_gcd(a, b)); }
unsigned uint_lcm(unsigned a, unsigned b) { return a == 0 || b == 0 ? 0 : a / uint_gcd(a, b) * b; }

INT65 long_gcd(INT65 a, INT65 b) {
    wide g = wide_gcd(a.to_wide(), b.to_wide());
    if (g == wide{1} << 64) g >>= 1; // 2^64 itself has no place in 65 bits; half of it divides both as well
    return INT65::from_wide(g);
}

// 0 if the multiple has no place in 65 bits.
INT65 long_lcm(INT65 a, INT65 b) {
    if (a.is_zero() || b.is_zero()) return 0;
    wide m;
    if (__builtin_mul_overflow(magnitude(a.to_wide()) / wide_gcd(a.to_wide(), b.to_wide()), magnitude(b.to_wide()), &m))
        return 0;
    int overflow;
    INT65 r = cut(m, &overflow);
    return overflow ? INT65(0) : r;
}

// Euclid on the magnitudes; the coefficients then take the signs of the arguments.
INT65 extended_gcd(INT65 a, INT65 b, INT65* x, INT65* y) {
    wide r0 = magnitude(a.to_wide()), r1 = magnitude(b.to_wide());
    wide x0 = 1, x1 = 0, y0 = 0, y1 = 1;
    while (r1 != 0) {
        wide q = r0 / r1;
        r0 = std::exchange(r1, r0 - q * r1);
        x0 = std::exchange(x1, x0 - q * x1);
        y0 = std::exchange(y1, y0 - q * y1);
    }
    *x = INT65::from_wide(a.is_negative() ? -x0 : x0);
    *y = INT65::from_wide(b.is_negative() ? -y0 : y0);
    return INT65::from_wide(r0);
}

INT65 long_add(INT65 a, INT65 b, int* overflow) { return cut(a.to_wide() + b.to_wide(), overflow); }

INT65 long_multiply(INT65 a, INT65 b, int* overflow) {
    wide product;
    if (__builtin_mul_overflow(a.to_wide(), b.to_wide(), &product)) {
        *overflow = 1;
        return a * b;
    }
    return cut(product, overflow);
}

// A negative exponent gives the quotient 1 / base^-exponent, cut to an integer; of a zero base it counts as overflow.
INT65 long_expt(INT65 base, INT65 exponent, int* overflow) {
    *overflow = 0;
    if (exponent.is_negative()) {
        bool unit = base == INT65(1) || base == INT65(-1);
        *overflow = base.is_zero();
        return !unit ? INT65(0) : (exponent.low & 1) ? base : INT65(1);
    }
    INT65 result = 1;
    int lost = 0;
    for (uint64_t bits = exponent.bits64(); bits != 0; bits >>= 1) {
        // A square that does not fit matters only if a factor is still taken from it: the loop ends otherwise.
        if (lost) *overflow = 1;
        if (bits & 1) {
            int o;
            result = long_multiply(result, base, &o);
            if (o) *overflow = 1;
        }
        if (bits > 1) {
            int o;
            base = long_multiply(base, base, &o);
            lost |= o;
        }
    }
    return result;
}

INT65 ulong_expt(INT65 base, INT65 exponent) {
    uint64_t result = 1, factor = base.bits64();
    for (uint64_t bits = exponent.bits64(); bits != 0; bits >>= 1) {
        if (bits & 1) result *= factor;
        factor *= factor;
    }
    return INT65(static_cast<unsigned long long>(result));
}

INT65 long_sqrt(INT65 v) {
    if (v.is_negative()) return 0;
    uint64_t target = v.bits64(), root = 0;
    for (int bit = 31; bit >= 0; bit--) {
        uint64_t trial = root | uint64_t{1} << bit;
        if (trial * trial <= target) root = trial;
    }
    return INT65(static_cast<unsigned long long>(root));
}

bool sum_may_overflow(INT65 a, INT65 b, TYPE* type) {
    if (!value_fits_in_type(a, type) || !value_fits_in_type(b, type)) return true;
    int overflow;
    INT65 sum = long_add(a, b, &overflow);
    return overflow != 0 || !value_fits_in_type(sum, type);
}

bool prod_may_overflow(INT65 a, INT65 b, TYPE* type) {
    if (!value_fits_in_type(a, type) || !value_fits_in_type(b, type)) return true;
    int overflow;
    INT65 product = long_multiply(a, b, &overflow);
    return overflow != 0 || !value_fits_in_type(product, type);
}

int compare_SLLONG_values(INT65 a, INT65 b, TYPE* type) {
    a = truncate_to_type(a, type);
    b = truncate_to_type(b, type);
    return a < b ? -1 : a > b ? 1 : 0;
}
