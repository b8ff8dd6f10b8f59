// simul_fval: the target's floating arithmetic, computed with integers, so that nothing depends on the host's.
//
// The target's float is IEEE binary32, its double and long double are binary64. A value is held in one wide form that
// has room for both; ieee_cvt_stof, ieee_cvt_stod, f_cvf and truncate_fval_to_target bring it to a type.
//
// How results are rounded. add, sub, mul, div, sqrt, fmod, ldexp, and the reading of text, give the exact result if it
// fits; otherwise its first 113 bits or more are kept, and the last kept bit is set whatever it was ("rounding to
// odd"). That bit then says, for every later rounding to a format at least two bits narrower, that something stood
// behind it: an operation followed by truncate_fval_to_target is rounded once, also where the result is a denormal. The
// target rounds after each operation, so whoever folds a tree truncates after each operation too.
//
// Calls. Results go through the last pointer, which may be one of the operands. The functions that return int and are
// not comparisons return 0 if all went well, else non-zero: for arithmetic the flags it set in fp_error. No function
// ends the run. A NaN operand gives that NaN and sets no flag.
#ifndef IR_FPS_H
#define IR_FPS_H

#include <cstdint>
#include <cstdio>
#include <string>

struct TYPE;

constexpr int FVAL_WORDS = 8;       // words of 16 bits; four would hold a float, but not every double
constexpr int FVAL_SPECIAL = 32767; // exponent of infinity and NaN; negated: of zero
constexpr int FVAL_PRECISE_WORDS = 16;

// The value is mantissa * 2^exponent, with the radix point in front of the first word. A finite value that is not zero
// has an exponent that is a multiple of 16, so up to 15 leading bits of the first word may be 0; operands may be
// aligned in any way. Exponent 32767: infinity if the first word is 0, else NaN. Exponent -32767: zero; a value there
// whose mantissa is not zero is one too small to be normal.
struct simul_fval {
    uint16_t mantissa[FVAL_WORDS] = {}; // most significant first
    int32_t exponent = -FVAL_SPECIAL;
    uint8_t sign = 0; // non-zero: negative
};

// A mantissa twice as wide, between the digits of a text and simul_fval. words[0] takes a carry.
struct precise_sim_fval {
    uint16_t words[1 + FVAL_PRECISE_WORDS] = {};
    int32_t exponent = -FVAL_SPECIAL;
    uint8_t sign = 0;
    uint16_t* mantissa() { return words + 1; }
};

// The target's bit pattern of a float: sign in bit 31, 8 bits of biased exponent, 23 bits of fraction.
struct trg_fval {
    uint32_t bits = 0;
};

struct ieee_format {
    int bits;          // of the whole pattern
    int fraction_bits; // stored, without the leading one
    int bias;          // of the exponent of 1.fraction
    int max_exponent;  // biased: infinity and NaN
};
const ieee_format& get_ieee_flt_fmt();
const ieee_format& get_ieee_dbl_fmt();

inline constexpr simul_fval pos_zero{};
inline constexpr simul_fval neg_zero{{}, -FVAL_SPECIAL, 1};
inline constexpr simul_fval pos_infin{{}, FVAL_SPECIAL, 0};
inline constexpr simul_fval neg_infin{{}, FVAL_SPECIAL, 1};
inline constexpr simul_fval a_nan{{0x8000}, FVAL_SPECIAL, 0};
inline constexpr simul_fval one{{1}, 16, 0};
inline constexpr simul_fval two{{2}, 16, 0};

// Flags of what went wrong, added to by every operation and cleared by the caller, who declines a fold if any is set.
enum : uint8_t {
    FP_INVALID = 1,   // the result is a NaN that no operand was
    FP_OVERFLOW = 4,  // an infinity from finite operands, a division by zero and the like included
    FP_UNDERFLOW = 8, // a zero in place of something smaller than all there is
};
extern uint8_t fp_error;

