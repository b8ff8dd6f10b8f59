// Text to simul_fval and back, exact in both directions: the value is an integer times a power of 2, the text an
// integer times a power of 10, and the one becomes the other by a division of integers of any length.
#include "ir/fps_int.h"

#include <algorithm>
#include <array>
#include <boost/multiprecision/cpp_int.hpp>
#include <cctype>
#include <climits>
#include <cstring>
#include <strings.h>

namespace {

using boost::multiprecision::cpp_int;

// More digits than the longest simul_fval has in full, and than any border between two of them: behind them it matters
// only whether there is a digit that is not 0.
constexpr int max_significant = 24000;
// Beyond these powers of 10 everything is an infinity or a zero.
constexpr long long max_power_of_10 = 9900, min_power_of_10 = -9950;
constexpr int max_precision = 100000; // of an output format, and its width

constexpr auto chunk_powers = [] {
    std::array<uint64_t, 20> power{1};
    for (size_t i = 1; i < power.size(); i++) power[i] = power[i - 1] * 10;
    return power;
}();

cpp_int power_of_5(int n) {
    if (n <= 27) { // fits 64 bits
        uint64_t small = 1;
        for (; n > 0; n--) small *= 5;
        return small;
    }
    return boost::multiprecision::pow(cpp_int(5), static_cast<unsigned>(n));
}

int bit_length(const cpp_int& v) { return v == 0 ? 0 : static_cast<int>(boost::multiprecision::msb(v)) + 1; }

// The value v * 2^exponent, and something more if `inexact`, by way of the precise form.
int round_integer(cpp_int v, int exponent, bool negative, bool inexact, simul_fval* result) {
    if (v == 0) return set_zero(negative, result), 0;
    constexpr int bits = 16 * FVAL_PRECISE_WORDS;
    const int drop = bit_length(v) - bits;
    if (drop > 0) {
        inexact |= static_cast<int>(boost::multiprecision::lsb(v)) < drop;
        v >>= drop;
    } else {
        v <<= -drop;
    }
    precise_sim_fval precise;
    precise.exponent = exponent + drop + bits;
    precise.sign = negative;
    boost::multiprecision::export_bits(v, precise.mantissa(), 16);
    return f_rnd_prectbl(&precise, result, inexact);
}

// An exponent's digits with a sign, to the end of the text; far too large a number is cut, and stays too large.
bool read_exponent(const char* p, long long& value) {
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+') p++;
    if (!isdigit(static_cast<unsigned char>(*p))) return false;
    for (; isdigit(static_cast<unsigned char>(*p)); p++) value = std::min(value * 10 + (*p - '0'), LLONG_MAX / 100);
    if (negative) value = -value;
    return *p == 0;
}

int digit_value(char c) {
    static const char digits[] = "0123456789abcdef";
    const char* p = c != 0 ? strchr(digits, tolower(static_cast<unsigned char>(c))) : nullptr;
    return p != nullptr ? static_cast<int>(p - digits) : 16;
}

// The digits of a literal: an integer, the power of the base to multiply it by, and whether digits other than 0 were
// left away behind it.
struct DIGITS {
    cpp_int value;
    long long power = 0;
    bool inexact = false;
};

class DIGIT_READER {
  public:
    explicit DIGIT_READER(int base) : base_(base) {}

    // Reads digits with a point anywhere; returns where they end, null if there is no digit.
    const char* read(const char* p, DIGITS& result) {
        bool point = false, any = false;
        for (;; p++) {
            if (*p == '.' && !point) {
                point = true;
                continue;
            }
            const int digit = digit_value(*p);
            if (digit >= base_) break;
            any = true;
            if (take(digit))
                result.power -= point;
            else
                result.power += !point;
        }
        flush();
        result.value = std::move(value_);
        result.inexact = inexact_;
        return any ? p : nullptr;
    }

