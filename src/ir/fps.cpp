// Arithmetic, comparison, rounding to integers, the form of a simul_fval. See fps.h for how results are rounded.
#include "ir/fps_int.h"

#include <algorithm>
#include <climits>
#include <cstdio>

uint8_t fp_error = 0;

namespace {

constexpr u128 top_bit = static_cast<u128>(1) << 127;

// The operand that is a NaN, the first if both are; null if none is.
const simul_fval* nan_operand(const simul_fval* x, const simul_fval* y) {
    return is_nan(x) ? x : is_nan(y) ? y : nullptr;
}

// x + y for operands that are finite and not zero, with the sign of y given.
int add_finite(const UNPACKED& x, const UNPACKED& y, bool y_negative, simul_fval* result) {
    const bool swapped = y.e > x.e || (y.e == x.e && y.m > x.m);
    const UNPACKED& a = swapped ? y : x; // the greater magnitude
    const UNPACKED& b = swapped ? x : y;
    const bool negative = swapped ? y_negative : x.negative;
    // b moves right by the distance into 64 bits behind the mantissa; the last of them collects the rest.
    const int distance = a.e - b.e;
    u128 high = distance < 128 ? b.m >> distance : 0;
    uint64_t low = 0;
    if (distance >= 192)
        low = 1;
    else if (distance > 64) {
        low = static_cast<uint64_t>(b.m >> (distance - 64));
        low |= (b.m << (192 - distance)) != 0; // by 1 to 127
    } else if (distance > 0)
        low = static_cast<uint64_t>(b.m) << (64 - distance);
    if (x.negative == y_negative) {
        u128 sum = a.m + high;
        if (sum >= a.m) return pack(sum, a.e, negative, low != 0, result);
        return pack((sum >> 1) | top_bit, a.e + 1, negative, (sum & 1) != 0 || low != 0, result);
    }
    u128 difference = a.m - high - (low != 0);
    low = -low;
    if ((difference | low) == 0) return set_zero(false, result), 0;
    // More than one leading bit cancels only if b moved by one bit at most, and then nothing was collected.
    if (difference == 0) return pack_any(low, a.e - 64, negative, false, result);
    const int shift = leading_zeros(difference);
    if (shift >= 64) {
        difference = (difference << shift) | (static_cast<u128>(low) << (shift - 64));
        low = 0;
    } else if (shift != 0) {
        difference = (difference << shift) | (low >> (64 - shift));
        low <<= shift;
    }
    return pack(difference, a.e - shift, negative, low != 0, result);
}

int add(const simul_fval* x, const simul_fval* y, bool subtract, simul_fval* result) {
    const UNPACKED a = unpack(x), b = unpack(y);
    const bool y_negative = b.negative != subtract;
    if (a.kind == F_FINITE && b.kind == F_FINITE) return add_finite(a, b, y_negative, result);
    if (a.kind == F_NAN) return *result = *x, 0;
    if (b.kind == F_NAN) return *result = *y, 0;
    if (a.kind == F_INFINITE) {
        if (b.kind == F_INFINITE && a.negative != y_negative) return set_invalid(result);
        return set_infinity(a.negative, result), 0;
    }
    if (b.kind == F_INFINITE) return set_infinity(y_negative, result), 0;
    if (a.kind == F_FINITE) return pack(a.m, a.e, a.negative, false, result);
    if (b.kind == F_FINITE) return pack(b.m, b.e, y_negative, false, result);
    return set_zero(a.negative && y_negative, result), 0;
}

// The low and the high half of a product of 128-bit numbers.
void multiply(u128 a, u128 b, u128& high, u128& low) {
    const u128 a1 = a >> 64, a0 = static_cast<uint64_t>(a), b1 = b >> 64, b0 = static_cast<uint64_t>(b);
    const u128 p00 = a0 * b0, p01 = a0 * b1, p10 = a1 * b0;
    const u128 middle = (p00 >> 64) + static_cast<uint64_t>(p01) + static_cast<uint64_t>(p10);
    high = a1 * b1 + (p01 >> 64) + (p10 >> 64) + (middle >> 64);
    low = (middle << 64) | static_cast<uint64_t>(p00);
}

// One digit of a long division in base 2^64: (r * 2^64) / d with r < d, the top bit of d set. r becomes the remainder.
uint64_t divide_digit(u128& r, u128 d) {
    const uint64_t d1 = static_cast<uint64_t>(d >> 64), d0 = static_cast<uint64_t>(d);
    u128 digit = r / d1, rest = r - digit * d1;
    // The digit is too large by 2 at most.
    while (digit >> 64 != 0 || digit * d0 > (rest << 64)) {
        digit--;
        rest += d1;
        if (rest >> 64 != 0) break;
    }
    r = (r << 64) - digit * d; // modulo 2^128, in which the remainder fits
    return static_cast<uint64_t>(digit);
}

// Integer square roots, each twice as long as the one before (P. Zimmermann, Karatsuba Square Root): with the root s of
// the upper half and its rest r, the lower half of the root is r with the next bits, divided by 2 s, or one less.
// First the root of 64 bits, bit by bit.
uint64_t square_root(uint64_t x, uint64_t& rest) {
    uint64_t root = 0, bit = uint64_t{1} << 62;
    for (; bit != 0; bit >>= 2) {
        const uint64_t trial = root + bit;
        root >>= 1;
        if (x >= trial) {
            x -= trial;
            root += bit;
        }
    }
    rest = x;
    return root;
}

// The root of a number of 128 bits whose top two bits are not both 0; the rest has 65 bits.
uint64_t square_root(u128 x, u128& rest) {
    uint64_t r;
    const uint64_t s = square_root(static_cast<uint64_t>(x >> 64), r);
    const u128 numerator = (static_cast<u128>(r) << 32) | (static_cast<uint64_t>(x) >> 32);
    const u128 q = numerator / (2 * s), u = numerator - q * (2 * s);
    u128 root = (static_cast<u128>(s) << 32) + q;
    u128 known = (u << 32) | static_cast<uint32_t>(x);
    if (q * q > known) {
        known += 2 * root - 1;
        root--;
    }
    rest = known - q * q;
    return static_cast<uint64_t>(root);
}

// The root of x * 2^128, and with `half` of 2^127 more; top two bits of x not both 0. `inexact` if there is a rest.
u128 square_root_wide(u128 x, bool half, bool& inexact) {
    u128 r;
    const uint64_t s = square_root(x, r);
    // The numerator has up to 129 bits, of which the last is 0 and left away.
    const u128 numerator = (r << 63) | (half ? uint64_t{1} << 62 : 0);
    u128 q = numerator / s, u = (numerator - q * s) * 2;
    if (q >> 64 != 0) { // r = 2 s: the digit is capped
        u += (q - UINT64_MAX) * s * 2;
        q = UINT64_MAX;
    }
    const u128 root = (static_cast<u128>(s) << 64) + q;
    const bool too_large = u >> 64 == 0 && q * q > (u << 64);
    inexact = too_large || u >> 64 != 0 || q * q != (u << 64);
    return root - too_large;
}

// The order of two values that are no NaN: below 0, 0, above 0.
int compare(const UNPACKED& a, const UNPACKED& b) {
    if (a.kind == F_ZERO && b.kind == F_ZERO) return 0;
    if (a.kind == F_ZERO) return b.negative ? 1 : -1;
    if (b.kind == F_ZERO || a.negative != b.negative) return a.negative ? -1 : 1;
    int order = 0;
    if (a.kind != b.kind)
        order = a.kind == F_INFINITE ? 1 : -1;
    else if (a.kind == F_FINITE)
        order = a.e != b.e ? (a.e > b.e ? 1 : -1) : a.m != b.m ? (a.m > b.m ? 1 : -1) : 0;
    return a.negative ? -order : order;
}

enum { UNORDERED = 2 };
int order_of(const simul_fval* x, const simul_fval* y) {
    const UNPACKED a = unpack(x), b = unpack(y);
    return a.kind == F_NAN || b.kind == F_NAN ? UNORDERED : compare(a, b);
}

enum ROUNDING { DOWN_IN_SIZE, UP_IN_SIZE, HALF_UP_IN_SIZE };
void round_magnitude(const simul_fval* x, ROUNDING how, simul_fval* result) {
    const UNPACKED a = unpack(x);
    if (a.kind != F_FINITE || a.e >= 128) {
        *result = *x;
        return;
    }
    if (a.e <= 0) { // below 1
        if (how == UP_IN_SIZE || (how == HALF_UP_IN_SIZE && a.e == 0))
            pack(top_bit, 1, a.negative, false, result);
        else
            set_zero(a.negative, result);
        return;
    }
    const u128 unit = static_cast<u128>(1) << (128 - a.e);
    u128 m = a.m & -unit;
    const u128 rest = a.m - m;
    int e = a.e;
    if ((how == UP_IN_SIZE && rest != 0) || (how == HALF_UP_IN_SIZE && rest >= unit >> 1)) {
        m += unit;
        if (m == 0) m = top_bit, e++;
    }
    pack(m, e, a.negative, false, result);
}

// The magnitude cut to an integer; false if it does not fit 64 bits.
bool magnitude_of(const UNPACKED& a, uint64_t& value) {
    value = 0;
    if (a.kind != F_FINITE || a.e <= 0) return a.kind == F_FINITE || a.kind == F_ZERO;
    if (a.e > 64) return false;
    value = static_cast<uint64_t>(a.m >> (128 - a.e));
    return true;
}

// x * 2^distance modulo y, where x < y.
u128 modulo_power_of_2(u128 x, int distance, u128 y) {
    if (y >> 64 == 0) {
        for (; distance >= 64; distance -= 64) x = (x << 64) % y;
        return (x << distance) % y;
    }
    for (; distance > 0 && x != 0; distance--) {
        const bool carry = (x >> 127) != 0;
        x <<= 1;
        if (carry || x >= y) x -= y;
    }
    return x;
}

} // namespace