// Arithmetic. f_fmod is exact and has the sign of x. f_modf gives the part before the point and the part behind it,
// both with the sign of x. f_frexp gives x = fraction * 2^exponent with 0.5 <= |fraction| < 1 (exponent 0 for zero,
// infinity, NaN); f_findexp returns that exponent alone.
int f_add(const simul_fval* x, const simul_fval* y, simul_fval* result);
int f_sub(const simul_fval* x, const simul_fval* y, simul_fval* result);
int f_mul(const simul_fval* x, const simul_fval* y, simul_fval* result);
int f_div(const simul_fval* x, const simul_fval* y, simul_fval* result);
int f_sqrt(const simul_fval* x, simul_fval* result);
int f_fmod(const simul_fval* x, const simul_fval* y, simul_fval* result);
int f_ldexp(const simul_fval* x, int power_of_2, simul_fval* result);
void f_neg(const simul_fval* x, simul_fval* result); // the sign changes, of a NaN too
void f_abs(const simul_fval* x, simul_fval* result);
void f_modf(const simul_fval* x, simul_fval* whole, simul_fval* fraction);
void f_frexp(const simul_fval* x, int* exponent, simul_fval* fraction);
int f_findexp(const simul_fval* x);

// Comparison: 1 or 0. With a NaN only f_ne holds. Zeros are equal whatever their sign.
int f_eq(const simul_fval* x, const simul_fval* y);
int f_ne(const simul_fval* x, const simul_fval* y);
int f_lt(const simul_fval* x, const simul_fval* y);
int f_le(const simul_fval* x, const simul_fval* y);
int f_gt(const simul_fval* x, const simul_fval* y);
int f_ge(const simul_fval* x, const simul_fval* y);
int f_bit_eq(const simul_fval* x, const simul_fval* y); // the same datum: -0.0 differs from 0.0, a NaN equals itself
int f_sgn(const simul_fval* x);                         // -1, 0 or 1; 0 for a NaN
bool f_is_nan(const simul_fval* x);
// The greater or smaller of two operands, as one of the two pointers. If one is a NaN: the other, or with `nan_wins`
// the NaN. -0.0 counts as less than 0.0.
const simul_fval* f_max(const simul_fval* x, const simul_fval* y, int nan_wins);
const simul_fval* f_min(const simul_fval* x, const simul_fval* y, int nan_wins);

// Rounding to an integral value: toward zero, down, up, to nearest with halves away from zero. Infinities, NaN and the
// sign of a zero stay; -0.5 rounds up to -0.0.
void f_trunc(const simul_fval* x, simul_fval* result);
void f_floor(const simul_fval* x, simul_fval* result);
void f_ceil(const simul_fval* x, simul_fval* result);
void f_round(const simul_fval* x, simul_fval* result);

// Integers. To an integer the value is cut toward zero. What does not fit gives the nearest that does, a NaN 0, and
// non-zero is returned with FP_INVALID.
void f_itof(long long value, simul_fval* result);
void f_utof(unsigned long long value, simul_fval* result);
int f_ftoi(const simul_fval* x, long long* result);
int f_ftou(const simul_fval* x, unsigned long long* result);
int f_int(const simul_fval* x, int* result);

// Formats of the target. From a simul_fval the value is rounded to nearest, ties to even; too large gives infinity and
// FP_OVERFLOW, what becomes 0 sets FP_UNDERFLOW, and both return 1. A NaN has the pattern 0x7fc00000 or 0x7ff80000 in
// its high word, with its sign; every NaN pattern reads as a_nan. `words` is 1 for a float and 2 for a double, whose
// two words stand high word first.
void f_cvt_ttos(const trg_fval* from, simul_fval* result, int words);
int f_cvt_stot(const simul_fval* x, trg_fval* result, int words);
void ieee_cvt_ftos(unsigned bits, simul_fval* result);
void ieee_cvt_dtos(unsigned high, unsigned low, simul_fval* result);
int ieee_cvt_stof(const simul_fval* x, unsigned* bits);
int ieee_cvt_stod(const simul_fval* x, unsigned* high, unsigned* low);
// A value as the format of `size` bits (32, else 64) has it, still as simul_fval.
int f_cvf(const simul_fval* x, int size, simul_fval* result);
// The same in place, to a floating type; null stands for the widest.
int truncate_fval_to_target(simul_fval* value, const TYPE* type);
int f_ftoh(const simul_fval* x, double* result); // to a double of the host
void f_htof(double x, simul_fval* result);