  private:
    // False if there are so many digits that this one is only noted.
    bool take(int digit) {
        if (count_ >= max_significant) {
            inexact_ |= digit != 0;
            return false;
        }
        count_ += count_ != 0 || digit != 0;
        chunk_ = chunk_ * static_cast<unsigned>(base_) + static_cast<unsigned>(digit);
        scale_ *= static_cast<unsigned>(base_);
        if (scale_ >= chunk_powers[17]) flush(); // one more digit of either base fits 64 bits
        return true;
    }
    void flush() {
        if (value_ == 0)
            value_ = chunk_;
        else
            value_ = value_ * scale_ + chunk_;
        chunk_ = 0;
        scale_ = 1;
    }

    int base_;
    int count_ = 0; // of significant digits
    uint64_t chunk_ = 0, scale_ = 1;
    cpp_int value_;
    bool inexact_ = false;
};

int overflowed(bool negative, simul_fval* result) {
    set_infinity(negative, result);
    raise_fp_error(FP_OVERFLOW);
    return 0;
}

int underflowed(bool negative, simul_fval* result) {
    set_zero(negative, result);
    raise_fp_error(FP_UNDERFLOW);
    return 0;
}

// Both return 0, or non-zero for a text that is no number.
int read_hexadecimal(const char* p, bool negative, simul_fval* result) {
    DIGITS digits;
    p = DIGIT_READER(16).read(p, digits);
    if (p == nullptr) return 1;
    long long exponent = 0;
    if (*p == 'p' || *p == 'P') {
        if (!read_exponent(p + 1, exponent)) return 1;
    } else if (*p != 0)
        return 1;
    if (digits.value == 0) return set_zero(negative, result), 0;
    exponent += 4 * digits.power;
    const long long top = exponent + bit_length(digits.value);
    if (top > FVAL_SPECIAL) return overflowed(negative, result);
    if (top < -FVAL_SPECIAL) return underflowed(negative, result);
    round_integer(std::move(digits.value), static_cast<int>(exponent), negative, digits.inexact, result);
    return 0;
}

int read_decimal(const char* p, bool negative, simul_fval* result) {
    DIGITS digits;
    p = DIGIT_READER(10).read(p, digits);
    if (p == nullptr) return 1;
    long long power = 0;
    if (*p == 'e' || *p == 'E') {
        if (!read_exponent(p + 1, power)) return 1;
    } else if (*p != 0)
        return 1;
    if (digits.value == 0) return set_zero(negative, result), 0;
    power += digits.power;
    const int length = bit_length(digits.value);
    const long long top = power + length * 30103LL / 100000; // the power of 10 of the first digit, or one less
    if (top > max_power_of_10) return overflowed(negative, result);
    if (top < min_power_of_10) return underflowed(negative, result);
    const int n = static_cast<int>(power);
    if (n >= 0) {
        round_integer(digits.value * power_of_5(n), n, negative, digits.inexact, result);
        return 0;
    }
    // A quotient of at least 130 bits.
    const cpp_int divisor = power_of_5(-n);
    const int shift = std::max(0, 131 - length + bit_length(divisor));
    cpp_int quotient, rest;
    boost::multiprecision::divide_qr(cpp_int(digits.value << shift), divisor, quotient, rest);
    round_integer(std::move(quotient), n - shift, negative, digits.inexact || rest != 0, result);
    return 0;
}

// |x| as an odd integer times a power of 2; zero is 0 times 1.
struct EXACT {
    cpp_int m;
    int power = 0;
};
EXACT exact_of(const simul_fval* x) {
    EXACT r;
    const UNPACKED a = unpack(x);
    if (a.kind != F_FINITE) return r;
    const int zeros = trailing_zeros(a.m);
    const u128 m = a.m >> zeros;
    r.m = static_cast<uint64_t>(m >> 64);
    r.m <<= 64;
    r.m += static_cast<uint64_t>(m);
    r.power = a.e - 128 + zeros;
    return r;
}

// |x| * 10^power as quotient + rest / divisor.
struct SCALED {
    cpp_int quotient, rest, divisor;
    // The nearest integer, of two the even one.
    cpp_int rounded() const {
        const int order = cpp_int(rest << 1).compare(divisor);
        return order > 0 || (order == 0 && (quotient & 1) != 0) ? quotient + 1 : quotient;
    }
};
SCALED scaled(const EXACT& x, int power) {
    SCALED r;
    cpp_int numerator = x.m;
    r.divisor = 1;
    (power >= 0 ? numerator : r.divisor) *= power_of_5(std::abs(power));
    const int shift = x.power + power;
    (shift >= 0 ? numerator : r.divisor) <<= std::abs(shift);
    boost::multiprecision::divide_qr(numerator, r.divisor, r.quotient, r.rest);
    return r;
}

// What a printf format says about its one conversion.
struct FORMAT {
    std::string before, behind;
    bool minus = false, plus = false, space = false, sharp = false, zero = false;
    int width = 0, precision = -1;
    char conversion = 'g';
};

void copy_literal(const char*& p, std::string& text) {
    for (; *p != 0; p++) {
        if (*p == '%' && *++p != '%') {
            p--;
            return;
        }
        text += *p;
    }
}

int read_count(const char*& p) {
    int n = 0;
    for (; isdigit(static_cast<unsigned char>(*p)); p++) n = std::min(n * 10 + (*p - '0'), max_precision);
    return n;
}

FORMAT read_format(const char* p) {
    FORMAT f;
    copy_literal(p, f.before);
    if (*p == 0) return f;
    for (p++;; p++) {
        if (*p == '-')
            f.minus = true;
        else if (*p == '+')
            f.plus = true;
        else if (*p == ' ')
            f.space = true;
        else if (*p == '#')
            f.sharp = true;
        else if (*p == '0')
            f.zero = true;
        else
            break;
    }
    f.width = read_count(p);
    if (*p == '.') f.precision = read_count(++p);
    while (*p == 'l' || *p == 'L') p++;
    if (*p != 0 && strchr("aAeEfFgG", *p) != nullptr) f.conversion = *p++;
    copy_literal(p, f.behind);
    return f;
}

std::string exponent_text(char letter, int exponent, size_t min_digits) {
    std::string digits = std::to_string(std::abs(exponent));
    if (digits.size() < min_digits) digits.insert(0, min_digits - digits.size(), '0');
    return std::string(1, letter) + (exponent < 0 ? '-' : '+') + digits;
}

void strip_zeros(std::string& digits, size_t from) {
    size_t end = digits.size();
    while (end > from && digits[end - 1] == '0') end--;
    digits.resize(end);
}

// The bodies of the conversions, without the sign.
std::string with_point(std::string digits, size_t whole, bool sharp) {
    if (digits.size() > whole || sharp) digits.insert(whole, 1, '.');
    return digits;
}

std::string exponential(const simul_fval* x, int precision, bool strip, bool sharp) {
    std::string digits;
    int point;
    f_ecvt(x, precision + 1, &point, &digits);
    if (strip) strip_zeros(digits, 1);
    const bool zero = digits.find_first_not_of('0') == std::string::npos;
    return with_point(digits, 1, sharp) + exponent_text('e', zero ? 0 : point - 1, 2);
}

std::string positional(const simul_fval* x, int precision, bool strip, bool sharp) {
    std::string digits;
    int point;
    f_fcvt(x, precision, &point, &digits);
    if (point <= 0) {
        digits.insert(0, static_cast<size_t>(1 - point), '0');
        point = 1;
    }
    const auto whole = static_cast<size_t>(point);
    digits.resize(whole + static_cast<size_t>(precision), '0');
    if (strip) strip_zeros(digits, whole);
    return with_point(digits, whole, sharp);
}

std::string general(const simul_fval* x, int precision, bool sharp) {
    if (precision == 0) precision = 1;
    std::string digits;
    int point;
    f_ecvt(x, precision, &point, &digits);
    const int exponent = exact_of(x).m == 0 ? 0 : point - 1;
    return exponent < -4 || exponent >= precision ? exponential(x, precision - 1, !sharp, sharp)
                                                  : positional(x, precision - 1 - exponent, !sharp, sharp);
}

std::string hexadecimal(const simul_fval* x, int precision, bool sharp) {
    std::string digits;
    int exponent;
    f_acvt(x, precision, &exponent, &digits);
    return "0x" + with_point(digits, 1, sharp) + exponent_text('p', exponent, 1);
}

std::string body(const simul_fval* x, const FORMAT& f) {
    const int precision = f.precision < 0 ? 6 : f.precision;
    switch (tolower(f.conversion)) {
    case 'a': return hexadecimal(x, f.precision, f.sharp);
    case 'e': return exponential(x, precision, false, f.sharp);
    case 'f': return positional(x, precision, false, f.sharp);
    default: return general(x, precision, f.sharp);
    }
}

} // namespace