UNPACKED unpack_special(const simul_fval* x) {
    UNPACKED r;
    r.negative = x->sign != 0;
    if (x->exponent == FVAL_SPECIAL) {
        r.kind = x->mantissa[0] != 0 ? F_NAN : F_INFINITE;
    } else {
        fputs(">>>Internal Error: Illegal float representation!\n", stderr);
        r.kind = F_NAN;
    }
    return r;
}

int pack_out_of_range(int exponent, bool negative, simul_fval* result) {
    if (exponent > 0) {
        set_infinity(negative, result);
        return raise_fp_error(FP_OVERFLOW);
    }
    set_zero(negative, result);
    return raise_fp_error(FP_UNDERFLOW);
}

int f_add(const simul_fval* x, const simul_fval* y, simul_fval* result) { return add(x, y, false, result); }
int f_sub(const simul_fval* x, const simul_fval* y, simul_fval* result) { return add(x, y, true, result); }

int f_mul(const simul_fval* x, const simul_fval* y, simul_fval* result) {
    const UNPACKED a = unpack(x), b = unpack(y);
    const bool negative = a.negative != b.negative;
    if (a.kind == F_FINITE && b.kind == F_FINITE) {
        u128 high, low;
        multiply(a.m, b.m, high, low);
        if (high >> 127 != 0) return pack(high, a.e + b.e, negative, low != 0, result);
        return pack((high << 1) | (low >> 127), a.e + b.e - 1, negative, low << 1 != 0, result);
    }
    if (a.kind == F_NAN || b.kind == F_NAN) return *result = a.kind == F_NAN ? *x : *y, 0;
    if (a.kind == F_INFINITE || b.kind == F_INFINITE) {
        if (a.kind == F_ZERO || b.kind == F_ZERO) return set_invalid(result);
        return set_infinity(negative, result), 0;
    }
    return set_zero(negative, result), 0;
}