// The form. f_normalize moves the `words` words left by whole words until the first is not 0, taking 16 off the
// exponent each; if mantissa[-1], which must exist, holds a carry, everything moves right by one word instead. A
// mantissa of zeros gets exponent 0. f_left_justify moves the first one bit to the front, f_align_radix_pt moves right
// until the exponent is a multiple of 16 again, rounding to odd; both leave what is not finite, and zeros, alone.
void f_normalize(uint16_t* mantissa, int* exponent, int words);
void f_left_justify(simul_fval* value);
void f_align_radix_pt(simul_fval* value);
// Rounds a normalised value to odd; `inexact` says that digits behind the mantissa were lost already.
int f_rnd_prectbl(precise_sim_fval* from, simul_fval* result, int inexact);

// Text. f_atof reads a whole decimal or C hexadecimal literal, or "Inf", "Infinity", "NaN" in any case, with an
// optional sign; it returns 0, else non-zero and gives 0 for a text that is no number. Texts of any length are read
// exactly.
int f_atof(const char* text, simul_fval* result);
// Text by a printf format with one conversion of a double (a, e, f, g or their capitals; flags, width and precision as
// in C, the width and precision up to 100000) and maybe text around it. All digits are exact. "NaN", "Inf" and "-Inf"
// for what is no number. The C form returns the length and needs room for the text and its closing 0.
std::string f_ftoa(const char* format, const simul_fval* x);
int f_ftoa(char* text, const char* format, const simul_fval* x);
// Digits of |x|, correctly rounded, without point or exponent. f_ecvt: `count` digits (1 at least), value 0.DIGITS *
// 10^point. f_fcvt: all up to `count` places behind the point, maybe none. f_acvt: hexadecimal, one digit and `count`
// more (negative: as many as it takes), value D.DDD * 2^exponent. x must be finite.
void f_ecvt(const simul_fval* x, int count, int* point, std::string* digits);
void f_fcvt(const simul_fval* x, int count, int* point, std::string* digits);
void f_acvt(const simul_fval* x, int count, int* exponent, std::string* digits);
void f_f2ascii(const simul_fval* x, std::string* text);   // the shortest decimal text that a double is read back from
void f_utoa(unsigned long long value, std::string* text); // decimal
void f_print(FILE* file, const simul_fval* x);            // "%.17g"
void f_dbg(FILE* file, const simul_fval* x);              // the fields; four words if the others are 0, else all

// Elementary functions, with the special values of C's Annex F. The errors lie far behind the last kept bit, so a
// result truncated to a type is the nearest value of the type but in the rarest of cases. The log of 0 and 0 to a
// negative power give an infinity with FP_OVERFLOW.
int f_exp(const simul_fval* x, simul_fval* result);
int f_log(const simul_fval* x, simul_fval* result);
int f_log10(const simul_fval* x, simul_fval* result);
int f_pow(const simul_fval* x, const simul_fval* y, simul_fval* result);
int f_sin(const simul_fval* x, simul_fval* result);
int f_cos(const simul_fval* x, simul_fval* result);
int f_tan(const simul_fval* x, simul_fval* result);
int f_asin(const simul_fval* x, simul_fval* result);
int f_acos(const simul_fval* x, simul_fval* result);
int f_atan(const simul_fval* x, simul_fval* result);
int f_atan2(const simul_fval* y, const simul_fval* x, simul_fval* result);
int f_sinh(const simul_fval* x, simul_fval* result);
int f_cosh(const simul_fval* x, simul_fval* result);
int f_tanh(const simul_fval* x, simul_fval* result);

#endif
