// Elementary functions of the target arithmetic.
//
// The arguments are reduced in the manner of Cody and Waite (Software Manual for the Elementary Functions): exp to a
// power of 2 and a rest below ln 2 / 2, log to a fraction around 1 between the root of 1/2 and its double, sine and
// cosine to a quarter of a turn. Behind the reduction stand power series in 256 bits instead of their rational
// approximations. Those are made for results of at most 60 bits, and a split constant reduces only small arguments; the
// series have no table of coefficients that could be wrong, leave errors around 2^-235, so that a result rounded to
// double is the nearest double but for arguments that nobody will meet, and give exact cases (2 to the power of 10)
// exactly. Speed is no matter here: a constant is folded once.
#include "ir/fps_int.h"

#include <boost/multiprecision/cpp_bin_float.hpp>
#include <boost/multiprecision/cpp_int.hpp>

namespace {

using boost::multiprecision::cpp_int;
constexpr int wide_bits = 256;
using WIDE =
    boost::multiprecision::number<boost::multiprecision::cpp_bin_float<wide_bits, boost::multiprecision::digit_base_2>,
                                  boost::multiprecision::et_off>;

// Beyond this the result of exp has no exponent in a simul_fval: a little above 32767 * ln 2.
constexpr int exp_limit = 22714;

cpp_int integer_of(u128 m) {
    cpp_int r = static_cast<uint64_t>(m >> 64);
    r <<= 64;
    r += static_cast<uint64_t>(m);
    return r;
}

WIDE magnitude(const UNPACKED& a) {
    const WIDE high(static_cast<uint64_t>(a.m >> 64)), low(static_cast<uint64_t>(a.m));
    return ldexp(high, a.e - 64) + ldexp(low, a.e - 128);
}

WIDE wide_of(const UNPACKED& a) { return a.negative ? -magnitude(a) : magnitude(a); }

// The nearest number of 160 bits stands for the result: what is exact, or halfway between two doubles, is met in spite
// of errors far behind. Then to odd.
int finish(const WIDE& w, simul_fval* result) {
    if (w == 0) return set_zero(false, result), 0;
    int e;
    const WIDE fraction = frexp(abs(w), &e);
    cpp_int digits(ldexp(fraction, 160) + WIDE(0.5));
    if (bit_test(digits, 160)) {
        digits >>= 1;
        e++;
    }
    const auto word = [&](unsigned shift, uint64_t mask) {
        return static_cast<uint64_t>(cpp_int((digits >> shift) & mask));
    };
    const u128 m = (static_cast<u128>(word(96, UINT64_MAX)) << 64) | word(32, UINT64_MAX);
    return pack(m, e, w < 0, word(0, UINT32_MAX) != 0, result);
}

// The sum of x^(2k+1) / (2k+1) for x = 1/n, signs alternating or not: atan or atanh of 1/n, times 2^bits.
cpp_int arc_of_inverse(unsigned n, bool alternating, unsigned bits) {
    cpp_int power = (cpp_int(1) << bits) / n, sum = power;
    for (unsigned k = 3; power != 0; k += 2) {
        power /= n * n;
        if (alternating && k % 4 == 3)
            sum -= power / k;
        else
            sum += power / k;
    }
    return sum;
}

constexpr unsigned guard_bits = 32; // for the truncations in the sums

// pi * 2^bits, an error in the last place apart (Machin).
cpp_int pi_times_power_of_2(unsigned bits) {
    const unsigned work = bits + guard_bits;
    return (16 * arc_of_inverse(5, true, work) - 4 * arc_of_inverse(239, true, work)) >> guard_bits;
}

constexpr unsigned constant_bits = 320;
const WIDE& pi() {
    static const WIDE value = ldexp(WIDE(pi_times_power_of_2(constant_bits)), -static_cast<int>(constant_bits));
    return value;
}

const WIDE& ln_2() {
    static const WIDE value = [] {
        const cpp_int sum = 18 * arc_of_inverse(26, false, constant_bits) -
                            2 * arc_of_inverse(4801, false, constant_bits) +
                            8 * arc_of_inverse(8749, false, constant_bits);
        return ldexp(WIDE(sum), -static_cast<int>(constant_bits));
    }();
    return value;
}

// True if adding `term` to `sum` changes nothing any more.
bool vanishes(const WIDE& term, const WIDE& sum) { return term == 0 || ilogb(term) < ilogb(sum) - wide_bits - 2; }

// The sum of x^k / k! times the signs of the caller: k = first, first + 2, ...
WIDE factorial_series(const WIDE& x, int first, bool alternating) {
    const WIDE square = alternating ? WIDE(-x * x) : WIDE(x * x);
    WIDE term = first == 1 ? x : WIDE(1), sum = term;
    for (int k = first + 2; !vanishes(term, sum); k += 2) {
        term *= square;
        term /= k * (k - 1);
        sum += term;
    }
    return sum;
}

// x + x^3 / 3 + x^5 / 5 ..., signs alternating or not; |x| well below 1.
WIDE arc_series(const WIDE& x, bool alternating) {
    const WIDE square = alternating ? WIDE(-x * x) : WIDE(x * x);
    WIDE power = x, sum = x;
    for (int k = 3; !vanishes(power, sum); k += 2) {
        power *= square;
        sum += power / k;
    }
    return sum;
}

// e^x for |x| up to exp_limit. The rest is divided by 2^8 to shorten the series, the sum squared as often.
WIDE exp_of(const WIDE& x) {
    constexpr int squarings = 8;
    const auto n = static_cast<int>(floor(x / ln_2() + WIDE(0.5)));
    const WIDE rest = ldexp(WIDE(x - n * ln_2()), -squarings);
    WIDE term = rest, sum = 1 + rest;
    for (int k = 2; !vanishes(term, sum); k++) {
        term *= rest;
        term /= k;
        sum += term;
    }
    for (int i = 0; i < squarings; i++) sum *= sum;
    return ldexp(sum, n);
}

// log x for x > 0: of the fraction by 2 atanh((f - 1) / (f + 1)).
WIDE log_of(const WIDE& x) {
    static const WIDE root_of_half("0.70710678118654752440");
    int n;
    WIDE fraction = frexp(x, &n);
    if (fraction < root_of_half) {
        fraction *= 2;
        n--;
    }
    return n * ln_2() + 2 * arc_series(WIDE((fraction - 1) / (fraction + 1)), false);
}

// atan x for x >= 0. Each halving of the angle brings x below tan(pi/8), tan(pi/16), ...
WIDE atan_of(const WIDE& x) {
    constexpr int halvings = 3;
    if (x > 1) return pi() / 2 - atan_of(WIDE(1 / x));
    WIDE reduced = x;
    for (int i = 0; i < halvings; i++) reduced /= 1 + sqrt(WIDE(1 + reduced * reduced));
    return ldexp(arc_series(reduced, true), halvings);
}

// |x| = rest + quadrant * pi/2 with |rest| <= pi/4, quadrant modulo 4. All bits of pi that meet bits of x take part,
// and 320 behind: x may lie as near to a multiple as a number of 128 bits can.
struct REDUCED {
    WIDE rest;
    unsigned quadrant;
};
REDUCED reduce(const UNPACKED& a) {
    if (a.e <= -1) return {magnitude(a), 0}; // below 1/2
    constexpr unsigned usual_bits = 1400;    // for every double
    static const cpp_int usual_pi = pi_times_power_of_2(usual_bits);
    const unsigned bits = static_cast<unsigned>(a.e + 1) + 320;
    const cpp_int half_pi = bits <= usual_bits ? cpp_int(usual_pi >> (usual_bits - bits)) : pi_times_power_of_2(bits);
    // Both sides in units of 2^-(bits + 1).
    const cpp_int x = integer_of(a.m) << (bits + 1 + static_cast<unsigned>(a.e + 1) - 129);
    const cpp_int turns = (x + (half_pi >> 1)) / half_pi;
    const cpp_int rest = x - turns * half_pi;
    return {ldexp(WIDE(rest), -static_cast<int>(bits + 1)), static_cast<unsigned>(cpp_int(turns & 3))};
}

// The sine at `quadrant` quarters of a turn further.
WIDE sine(const REDUCED& angle, unsigned quadrant) {
    quadrant = (quadrant + angle.quadrant) & 3;
    const WIDE value = factorial_series(angle.rest, (quadrant & 1) != 0 ? 0 : 1, true);
    return quadrant >= 2 ? WIDE(-value) : value;
}

bool is_one(const UNPACKED& a) { return a.kind == F_FINITE && a.e == 1 && a.m << 1 == 0; }

// Of a finite value: 0 for a fraction, 1 for an odd integer, 2 for an even one.
int integrality(const UNPACKED& a) {
    if (a.kind != F_FINITE) return 2;
    const int unit = 128 - a.e, lowest = trailing_zeros(a.m); // place of 1, lowest bit
    return lowest < unit ? 0 : lowest == unit ? 1 : 2;
}

int give_exp(const WIDE& x, bool negative, simul_fval* result) {
    if (x > exp_limit) return set_infinity(negative, result), raise_fp_error(FP_OVERFLOW);
    if (x < -exp_limit) return set_zero(negative, result), raise_fp_error(FP_UNDERFLOW);
    const WIDE value = exp_of(x);
    return finish(negative ? WIDE(-value) : value, result);
}

// log x, divided by the log of a base.
int give_log(const simul_fval* x, const WIDE& log_of_base, simul_fval* result) {
    const UNPACKED a = unpack(x);
    if (a.kind == F_NAN) return *result = *x, 0;
    if (a.kind == F_ZERO) return *result = neg_infin, raise_fp_error(FP_OVERFLOW);
    if (a.negative) return set_invalid(result);
    if (a.kind == F_INFINITE) return *result = *x, 0;
    return finish(log_of(magnitude(a)) / log_of_base, result);
}

// Infinity and NaN for sine, cosine and tangent.
int give_no_angle(const simul_fval* x, const UNPACKED& a, simul_fval* result) {
    if (a.kind == F_NAN) return *result = *x, 0;
    return set_invalid(result);
}

// Powers with a zero or an infinity in them; x and y are no NaN, y is not 0, x not 1.
int special_power(const UNPACKED& x, const UNPACKED& y, simul_fval* result) {
    if (y.kind == F_INFINITE) {
        if (x.kind == F_FINITE && is_one(x)) return *result = one, 0; // -1
        const bool above_one = x.kind == F_INFINITE || (x.kind == F_FINITE && x.e >= 1);
        return *result = above_one != y.negative ? pos_infin : pos_zero, 0;
    }
    const bool negative = x.negative && integrality(y) == 1;
    if ((x.kind == F_INFINITE) == y.negative) return set_zero(negative, result), 0;
    set_infinity(negative, result);
    return x.kind == F_ZERO ? raise_fp_error(FP_OVERFLOW) : 0;
}

} // namespace