int f_atof(const char* text, simul_fval* result) {
    *result = pos_zero;
    const bool negative = *text == '-';
    const char* p = *text == '-' || *text == '+' ? text + 1 : text;
    if (strcasecmp(p, "nan") == 0) {
        *result = a_nan;
        result->sign = negative;
        return 0;
    }
    if (strcasecmp(p, "inf") == 0 || strcasecmp(p, "infinity") == 0) return set_infinity(negative, result), 0;
    if (*p == '0' && (p[1] == 'x' || p[1] == 'X')) return read_hexadecimal(p + 2, negative, result);
    return read_decimal(p, negative, result);
}

void f_ecvt(const simul_fval* x, int count, int* point, std::string* digits) {
    count = std::max(count, 1);
    const EXACT exact = exact_of(x);
    *point = 1;
    if (exact.m == 0) {
        digits->assign(static_cast<size_t>(count), '0');
        return;
    }
    // The place of the point is guessed from the length in bits, never too large, and one or two too small at most.
    const long long bits = exact.power + bit_length(exact.m) - 1LL;
    int place = static_cast<int>(bits >= 0 ? bits * 30102 / 100000 : bits * 30103 / 100000 - 1) + 1;
    for (int attempt = 0;; attempt++, place++) {
        *digits = scaled(exact, count - place).rounded().str();
        // Rounding up to the next power of 10 gives one digit too many as well, and then the last place is a 0.
        if (digits->size() == static_cast<size_t>(count)) break;
        if (attempt == 3) {
            fputs("WARNING: Possible infinite loop in FP convers.\n", stderr);
            break;
        }
    }
    *point = place;
}