int f_div(const simul_fval* x, const simul_fval* y, simul_fval* result) {
    const UNPACKED a = unpack(x), b = unpack(y);
    const bool negative = a.negative != b.negative;
    if (a.kind == F_FINITE && b.kind == F_FINITE) {
        // The quotient is 0.1... or 1.xxx; its 128 bits behind the point come from two digits.
        const bool with_one = a.m >= b.m;
        u128 rest = with_one ? a.m - b.m : a.m;
        u128 quotient = static_cast<u128>(divide_digit(rest, b.m)) << 64;
        quotient |= divide_digit(rest, b.m);
        // Of 129 bits the last is lost; that matters only if the rest is 0, and then it is 0 too: a quotient with so
        // many bits, times the divisor, has more than 128.
        if (with_one) quotient = (quotient >> 1) | top_bit;
        return pack(quotient, a.e - b.e + with_one, negative, rest != 0, result);
    }
    if (a.kind == F_NAN || b.kind == F_NAN) return *result = a.kind == F_NAN ? *x : *y, 0;
    if (a.kind == b.kind) return set_invalid(result); // 0 / 0, infinity / infinity
    if (a.kind == F_INFINITE) return set_infinity(negative, result), 0;
    if (b.kind == F_ZERO) return set_infinity(negative, result), raise_fp_error(FP_OVERFLOW);
    return set_zero(negative, result), 0;
}

int f_sqrt(const simul_fval* x, simul_fval* result) {
    const UNPACKED a = unpack(x);
    if (a.kind == F_NAN || a.kind == F_ZERO) return *result = *x, 0;
    if (a.negative) return set_invalid(result);
    if (a.kind == F_INFINITE) return *result = *x, 0;
    const bool odd = (a.e & 1) != 0; // the exponent is made even
    bool inexact;
    const u128 root = square_root_wide(odd ? a.m >> 1 : a.m, odd && (a.m & 1) != 0, inexact);
    return pack(root, (a.e + odd) / 2, false, inexact, result);
}