int f_exp(const simul_fval* x, simul_fval* result) {
    const UNPACKED a = unpack(x);
    if (a.kind == F_NAN) return *result = *x, 0;
    if (a.kind == F_ZERO) return *result = one, 0;
    if (a.kind == F_INFINITE) return *result = a.negative ? pos_zero : pos_infin, 0;
    return give_exp(wide_of(a), false, result);
}

int f_log(const simul_fval* x, simul_fval* result) { return give_log(x, WIDE(1), result); }

int f_log10(const simul_fval* x, simul_fval* result) {
    static const WIDE ln_10 = log_of(WIDE(10));
    return give_log(x, ln_10, result);
}

int f_pow(const simul_fval* x, const simul_fval* y, simul_fval* result) {
    const UNPACKED a = unpack(x), b = unpack(y);
    if (b.kind == F_ZERO || (is_one(a) && !a.negative)) return *result = one, 0; // even if the other is a NaN
    if (a.kind == F_NAN || b.kind == F_NAN) return *result = a.kind == F_NAN ? *x : *y, 0;
    if (a.kind != F_FINITE || b.kind != F_FINITE) return special_power(a, b, result);
    const int integral = integrality(b);
    if (a.negative && integral == 0) return set_invalid(result);
    return give_exp(wide_of(b) * log_of(magnitude(a)), a.negative && integral == 1, result);
}

