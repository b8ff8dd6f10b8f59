// The bit patterns of the target and the host, and rounding to them.
#include "ir/fps_int.h"
#include "ir/types.h"

namespace {

constexpr ieee_format binary32{32, 23, 127, 255};
constexpr ieee_format binary64{64, 52, 1023, 2047};

// The pattern of x rounded to nearest, ties to even; `status` 1 if it became an infinity or a zero.
uint64_t to_pattern(const simul_fval* x, const ieee_format& format, int& status) {
    const UNPACKED a = unpack(x);
    const uint64_t sign = static_cast<uint64_t>(a.negative) << (format.bits - 1);
    const uint64_t infinity = static_cast<uint64_t>(format.max_exponent) << format.fraction_bits;
    status = 0;
    if (a.kind == F_ZERO) return sign;
    if (a.kind == F_INFINITE) return sign | infinity;
    if (a.kind == F_NAN) return sign | infinity | (uint64_t{1} << (format.fraction_bits - 1));

    const int exponent = a.e + format.bias - 1; // of 1.fraction; below 1 for a denormal, which is shifted further
    const int shift = 127 - format.fraction_bits + (exponent < 1 ? 1 - exponent : 0);
    u128 kept = 0, rest = 1; // the rest as a fraction of the last place; beyond 128 places it is less than a half
    if (shift < 128)
        kept = a.m >> shift, rest = a.m << (128 - shift);
    else if (shift == 128)
        rest = a.m;
    const u128 half = static_cast<u128>(1) << 127;
    // The leading one of a normal value counts as one in the field of the exponent, and so does a carry.
    uint64_t pattern = exponent > format.max_exponent ? infinity
                       : exponent > 1                 ? static_cast<uint64_t>(exponent - 1) << format.fraction_bits
                                                      : 0;
    if (pattern < infinity) pattern += static_cast<uint64_t>(kept);
    if (rest > half || (rest == half && (kept & 1) != 0)) pattern++;
    if (pattern >= infinity) {
        status = 1;
        raise_fp_error(FP_OVERFLOW);
        return sign | infinity;
    }
    if (pattern == 0) {
        status = 1;
        raise_fp_error(FP_UNDERFLOW);
    }
    return sign | pattern;
}

void from_pattern(uint64_t pattern, const ieee_format& format, simul_fval* result) {
    const bool negative = (pattern >> (format.bits - 1)) != 0;
    const uint64_t fraction = pattern & ((uint64_t{1} << format.fraction_bits) - 1);
    const int exponent = static_cast<int>(pattern >> format.fraction_bits) & format.max_exponent;
    if (exponent == format.max_exponent) {
        if (fraction != 0)
            *result = a_nan;
        else
            set_infinity(negative, result);
        return;
    }
    if (exponent == 0) {
        if (fraction == 0) return set_zero(negative, result);
        pack_any(fraction, 128 + 1 - format.bias - format.fraction_bits, negative, false, result);
        return;
    }
    const u128 mantissa = static_cast<u128>(fraction | (uint64_t{1} << format.fraction_bits));
    pack(mantissa << (127 - format.fraction_bits), exponent - format.bias + 1, negative, false, result);
}

} // namespace

const ieee_format& get_ieee_flt_fmt() { return binary32; }
const ieee_format& get_ieee_dbl_fmt() { return binary64; }

void ieee_cvt_ftos(unsigned bits, simul_fval* result) { from_pattern(bits, binary32, result); }

void ieee_cvt_dtos(unsigned high, unsigned low, simul_fval* result) {
    from_pattern((static_cast<uint64_t>(high) << 32) | low, binary64, result);
}

int ieee_cvt_stof(const simul_fval* x, unsigned* bits) {
    int status;
    *bits = static_cast<unsigned>(to_pattern(x, binary32, status));
    return status;
}

int ieee_cvt_stod(const simul_fval* x, unsigned* high, unsigned* low) {
    int status;
    const uint64_t pattern = to_pattern(x, binary64, status);
    *high = static_cast<unsigned>(pattern >> 32);
    *low = static_cast<unsigned>(pattern);
    return status;
}

void f_cvt_ttos(const trg_fval* from, simul_fval* result, int words) {
    if (words == 2)
        ieee_cvt_dtos(from[0].bits, from[1].bits, result);
    else
        ieee_cvt_ftos(from[0].bits, result);
}

int f_cvt_stot(const simul_fval* x, trg_fval* result, int words) {
    return words == 2 ? ieee_cvt_stod(x, &result[0].bits, &result[1].bits) : ieee_cvt_stof(x, &result[0].bits);
}

int f_cvf(const simul_fval* x, int size, simul_fval* result) {
    if (is_nan(x)) return *result = *x, 0; // with its sign, which a pattern does not bring back
    const ieee_format& format = size == 32 ? binary32 : binary64;
    int status;
    from_pattern(to_pattern(x, format, status), format, result);
    return status;
}

int truncate_fval_to_target(simul_fval* value, const TYPE* type) {
    return f_cvf(value, type != nullptr ? static_cast<int>(type->size()) : 64, value);
}

int f_ftoh(const simul_fval* x, double* result) {
    int status;
    *result = std::bit_cast<double>(to_pattern(x, binary64, status));
    return status;
}

void f_htof(double x, simul_fval* result) { from_pattern(std::bit_cast<uint64_t>(x), binary64, result); }
