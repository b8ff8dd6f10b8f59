// What the files of the target arithmetic share: a simul_fval taken apart and put together.
#ifndef IR_FPS_INT_H
#define IR_FPS_INT_H

#include "ir/fps.h"

#include <bit>
#include <cstring>

using u128 = unsigned __int128;

enum FVAL_KIND : uint8_t { F_ZERO, F_FINITE, F_INFINITE, F_NAN };

// The value is m * 2^(e - 128); of a finite value the top bit of m is set.
struct UNPACKED {
    u128 m = 0;
    int e = 0;
    bool negative = false;
    FVAL_KIND kind = F_ZERO;
};

// Words, most significant first, to and from an integer: the order within 64 bits is that of a big-endian machine, by
// words of 16 bits.
inline uint64_t swap_words(uint64_t x) {
    if constexpr (std::endian::native == std::endian::big) return x;
    x = std::rotl(x, 32);
    return ((x & 0x0000ffff0000ffffu) << 16) | ((x >> 16) & 0x0000ffff0000ffffu);
}

inline u128 load_mantissa(const uint16_t* words) {
    uint64_t half[2];
    memcpy(half, words, sizeof half);
    return (static_cast<u128>(swap_words(half[0])) << 64) | swap_words(half[1]);
}

inline void store_mantissa(u128 m, uint16_t* words) {
    const uint64_t half[2] = {swap_words(static_cast<uint64_t>(m >> 64)), swap_words(static_cast<uint64_t>(m))};
    memcpy(words, half, sizeof half);
}

inline int leading_zeros(u128 m) {
    const auto high = static_cast<uint64_t>(m >> 64);
    return high != 0 ? std::countl_zero(high) : 64 + std::countl_zero(static_cast<uint64_t>(m));
}

inline int trailing_zeros(u128 m) {
    const auto low = static_cast<uint64_t>(m);
    return low != 0 ? std::countr_zero(low) : 64 + std::countr_zero(static_cast<uint64_t>(m >> 64));
}

// An operand whose exponent no value has: tells it on standard error and stands for a NaN.
UNPACKED unpack_special(const simul_fval* x);

inline UNPACKED unpack(const simul_fval* x) {
    if (x->exponent >= FVAL_SPECIAL || x->exponent < -FVAL_SPECIAL) [[unlikely]]
        return unpack_special(x);
    UNPACKED r;
    r.m = load_mantissa(x->mantissa);
    r.negative = x->sign != 0;
    if (r.m == 0) return r;
    r.kind = F_FINITE;
    const int shift = leading_zeros(r.m);
    r.m <<= shift;
    r.e = x->exponent - shift;
    return r;
}

inline int raise_fp_error(uint8_t flag) {
    fp_error |= flag;
    return flag;
}

inline int set_invalid(simul_fval* result) {
    *result = a_nan;
    return raise_fp_error(FP_INVALID);
}

inline void set_zero(bool negative, simul_fval* result) { *result = negative ? neg_zero : pos_zero; }
inline void set_infinity(bool negative, simul_fval* result) { *result = negative ? neg_infin : pos_infin; }

int pack_out_of_range(int exponent, bool negative, simul_fval* result);

// The value m * 2^(e - 128), m with its top bit set, plus something behind it if `sticky`; rounded to odd. Returns the
// flag that was raised, or 0.
inline int pack(u128 m, int e, bool negative, bool sticky, simul_fval* result) {
    const int shift = -e & 15;
    if (shift != 0) {
        sticky |= (m << (128 - shift)) != 0;
        m >>= shift;
    }
    e += shift;
    if (e >= FVAL_SPECIAL || e <= -FVAL_SPECIAL) [[unlikely]]
        return pack_out_of_range(e, negative, result);
    store_mantissa(m | sticky, result->mantissa);
    result->exponent = e;
    result->sign = negative;
    return 0;
}

// The same for any m but 0.
inline int pack_any(u128 m, int e, bool negative, bool sticky, simul_fval* result) {
    const int shift = leading_zeros(m);
    return pack(m << shift, e - shift, negative, sticky, result);
}

inline bool is_nan(const simul_fval* x) { return x->exponent == FVAL_SPECIAL && x->mantissa[0] != 0; }

#endif