// |x| modulo |y| is exact: it is a multiple of the lower last place of the two, and less than y.
int f_fmod(const simul_fval* x, const simul_fval* y, simul_fval* result) {
    UNPACKED a = unpack(x), b = unpack(y);
    if (a.kind == F_NAN || b.kind == F_NAN) return *result = a.kind == F_NAN ? *x : *y, 0;
    if (a.kind == F_INFINITE || b.kind == F_ZERO) return set_invalid(result);
    const bool negative = a.negative;
    a.negative = b.negative = false;
    if (a.kind == F_ZERO) return *result = *x, 0;
    if (b.kind == F_INFINITE || compare(a, b) < 0) return pack(a.m, a.e, negative, false, result);
    // From here on m is an integer, times 2^e.
    a.e -= 128;
    const int shift = trailing_zeros(b.m);
    b.m >>= shift;
    b.e += shift - 128;
    u128 rest;
    int e;
    if (a.e >= b.e) {
        rest = modulo_power_of_2(a.m % b.m, a.e - b.e, b.m);
        e = b.e;
    } else {
        const int below = b.e - a.e; // bits of x behind y's last; less than 128, since x is not less than y
        const u128 tail = a.m & ((static_cast<u128>(1) << below) - 1);
        rest = ((a.m >> below) % b.m) << below | tail;
        e = a.e;
    }
    if (rest == 0) return set_zero(negative, result), 0;
    return pack_any(rest, e + 128, negative, false, result);
}

int f_ldexp(const simul_fval* x, int power_of_2, simul_fval* result) {
    const UNPACKED a = unpack(x);
    if (a.kind != F_FINITE) return *result = *x, 0;
    return pack(a.m, a.e + std::clamp(power_of_2, -4 * FVAL_SPECIAL, 4 * FVAL_SPECIAL), a.negative, false, result);
}

void f_neg(const simul_fval* x, simul_fval* result) {
    *result = *x;
    result->sign = x->sign == 0;
}

void f_abs(const simul_fval* x, simul_fval* result) {
    *result = *x;
    result->sign = 0;
}

void f_modf(const simul_fval* x, simul_fval* whole, simul_fval* fraction) {
    const UNPACKED a = unpack(x);
    simul_fval integral, behind = *x;
    f_trunc(x, &integral);
    if (a.kind == F_INFINITE)
        set_zero(a.negative, &behind);
    else if (a.kind == F_FINITE) {
        f_sub(x, &integral, &behind);
        behind.sign = a.negative;
    }
    *whole = integral;
    *fraction = behind;
}

void f_frexp(const simul_fval* x, int* exponent, simul_fval* fraction) {
    const UNPACKED a = unpack(x);
    *exponent = a.kind == F_FINITE ? a.e : 0;
    if (a.kind == F_FINITE)
        pack(a.m, 0, a.negative, false, fraction);
    else
        *fraction = *x;
}

int f_findexp(const simul_fval* x) {
    const UNPACKED a = unpack(x);
    return a.kind == F_FINITE ? a.e : 0;
}

int f_eq(const simul_fval* x, const simul_fval* y) { return order_of(x, y) == 0; }
int f_ne(const simul_fval* x, const simul_fval* y) { return order_of(x, y) != 0; }
int f_lt(const simul_fval* x, const simul_fval* y) { return order_of(x, y) < 0; }
int f_le(const simul_fval* x, const simul_fval* y) { return order_of(x, y) <= 0; }
int f_gt(const simul_fval* x, const simul_fval* y) { return order_of(x, y) == 1; }
int f_ge(const simul_fval* x, const simul_fval* y) {
    const int order = order_of(x, y);
    return order == 0 || order == 1;
}

int f_bit_eq(const simul_fval* x, const simul_fval* y) {
    const UNPACKED a = unpack(x), b = unpack(y);
    return a.kind == b.kind && a.negative == b.negative && a.m == b.m && a.e == b.e;
}

int f_sgn(const simul_fval* x) {
    const UNPACKED a = unpack(x);
    return a.kind == F_ZERO || a.kind == F_NAN ? 0 : a.negative ? -1 : 1;
}

bool f_is_nan(const simul_fval* x) { return is_nan(x); }

const simul_fval* f_max(const simul_fval* x, const simul_fval* y, int nan_wins) {
    if (const simul_fval* nan = nan_operand(x, y)) return (nan == x) == (nan_wins != 0) ? x : y;
    const int order = order_of(x, y);
    return order > 0 || (order == 0 && x->sign == 0) ? x : y;
}

