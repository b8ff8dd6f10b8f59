// INT65: the integer in which every target constant is computed.
//
// A 65-bit two's complement number, kept as a low word, a high word and a sign word, so that every signed and every
// unsigned 64-bit target value, and the difference of any two, is exact. Results beyond 65 bits wrap. Whoever puts a
// value into a node first brings it to the node's type with truncate_to_type (types.h).
#ifndef IR_INT65_H
#define IR_INT65_H

#include <compare>
#include <cstdint>
#include <string>

struct INT65 {
    uint32_t low = 0;
    uint32_t high = 0;
    int32_t sign = 0; // 0, or -1 for a negative value

    using wide = __int128;

    constexpr INT65() = default;
    constexpr INT65(int v) : INT65(static_cast<long long>(v)) {}
    constexpr INT65(unsigned v) : low(v) {}
    constexpr INT65(long v) : INT65(static_cast<long long>(v)) {}
    constexpr INT65(unsigned long v) : INT65(static_cast<unsigned long long>(v)) {}
    constexpr INT65(long long v)
        : low(static_cast<uint32_t>(v)), high(static_cast<uint32_t>(static_cast<uint64_t>(v) >> 32)),
          sign(v < 0 ? -1 : 0) {}
    constexpr INT65(unsigned long long v) : low(static_cast<uint32_t>(v)), high(static_cast<uint32_t>(v >> 32)) {}

    // The low 65 bits of v, as a signed number.
    static constexpr INT65 from_wide(wide v) {
        INT65 r(static_cast<unsigned long long>(v));
        r.sign = (v >> 64) & 1 ? -1 : 0;
        return r;
    }
    constexpr wide to_wide() const { return (static_cast<wide>(sign) << 64) | bits64(); }

    // The low 64 bits as they stand.
    constexpr uint64_t bits64() const { return (static_cast<uint64_t>(high) << 32) | low; }
    constexpr int64_t to_i64() const { return static_cast<int64_t>(bits64()); }

    constexpr bool is_zero() const { return (low | high | static_cast<uint32_t>(sign)) == 0; }
    constexpr bool is_negative() const { return sign < 0; }
    constexpr bool fits_s32() const { return to_wide() >= INT32_MIN && to_wide() <= INT32_MAX; }
    constexpr bool fits_u32() const { return sign == 0 && high == 0; }

    // The value cut to its low n bits (1 to 64), then zero- or sign-extended.
    constexpr INT65 zero_extended(unsigned n) const {
        return INT65(static_cast<unsigned long long>(n >= 64 ? bits64() : bits64() & ((uint64_t{1} << n) - 1)));
    }
    constexpr INT65 sign_extended(unsigned n) const {
        if (n >= 64) return INT65(static_cast<long long>(bits64()));
        return INT65(static_cast<long long>(bits64() << (64 - n)) >> (64 - n));
    }

    friend constexpr bool operator==(const INT65& a, const INT65& b) {
        return a.low == b.low && a.high == b.high && a.sign == b.sign;
    }
    friend constexpr std::strong_ordering operator<=>(const INT65& a, const INT65& b) {
        return a.to_wide() <=> b.to_wide();
    }

    friend constexpr INT65 operator+(INT65 a, INT65 b) { return from_wide(a.to_wide() + b.to_wide()); }
    friend constexpr INT65 operator-(INT65 a, INT65 b) { return from_wide(a.to_wide() - b.to_wide()); }
    friend constexpr INT65 operator-(INT65 a) { return from_wide(-a.to_wide()); }
    // Products are taken modulo 2^65, in unsigned arithmetic: the full product of two 65-bit numbers exceeds 128 bits.
    friend constexpr INT65 operator*(INT65 a, INT65 b) {
        return from_wide(static_cast<wide>(static_cast<unsigned __int128>(a.to_wide()) *
                                           static_cast<unsigned __int128>(b.to_wide())));
    }
    // Division rounds toward zero; the divisor must not be zero.
    friend constexpr INT65 operator/(INT65 a, INT65 b) { return from_wide(a.to_wide() / b.to_wide()); }
    friend constexpr INT65 operator%(INT65 a, INT65 b) { return from_wide(a.to_wide() % b.to_wide()); }
    friend constexpr INT65 operator&(INT65 a, INT65 b) { return from_wide(a.to_wide() & b.to_wide()); }
    friend constexpr INT65 operator|(INT65 a, INT65 b) { return from_wide(a.to_wide() | b.to_wide()); }
    friend constexpr INT65 operator^(INT65 a, INT65 b) { return from_wide(a.to_wide() ^ b.to_wide()); }
    friend constexpr INT65 operator~(INT65 a) { return from_wide(~a.to_wide()); }
    // A count of 65 or more shifts everything out; right shifts fill with the sign.
    friend constexpr INT65 operator<<(INT65 a, unsigned n) {
        return n >= 65 ? INT65() : from_wide(static_cast<wide>(static_cast<unsigned __int128>(a.to_wide()) << n));
    }
    friend constexpr INT65 operator>>(INT65 a, unsigned n) { return from_wide(a.to_wide() >> (n >= 65 ? 65 : n)); }

    INT65& operator+=(INT65 b) { return *this = *this + b; }
    INT65& operator-=(INT65 b) { return *this = *this - b; }
    INT65& operator*=(INT65 b) { return *this = *this * b; }
};

// Decimal text of the value, with '-' in front of a negative one.
std::string int65_to_text(INT65 v);

// The value of a decimal text with an optional '-'. Digits beyond 65 bits wrap. Returns false, leaving `v` alone, if
// the text is empty or holds anything else.
bool text_to_int65(const char* text, INT65& v);

#endif