void f_fcvt(const simul_fval* x, int count, int* point, std::string* digits) {
    count = std::max(count, 0);
    const EXACT exact = exact_of(x);
    // Behind the last place of a binary fraction there are only zeros.
    const int places = std::min(count, std::max(0, -exact.power));
    const cpp_int value = scaled(exact, places).rounded();
    *digits = value == 0 ? std::string() : value.str();
    *point = value == 0 ? -count : static_cast<int>(digits->size()) - places;
    if (value != 0) digits->append(static_cast<size_t>(count - places), '0');
}

void f_acvt(const simul_fval* x, int count, int* exponent, std::string* digits) {
    static const char digit_of[] = "0123456789abcdef";
    constexpr int denormal_exponent = -1022, denormal_places = 52;
    const UNPACKED a = unpack(x);
    const size_t places = count < 0 ? 32 : static_cast<size_t>(count);
    *exponent = 0;
    digits->assign(1, '0');
    if (a.kind == F_FINITE) {
        // The leading one, then 32 digits. A denormal of double is written as one: 0 and its 13 digits.
        *exponent = a.e - 1;
        u128 fraction = a.m << 1;
        unsigned lead = 1;
        if (const int below = denormal_exponent - *exponent; below > 0 && below <= denormal_places) {
            const u128 denormal = a.m >> (below - 1);
            if (denormal << (below - 1) == a.m && denormal << denormal_places == 0) {
                fraction = denormal;
                lead = 0;
                *exponent = denormal_exponent;
            }
        }
        if (places < 32) {
            const unsigned dropped = 128 - 4 * static_cast<unsigned>(places);
            const u128 half = static_cast<u128>(1) << (dropped - 1);
            const u128 rest = dropped == 128 ? fraction : fraction & ((half << 1) - 1);
            u128 kept = dropped == 128 ? 0 : fraction >> dropped;
            const bool odd = ((dropped == 128 ? lead : static_cast<unsigned>(kept)) & 1) != 0;
            if (rest > half || (rest == half && odd)) {
                kept++;
                if (dropped == 128 || kept >> (128 - dropped) != 0) kept = 0, lead++;
            }
            fraction = dropped == 128 ? 0 : kept << dropped;
        }
        (*digits)[0] = digit_of[lead];
        for (; fraction != 0; fraction <<= 4) *digits += digit_of[static_cast<unsigned>(fraction >> 124)];
    }
    if (count >= 0) digits->resize(1 + places, '0');
}