const simul_fval* f_min(const simul_fval* x, const simul_fval* y, int nan_wins) {
    if (const simul_fval* nan = nan_operand(x, y)) return (nan == x) == (nan_wins != 0) ? x : y;
    const int order = order_of(x, y);
    return order < 0 || (order == 0 && x->sign != 0) ? x : y;
}

void f_trunc(const simul_fval* x, simul_fval* result) { round_magnitude(x, DOWN_IN_SIZE, result); }
void f_floor(const simul_fval* x, simul_fval* result) {
    round_magnitude(x, x->sign != 0 ? UP_IN_SIZE : DOWN_IN_SIZE, result);
}
void f_ceil(const simul_fval* x, simul_fval* result) {
    round_magnitude(x, x->sign != 0 ? DOWN_IN_SIZE : UP_IN_SIZE, result);
}
void f_round(const simul_fval* x, simul_fval* result) { round_magnitude(x, HALF_UP_IN_SIZE, result); }

void f_utof(unsigned long long value, simul_fval* result) {
    if (value == 0)
        *result = pos_zero;
    else
        pack_any(value, 128, false, false, result);
}

void f_itof(long long value, simul_fval* result) {
    f_utof(value < 0 ? -static_cast<unsigned long long>(value) : static_cast<unsigned long long>(value), result);
    result->sign = value < 0;
}

int f_ftoi(const simul_fval* x, long long* result) {
    const UNPACKED a = unpack(x);
    uint64_t size;
    const bool fits = magnitude_of(a, size);
    if (fits && size <= static_cast<uint64_t>(LLONG_MAX) + a.negative) {
        *result = static_cast<long long>(a.negative ? -size : size);
        return 0;
    }
    *result = a.kind == F_NAN ? 0 : a.negative ? LLONG_MIN : LLONG_MAX;
    return raise_fp_error(FP_INVALID);
}

int f_ftou(const simul_fval* x, unsigned long long* result) {
    const UNPACKED a = unpack(x);
    uint64_t size;
    const bool fits = magnitude_of(a, size);
    if (fits && (size == 0 || !a.negative)) return *result = size, 0;
    *result = a.kind == F_NAN || a.negative ? 0 : ULLONG_MAX;
    return raise_fp_error(FP_INVALID);
}

int f_int(const simul_fval* x, int* result) {
    long long value;
    const int status = f_ftoi(x, &value);
    *result = static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
    return status != 0 || value == *result ? status : raise_fp_error(FP_INVALID);
}

void f_normalize(uint16_t* mantissa, int* exponent, int words) {
    if (mantissa[-1] != 0) {
        const bool lost = mantissa[words - 1] != 0;
        memmove(mantissa, mantissa - 1, sizeof(uint16_t) * static_cast<size_t>(words));
        mantissa[-1] = 0;
        mantissa[words - 1] |= lost;
        *exponent += 16;
        return;
    }
    int zeros = 0;
    while (zeros < words && mantissa[zeros] == 0) zeros++;
    if (zeros == words) {
        *exponent = 0;
    } else if (zeros != 0) {
        memmove(mantissa, mantissa + zeros, sizeof(uint16_t) * static_cast<size_t>(words - zeros));
        memset(mantissa + words - zeros, 0, sizeof(uint16_t) * static_cast<size_t>(zeros));
        *exponent -= 16 * zeros;
    }
}

void f_left_justify(simul_fval* value) {
    const UNPACKED a = unpack(value);
    if (a.kind != F_FINITE || a.e < -FVAL_SPECIAL) return;
    store_mantissa(a.m, value->mantissa);
    value->exponent = a.e;
}

void f_align_radix_pt(simul_fval* value) {
    const UNPACKED a = unpack(value);
    if (a.kind == F_FINITE) pack(a.m, a.e, a.negative, false, value);
}

int f_rnd_prectbl(precise_sim_fval* from, simul_fval* result, int inexact) {
    int exponent = from->exponent;
    f_normalize(from->mantissa(), &exponent, FVAL_PRECISE_WORDS);
    u128 high = load_mantissa(from->mantissa());
    const u128 low = load_mantissa(from->mantissa() + 8);
    if (high == 0) return set_zero(from->sign != 0, result), 0;
    const int shift = leading_zeros(high); // below 16
    if (shift != 0) high = (high << shift) | (low >> (128 - shift));
    return pack(high, exponent - shift, from->sign != 0, inexact != 0 || low << shift != 0, result);
}
