// The target arithmetic against the host: random and special operands of both sizes through every basic operation
// beside the host's IEEE hardware, texts beside glibc, operands of the full inner width and the elementary functions
// beside MPFR.
//
//     fpcheck [--seconds N] [--seed S] [basic|wide|text|elementary]...
//
// Runs each part for an equal share of the time and prints what it did; exit status 1 if anything disagreed.
#include "ir/fps.h"

#include <bit>
#include <chrono>
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mpfr.h>
#include <string>
#include <vector>

namespace {

uint64_t random_state;
uint64_t random64() { // splitmix64
    uint64_t z = (random_state += 0x9e3779b97f4a7c15u);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
}
unsigned below(unsigned n) { return static_cast<unsigned>((random64() >> 32) * n >> 32); }

uint64_t operations, faults;
void fault(const char* what, const std::string& detail) {
    if (++faults <= 20) printf("%s: %s\n", what, detail.c_str());
}

template <class T> struct FORM;
template <> struct FORM<float> {
    using bits = uint32_t;
    static constexpr int size = 32, fraction = 23, top_exponent = 255;
    static void read(bits b, simul_fval* v) { ieee_cvt_ftos(b, v); }
    static bits write(const simul_fval* v) {
        unsigned b;
        ieee_cvt_stof(v, &b);
        return b;
    }
};
template <> struct FORM<double> {
    using bits = uint64_t;
    static constexpr int size = 64, fraction = 52, top_exponent = 2047;
    static void read(bits b, simul_fval* v) {
        ieee_cvt_dtos(static_cast<unsigned>(b >> 32), static_cast<unsigned>(b), v);
    }
    static bits write(const simul_fval* v) {
        unsigned high, low;
        ieee_cvt_stod(v, &high, &low);
        return (uint64_t{high} << 32) | low;
    }
};
template <class T> auto bits_of(T v) { return std::bit_cast<typename FORM<T>::bits>(v); }
template <class T> T from_bits(uint64_t b) { return std::bit_cast<T>(static_cast<typename FORM<T>::bits>(b)); }
template <class T> bool same(T a, T b) { return bits_of(a) == bits_of(b) || (std::isnan(a) && std::isnan(b)); }

template <class T> std::string hex(T v) {
    char text[64];
    snprintf(text, sizeof text, "%a", static_cast<double>(v));
    return text;
}

// An operand: any pattern, an edge of the format and its neighbours, or a fraction of few bits (ties, exact results).
template <class T> T operand() {
    using F = FORM<T>;
    const uint64_t r = random64(), one_fraction = uint64_t{1} << F::fraction;
    const uint64_t sign = (r >> 63) << (F::size - 1);
    switch (below(8)) {
    case 0: {
        static const T edges[] = {0,
                                  1,
                                  2,
                                  0.5,
                                  3,
                                  std::numeric_limits<T>::infinity(),
                                  std::numeric_limits<T>::quiet_NaN(),
                                  std::numeric_limits<T>::max(),
                                  std::numeric_limits<T>::min(),
                                  std::numeric_limits<T>::denorm_min(),
                                  std::numeric_limits<T>::epsilon()};
        const uint64_t b = bits_of(edges[below(std::size(edges))]);
        const uint64_t moved = b + below(5) - 2;
        return from_bits<T>((moved <= bits_of(std::numeric_limits<T>::infinity()) ? moved : b) | sign);
    }
    case 1:
    case 2: { // few bits, in front or at both ends, exponent anywhere
        uint64_t fraction = (r & (one_fraction - 1)) & ~((one_fraction - 1) >> below(F::fraction));
        if (below(2)) fraction |= below(4);
        return from_bits<T>(sign | uint64_t{below(F::top_exponent)} << F::fraction | fraction);
    }
    case 3: return from_bits<T>(sign | (r & ((one_fraction << below(2)) - 1) >> below(F::fraction))); // mostly denormal
    case 4:                                                                                           // near 1
        return from_bits<T>(sign | uint64_t{F::top_exponent / 2u - 4 + below(9)} << F::fraction |
                            (r & (one_fraction - 1)));
    default: return from_bits<T>(r >> (64 - F::size));
    }
}

// A second operand that makes something happen with the first: near in size, or with a product or quotient near the
// ends of the range.
template <class T> T partner(T x) {
    using F = FORM<T>;
    const uint64_t b = bits_of(x), mask = (uint64_t{1} << (F::size - 1)) - 1;
    const int exponent = static_cast<int>((b & mask) >> F::fraction), bias = F::top_exponent / 2;
    int wanted;
    switch (below(8)) {
    case 0: return from_bits<T>(b ^ (uint64_t{below(2)} << (F::size - 1)) ^ below(8)); // the same but for the last bits
    case 1: wanted = exponent + static_cast<int>(below(5)) - 2; break;
    case 2: wanted = exponent + static_cast<int>(below(2 * F::fraction + 8)) - F::fraction - 4; break;
    case 3:
        wanted = bias - exponent + static_cast<int>(below(F::fraction + 8)) - F::fraction - 4;
        break;                                                                              // tiny product
    case 4: wanted = exponent + bias + static_cast<int>(below(F::fraction + 8)) - 4; break; // tiny quotient
    case 5: wanted = 3 * bias - exponent + static_cast<int>(below(5)) - 2; break;           // huge product
    default: return operand<T>();
    }
    if (wanted < 0 || wanted > F::top_exponent) return operand<T>();
    const uint64_t r = random64(), fraction = bits_of(operand<T>()) & ((uint64_t{1} << F::fraction) - 1);
    return from_bits<T>((r >> 63) << (F::size - 1) | static_cast<uint64_t>(wanted) << F::fraction | fraction);
}

template <class T> void want(const char* what, T x, T y, T expected, const simul_fval& got, int flags) {
    operations++;
    const T result = from_bits<T>(FORM<T>::write(&got));
    if (same(result, expected) && fp_error == flags) return;
    fault(what, hex(x) + " , " + hex(y) + " gives " + hex(result) + " flags " + std::to_string(fp_error) + ", want " +
                    hex(expected) + " flags " + std::to_string(flags) + " (" + std::to_string(FORM<T>::size) +
                    " bits)");
}

// The flags of an operation with this result: `nonzero` says that the exact result is not 0.
template <class T> int flags_of(T x, T y, T result, bool nonzero) {
    if (std::isnan(x) || std::isnan(y)) return 0;
    if (std::isnan(result)) return FP_INVALID;
    if (std::isinf(x) || std::isinf(y)) return 0;
    return std::isinf(result) ? FP_OVERFLOW : result == 0 && nonzero ? FP_UNDERFLOW : 0;
}

template <class T> void check_arithmetic(T x, T y, const simul_fval& a, const simul_fval& b) {
    simul_fval r;
    const bool both = x != 0 && y != 0;
    auto operation = [&](const char* name, int (*function)(const simul_fval*, const simul_fval*, simul_fval*),
                         T expected, bool nonzero) {
        fp_error = 0;
        function(&a, &b, &r);
        want(name, x, y, expected, r, flags_of(x, y, expected, nonzero));
    };
    operation("add", f_add, x + y, false);
    operation("sub", f_sub, x - y, false);
    operation("mul", f_mul, x * y, both);
    operation("div", f_div, x / y, both);
}

template <class T> void check_comparisons(T x, T y, const simul_fval& a, const simul_fval& b) {
    const int got = f_eq(&a, &b) | f_ne(&a, &b) << 1 | f_lt(&a, &b) << 2 | f_le(&a, &b) << 3 | f_gt(&a, &b) << 4 |
                    f_ge(&a, &b) << 5;
    const int expected = (x == y) | (x != y) << 1 | (x < y) << 2 | (x <= y) << 3 | (x > y) << 4 | (x >= y) << 5;
    operations += 6;
    if (got != expected) fault("comparison", hex(x) + " , " + hex(y));
    const bool bits = same(x, y) && std::isnan(x) == std::isnan(y);
    if ((f_bit_eq(&a, &b) != 0) != bits) fault("bit_eq", hex(x) + " , " + hex(y));
}

template <class T> void check_rare(T x, T y, const simul_fval& a, const simul_fval& b) {
    simul_fval r, s;
    fp_error = 0;
    f_fmod(&a, &b, &r);
    want("fmod", x, y, std::fmod(x, y), r, flags_of(x, y, std::fmod(x, y), false) | (std::isinf(x) && !std::isnan(y)));

    const int power = static_cast<int>(below(2 * FORM<T>::top_exponent + 200)) - FORM<T>::top_exponent - 100;
    const T scaled = std::ldexp(x, power);
    fp_error = 0;
    f_ldexp(&a, power, &r);
    want("ldexp", x, static_cast<T>(power), scaled, r, flags_of(x, x, scaled, x != 0));

    fp_error = 0;
    int exponent = 0, host_exponent = 0;
    f_frexp(&a, &exponent, &r);
    const T fraction = std::frexp(x, &host_exponent);
    want("frexp", x, x, fraction, r, 0);
    if (std::isfinite(x) && exponent != host_exponent) fault("frexp", hex(x));

    T host_whole;
    const T behind = std::modf(x, &host_whole);
    f_modf(&a, &s, &r);
    want("modf", x, x, behind, r, 0);
    want("modf whole", x, x, host_whole, s, 0);
    f_floor(&a, &r), want("floor", x, x, std::floor(x), r, 0);
    f_ceil(&a, &r), want("ceil", x, x, std::ceil(x), r, 0);
    f_trunc(&a, &r), want("trunc", x, x, std::trunc(x), r, 0);
    f_round(&a, &r), want("round", x, x, std::round(x), r, 0);
}

template <class T> void check_conversions(T x, const simul_fval& a) {
    using OTHER = std::conditional_t<sizeof(T) == 4, double, float>;
    const OTHER converted = static_cast<OTHER>(x);
    fp_error = 0;
    const bool flagged = std::isfinite(x) && (std::isinf(converted) || (x != 0 && converted == 0));
    operations++;
    const OTHER got = from_bits<OTHER>(FORM<OTHER>::write(&a));
    if (!same(got, converted) || (fp_error != 0) != flagged) fault("to the other size", hex(x));

    simul_fval r;
    const uint64_t n = random64() >> below(64);
    fp_error = 0;
    f_utof(n, &r), want("from unsigned", static_cast<T>(n), static_cast<T>(0), static_cast<T>(n), r, 0);
    const auto i = static_cast<int64_t>(n ^ -(random64() & 1));
    f_itof(i, &r), want("from signed", static_cast<T>(i), static_cast<T>(0), static_cast<T>(i), r, 0);

    long long whole;
    unsigned long long natural;
    const bool fits = x >= static_cast<T>(-9223372036854775808.0) && x < static_cast<T>(9223372036854775808.0);
    const bool fits_unsigned = x > -1 && x < static_cast<T>(18446744073709551616.0);
    operations += 2;
    const int status = f_ftoi(&a, &whole), status_unsigned = f_ftou(&a, &natural);
    if ((status == 0) != fits || (fits && whole != static_cast<long long>(x))) fault("to signed", hex(x));
    if ((status_unsigned == 0) != fits_unsigned ||
        (fits_unsigned && natural != (x < 0 ? 0 : static_cast<unsigned long long>(x))))
        fault("to unsigned", hex(x));
}

template <class T> void check_operands(T x, T y, bool all) {
    simul_fval a, b, r;
    FORM<T>::read(bits_of(x), &a);
    FORM<T>::read(bits_of(y), &b);
    check_arithmetic(x, y, a, b);
    fp_error = 0;
    f_sqrt(&a, &r);
    want("sqrt", x, x, std::sqrt(x), r, flags_of(x, x, std::sqrt(x), false));
    check_comparisons(x, y, a, b);
    if (!all) return;
    check_rare(x, y, a, b);
    check_conversions(x, a);
}

void basic() {
    for (int i = 0; i < 512; i++) {
        const double x = operand<double>();
        check_operands(x, partner(x), i % 8 == 0);
        const float f = operand<float>();
        check_operands(f, partner(f), i % 8 == 0);
    }
}

// ------------------------------------------------------------------------- operands of 128 bits, results rounded to
// odd

struct NUMBER {
    mpfr_t v;
    explicit NUMBER(int bits) { mpfr_init2(v, bits); }
    ~NUMBER() { mpfr_clear(v); }
    NUMBER(const NUMBER&) = delete;
};

void to_mpfr(const simul_fval& x, mpfr_t v) {
    mpfr_set_zero(v, 1);
    for (uint16_t word : x.mantissa) {
        mpfr_mul_2ui(v, v, 16, MPFR_RNDN);
        mpfr_add_ui(v, v, word, MPFR_RNDN);
    }
    mpfr_mul_2si(v, v, x.exponent - 16 * FVAL_WORDS, MPFR_RNDN);
    if (x.sign) mpfr_neg(v, v, MPFR_RNDN);
}

simul_fval wide_operand() {
    simul_fval x;
    for (uint16_t& word : x.mantissa)
        word = below(8) == 0 ? static_cast<uint16_t>(-below(2)) : static_cast<uint16_t>(random64());
    x.mantissa[0] |= 1 << below(16);
    x.exponent = 16 * (static_cast<int>(below(20)) - 10);
    x.sign = static_cast<uint8_t>(below(2));
    if (below(4) == 0) f_left_justify(&x);
    if (below(2)) x.exponent += static_cast<int>(below(16));
    return x;
}

// The result must be the exact one, or lie next to it on an odd last place.
void want_odd(const char* what, const simul_fval& x, const simul_fval& y, const simul_fval& got, mpfr_t exact,
              bool inexact) {
    static NUMBER value(4000), difference(4000), unit(64);
    operations++;
    to_mpfr(got, value.v);
    mpfr_sub(difference.v, value.v, exact, MPFR_RNDN);
    const bool equal = mpfr_zero_p(difference.v) && !inexact;
    mpfr_set_ui_2exp(unit.v, 1, got.exponent - 16 * FVAL_WORDS, MPFR_RNDN);
    const bool odd = (got.mantissa[FVAL_WORDS - 1] & 1) != 0;
    const bool aligned = f_sgn(&got) == 0 || (got.exponent % 16 == 0 && got.mantissa[0] != 0);
    if (aligned && (equal || (odd && mpfr_cmpabs(difference.v, unit.v) < 0))) return;
    fault(what, f_ftoa("%a", &x) + " , " + f_ftoa("%a", &y) + " gives " + f_ftoa("%a", &got));
}

void wide() {
    static NUMBER a(4000), b(4000), exact(4000);
    for (int i = 0; i < 32; i++) {
        const simul_fval x = wide_operand();
        simul_fval y = wide_operand(), r;
        if (below(4) == 0) { // near x
            y = x;
            y.mantissa[below(FVAL_WORDS)] ^= static_cast<uint16_t>(random64() & random64());
            y.sign ^= below(2);
        }
        to_mpfr(x, a.v);
        to_mpfr(y, b.v);
        bool inexact = mpfr_add(exact.v, a.v, b.v, MPFR_RNDN) != 0;
        f_add(&x, &y, &r), want_odd("wide add", x, y, r, exact.v, inexact);
        inexact = mpfr_sub(exact.v, a.v, b.v, MPFR_RNDN) != 0;
        f_sub(&x, &y, &r), want_odd("wide sub", x, y, r, exact.v, inexact);
        inexact = mpfr_mul(exact.v, a.v, b.v, MPFR_RNDN) != 0;
        f_mul(&x, &y, &r), want_odd("wide mul", x, y, r, exact.v, inexact);
        inexact = mpfr_fmod(exact.v, a.v, b.v, MPFR_RNDN) != 0;
        f_fmod(&x, &y, &r), want_odd("wide fmod", x, y, r, exact.v, inexact);
        if (f_sgn(&y) != 0) {
            inexact = mpfr_div(exact.v, a.v, b.v, MPFR_RNDN) != 0;
            f_div(&x, &y, &r), want_odd("wide div", x, y, r, exact.v, inexact);
        }
        simul_fval positive;
        f_abs(&x, &positive);
        if (below(2)) { // a square, or next to one
            f_trunc(&positive, &positive);
            memset(positive.mantissa + 4, 0, 8);
            f_mul(&positive, &positive, &positive);
            const unsigned step = below(3);
            if (step == 1) positive.mantissa[FVAL_WORDS - 1] |= 1;
            for (int word = FVAL_WORDS - 1; step == 2 && word >= 0 && positive.mantissa[word]-- == 0;) word--;
        }
        to_mpfr(positive, a.v);
        inexact = mpfr_sqrt(exact.v, a.v, MPFR_RNDN) != 0;
        f_sqrt(&positive, &r), want_odd("wide sqrt", positive, positive, r, exact.v, inexact);
    }
}

// --------------------------------------------------------------------------------------------------------------- texts

template <class T> T host_read(const char* text) {
    if constexpr (sizeof(T) == 4)
        return strtof(text, nullptr);
    else
        return strtod(text, nullptr);
}

template <class T> T rounded(mpfr_t v) {
    if constexpr (sizeof(T) == 4)
        return mpfr_get_flt(v, MPFR_RNDN);
    else
        return mpfr_get_d(v, MPFR_RNDN);
}

// glibc reads some hexadecimal texts of float denormals wrongly ("0x37065a6p-152" by strtof of 2.36): MPFR decides.
template <class T> void check_reading(const std::string& text) {
    simul_fval v;
    operations++;
    const int status = f_atof(text.c_str(), &v);
    const T expected = host_read<T>(text.c_str()), got = from_bits<T>(FORM<T>::write(&v));
    if (status == 0 && same(got, expected)) return;
    static NUMBER arbiter(20000);
    mpfr_strtofr(arbiter.v, text.c_str(), nullptr, 0, MPFR_RNDN);
    const T exact = rounded<T>(arbiter.v);
    if (status != 0 || !same(got, exact)) fault("text", text + " gives " + hex(got) + ", want " + hex(exact));
}

std::string random_literal() {
    const bool hexadecimal = below(3) == 0;
    const char* digits = "0123456789abcdefABCDEF";
    std::string text = below(2) ? "-" : "";
    if (hexadecimal) text += "0x";
    const unsigned length = 1 + below(below(10) == 0 ? 900 : 30), point = below(length + 1);
    for (unsigned i = 0; i < length; i++) {
        if (i == point && below(3) != 0) text += '.';
        text += below(3) == 0 ? '0' : digits[below(hexadecimal ? 22 : 10)];
    }
    if (below(4) != 0)
        text += (hexadecimal ? "p" : "e") + std::to_string(static_cast<int>(below(hexadecimal ? 2400 : 720)) -
                                                           static_cast<int>(hexadecimal ? 1200 : 360));
    return text;
}

// The decimal text of the point halfway to the next value, in full, and texts that differ from it far behind.
template <class T> void check_halfway() {
    const T x = std::fabs(operand<T>());
    if (!std::isfinite(x) || x == std::numeric_limits<T>::max()) return;
    const long double half = (static_cast<long double>(x) + std::nextafter(x, std::numeric_limits<T>::infinity())) / 2;
    static char text[1400];
    snprintf(text, sizeof text, "%.1100Le", half);
    std::string digits = text, exponent = digits.substr(digits.find('e'));
    digits.resize(digits.find('e'));
    check_reading<T>(digits + exponent);
    check_reading<T>(digits + std::string(below(3000), '0') + "1" + exponent);
    size_t last = digits.find_last_not_of("0.");
    if (last != std::string::npos) {
        digits[last]--;
        check_reading<T>(digits + std::string(below(300), '9') + exponent);
    }
}

template <class T> void check_text_of(T x) {
    simul_fval v, back;
    FORM<T>::read(bits_of(x), &v);
    std::string format = "%";
    for (char flag : {'-', '+', ' ', '#', '0'})
        if (below(4) == 0) format += flag;
    if (below(3) == 0) format += std::to_string(1 + below(40));
    if (below(3) != 0) format += "." + std::to_string(below(below(8) == 0 ? 400 : 25));
    format += "aAeEfFgG"[below(8)];
    static char text[1000];
    for (const char* form : {"%a", "%.17g", format.c_str()}) {
        operations++;
        snprintf(text, sizeof text, form, static_cast<double>(x));
        const std::string got = f_ftoa(form, &v);
        if (got != text) fault(form, "gives " + got + ", want " + text);
    }
    for (const char* form : {"%a", "%.17g"}) {
        operations++;
        const std::string written = f_ftoa(form, &v);
        if (f_atof(written.c_str(), &back) != 0 || FORM<T>::write(&back) != bits_of(x)) fault("round trip", written);
    }
    std::string shortest;
    f_f2ascii(&v, &shortest);
    f_atof(shortest.c_str(), &back);
    if (FORM<T>::write(&back) != bits_of(x)) fault("shortest", shortest);
}

void text() {
    for (int i = 0; i < 16; i++) {
        const std::string literal = random_literal();
        check_reading<double>(literal);
        check_reading<float>(literal);
        const double x = operand<double>();
        if (std::isfinite(x)) check_text_of(x);
        const float f = operand<float>();
        if (std::isfinite(f)) check_text_of(f);
    }
    check_halfway<double>();
    check_halfway<float>();
}

// ------------------------------------------------------------------------------------------------ elementary functions

struct FUNCTION {
    const char* name;
    int (*ours)(const simul_fval*, simul_fval*);
    int (*theirs)(mpfr_t, const mpfr_t, mpfr_rnd_t);
    double limit; // arguments are mostly below this
};
const FUNCTION functions[] = {
    {"exp", f_exp, mpfr_exp, 800},    {"log", f_log, mpfr_log, 0},      {"log10", f_log10, mpfr_log10, 0},
    {"sin", f_sin, mpfr_sin, 0},      {"cos", f_cos, mpfr_cos, 0},      {"tan", f_tan, mpfr_tan, 0},
    {"asin", f_asin, mpfr_asin, 1},   {"acos", f_acos, mpfr_acos, 1},   {"atan", f_atan, mpfr_atan, 0},
    {"sinh", f_sinh, mpfr_sinh, 800}, {"cosh", f_cosh, mpfr_cosh, 800}, {"tanh", f_tanh, mpfr_tanh, 30},
};
uint64_t not_nearest;

template <class T> void compare_elementary(const char* name, T x, T y, const simul_fval& result, mpfr_t exact) {
    operations++;
    const T expected = rounded<T>(exact), got = from_bits<T>(FORM<T>::write(&result));
    if (same(got, expected)) return;
    const auto a = static_cast<int64_t>(bits_of(got)), b = static_cast<int64_t>(bits_of(expected));
    if (std::abs(a - b) == 1)
        not_nearest++;
    else
        fault(name, hex(x) + " , " + hex(y) + " gives " + hex(got) + ", want " + hex(expected));
}

template <class T> T argument(double limit) {
    const T x = operand<T>();
    if (limit == 0 || below(4) == 0) return x;
    return static_cast<T>(
        std::ldexp(static_cast<double>(random64() >> 11), -53 - static_cast<int>(below(below(2) ? 2 : 40))) * limit *
        (below(2) ? 1 : -1));
}

template <class T> void check_elementary() {
    static NUMBER exact(220), a(64), b(64);
    simul_fval v, w, r;
    for (const FUNCTION& f : functions) {
        const T x = argument<T>(f.limit);
        FORM<T>::read(bits_of(x), &v);
        mpfr_set_d(a.v, static_cast<double>(x), MPFR_RNDN);
        f.theirs(exact.v, a.v, MPFR_RNDN);
        f.ours(&v, &r);
        compare_elementary(f.name, x, x, r, exact.v);
    }
    const T x = operand<T>();
    T y = below(2) ? partner(x) : operand<T>();
    FORM<T>::read(bits_of(x), &v);
    FORM<T>::read(bits_of(y), &w);
    mpfr_set_d(a.v, static_cast<double>(x), MPFR_RNDN);
    mpfr_set_d(b.v, static_cast<double>(y), MPFR_RNDN);
    mpfr_atan2(exact.v, a.v, b.v, MPFR_RNDN);
    f_atan2(&v, &w, &r);
    compare_elementary("atan2", x, y, r, exact.v);
    // A power near the limits of the range, an integral one, or any.
    switch (below(4)) {
    case 0: y = static_cast<T>(static_cast<int>(below(80)) - 40); break;
    case 1:
        y = static_cast<T>((below(2) ? 1 : -1) * (sizeof(T) == 4 ? 1.0 : 8.0) * (80 + below(60)) /
                           std::log2(std::fabs(x)));
        break;
    case 2: y = static_cast<T>(static_cast<int>(below(64)) - 32) / 4; break;
    default: break;
    }
    FORM<T>::read(bits_of(y), &w);
    mpfr_set_d(b.v, static_cast<double>(y), MPFR_RNDN);
    mpfr_pow(exact.v, a.v, b.v, MPFR_RNDN);
    f_pow(&v, &w, &r);
    compare_elementary("pow", x, y, r, exact.v);
}

void elementary() {
    check_elementary<double>();
    check_elementary<float>();
}

struct PART {
    const char* name;
    void (*round)();
};
const PART parts[] = {{"basic", basic}, {"wide", wide}, {"text", text}, {"elementary", elementary}};

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

} // namespace