int f_sin(const simul_fval* x, simul_fval* result) {
    const UNPACKED a = unpack(x);
    if (a.kind == F_ZERO) return *result = *x, 0;
    if (a.kind != F_FINITE) return give_no_angle(x, a, result);
    const WIDE value = sine(reduce(a), 0);
    return finish(a.negative ? WIDE(-value) : value, result);
}

int f_cos(const simul_fval* x, simul_fval* result) {
    const UNPACKED a = unpack(x);
    if (a.kind == F_ZERO) return *result = one, 0;
    if (a.kind != F_FINITE) return give_no_angle(x, a, result);
    return finish(sine(reduce(a), 1), result);
}

int f_tan(const simul_fval* x, simul_fval* result) {
    const UNPACKED a = unpack(x);
    if (a.kind == F_ZERO) return *result = *x, 0;
    if (a.kind != F_FINITE) return give_no_angle(x, a, result);
    const REDUCED angle = reduce(a);
    const WIDE value = sine(angle, 0) / sine(angle, 1);
    return finish(a.negative ? WIDE(-value) : value, result);
}

int f_asin(const simul_fval* x, simul_fval* result) {
    const UNPACKED a = unpack(x);
    if (a.kind == F_NAN || a.kind == F_ZERO) return *result = *x, 0;
    const WIDE size = a.kind == F_FINITE ? magnitude(a) : WIDE(2);
    if (size > 1) return set_invalid(result);
    const WIDE value = size == 1 ? WIDE(pi() / 2) : atan_of(WIDE(size / sqrt(WIDE((1 - size) * (1 + size)))));
    return finish(a.negative ? WIDE(-value) : value, result);
}