std::string f_ftoa(const char* format, const simul_fval* x) {
    FORMAT f = read_format(format);
    std::string sign = x->sign != 0 ? "-" : f.plus ? "+" : f.space ? " " : "";
    std::string text;
    const FVAL_KIND kind = unpack(x).kind;
    if (kind == F_NAN || kind == F_INFINITE) {
        text = kind == F_NAN ? "NaN" : "Inf";
        if (kind == F_NAN) sign.clear();
        f.zero = false;
    } else {
        text = body(x, f);
        if (isupper(static_cast<unsigned char>(f.conversion)))
            for (char& c : text) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    }
    const size_t length = sign.size() + text.size(), width = static_cast<size_t>(f.width);
    if (length < width) {
        if (f.minus)
            text.append(width - length, ' ');
        else if (f.zero)
            text.insert(tolower(f.conversion) == 'a' ? 2 : 0, width - length, '0');
        else
            sign.insert(0, width - length, ' ');
    }
    return f.before + sign + text + f.behind;
}

int f_ftoa(char* text, const char* format, const simul_fval* x) {
    const std::string result = f_ftoa(format, x);
    memcpy(text, result.c_str(), result.size() + 1);
    return static_cast<int>(result.size());
}

void f_f2ascii(const simul_fval* x, std::string* text) {
    simul_fval rounded, back;
    f_cvf(x, 64, &rounded);
    const uint8_t kept_flags = fp_error;
    for (int digits = 1; digits <= 17; digits++) {
        char format[8] = "%.";
        snprintf(format + 2, sizeof format - 2, "%dg", digits);
        *text = f_ftoa(format, &rounded);
        if (is_nan(&rounded) || f_atof(text->c_str(), &back) != 0) break;
        f_cvf(&back, 64, &back);
        if (f_bit_eq(&rounded, &back)) break;
    }
    fp_error = kept_flags; // trials are no operations
}

void f_utoa(unsigned long long value, std::string* text) { *text = std::to_string(value); }

void f_print(FILE* file, const simul_fval* x) { fputs(f_ftoa("%.17g", x).c_str(), file); }

void f_dbg(FILE* file, const simul_fval* x) {
    const uint16_t* tail = x->mantissa + 4;
    const bool short_form = std::all_of(tail, x->mantissa + FVAL_WORDS, [](uint16_t word) { return word == 0; });
    fputs(" mant:", file);
    for (int i = 0; i < (short_form ? 4 : FVAL_WORDS); i++) fprintf(file, " %04x", x->mantissa[i]);
    fprintf(file, " exp:  %d, sign: %d\n", x->exponent, x->sign);
}