int main(int argc, char** argv) {
    double seconds = 8;
    uint64_t seed = 1;
    std::vector<PART> chosen;
    for (int i = 1; i < argc; i++) {
        const std::string word = argv[i];
        bool known = false;
        if (word == "--seconds" && i + 1 < argc)
            seconds = atof(argv[++i]), known = true;
        else if (word == "--seed" && i + 1 < argc)
            seed = strtoull(argv[++i], nullptr, 0), known = true;
        for (const PART& part : parts)
            if (word == part.name) chosen.push_back(part), known = true;
        if (!known)
            return fprintf(stderr, "usage: fpcheck [--seconds N] [--seed S] [basic|wide|text|elementary]...\n"), 1;
    }
    if (chosen.empty()) chosen.assign(std::begin(parts), std::end(parts));
    random_state = seed * 0x5851f42d4c957f2du;
    for (const PART& part : chosen) {
        const double start = now(), end = start + seconds / static_cast<double>(chosen.size());
        const uint64_t before = operations, faults_before = faults;
        do part.round();
        while (now() < end && faults < 1000);
        const double took = now() - start;
        const auto count = static_cast<double>(operations - before);
        printf("%-10s %12.0f checks in %.1f s (%.2f million a second), %" PRIu64 " faults\n", part.name, count, took,
               count / took / 1e6, faults - faults_before);
        if (part.round == elementary) printf("%-10s %" PRIu64 " results one place off\n", "", not_nearest);
        fflush(stdout);
    }
    return faults != 0;
}