int f_acos(const simul_fval* x, simul_fval* result) {
    const UNPACKED a = unpack(x);
    if (a.kind == F_NAN) return *result = *x, 0;
    const WIDE value = a.kind == F_ZERO ? WIDE(0) : a.kind == F_FINITE ? wide_of(a) : WIDE(2);
    if (abs(value) > 1) return set_invalid(result);
    return finish(value == -1 ? pi() : WIDE(2 * atan_of(sqrt(WIDE((1 - value) / (1 + value))))), result);
}

int f_atan(const simul_fval* x, simul_fval* result) {
    const UNPACKED a = unpack(x);
    if (a.kind == F_NAN || a.kind == F_ZERO) return *result = *x, 0;
    const WIDE value = a.kind == F_INFINITE ? WIDE(pi() / 2) : atan_of(magnitude(a));
    return finish(a.negative ? WIDE(-value) : value, result);
}

int f_atan2(const simul_fval* y, const simul_fval* x, simul_fval* result) {
    const UNPACKED a = unpack(y), b = unpack(x);
    if (a.kind == F_NAN || b.kind == F_NAN) return *result = a.kind == F_NAN ? *y : *x, 0;
    WIDE angle = 0; // of |y| and |x|
    if (a.kind == F_INFINITE && b.kind == F_INFINITE)
        angle = pi() / 4;
    else if (a.kind == F_INFINITE || (b.kind == F_ZERO && a.kind != F_ZERO))
        angle = pi() / 2;
    else if (a.kind == F_FINITE && b.kind == F_FINITE)
        angle = atan_of(WIDE(magnitude(a) / magnitude(b)));
    if (b.negative) angle = pi() - angle;
    const int status = finish(angle, result);
    result->sign = a.negative;
    return status;
}

int f_sinh(const simul_fval* x, simul_fval* result) {
    const UNPACKED a = unpack(x);
    if (a.kind != F_FINITE) return *result = *x, 0;
    const WIDE size = magnitude(a);
    if (size > exp_limit) return give_exp(size, a.negative, result);
    // Below 1 the difference would cancel.
    WIDE value;
    if (size < 1) {
        value = factorial_series(size, 1, false);
    } else {
        const WIDE grown = exp_of(size);
        value = (grown - 1 / grown) / 2;
    }
    return finish(a.negative ? WIDE(-value) : value, result);
}

int f_cosh(const simul_fval* x, simul_fval* result) {
    const UNPACKED a = unpack(x);
    if (a.kind == F_NAN) return *result = *x, 0;
    if (a.kind == F_ZERO) return *result = one, 0;
    if (a.kind == F_INFINITE) return *result = pos_infin, 0;
    const WIDE size = magnitude(a);
    if (size > exp_limit) return give_exp(size, false, result);
    const WIDE grown = exp_of(size);
    return finish((grown + 1 / grown) / 2, result);
}

int f_tanh(const simul_fval* x, simul_fval* result) {
    constexpr int is_one_from = 100; // the distance from 1 is then below 2^-256
    const UNPACKED a = unpack(x);
    if (a.kind == F_NAN || a.kind == F_ZERO) return *result = *x, 0;
    WIDE value = 1;
    const WIDE size = a.kind == F_FINITE ? magnitude(a) : WIDE(is_one_from);
    if (size < 1)
        value = factorial_series(size, 1, false) / factorial_series(size, 0, false);
    else if (size < is_one_from)
        value = 1 - 2 / (exp_of(WIDE(2 * size)) + 1);
    return finish(a.negative ? WIDE(-value) : value, result);
}
