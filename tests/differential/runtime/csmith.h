/*
 * What a generated program calls: arithmetic that never overflows, and a running checksum.
 *
 * One text serves the native build and the target's, so it must mean the same whether a character has 8 bits or 16:
 * nothing here depends on the size of char, and every intermediate stays within the type it is computed in. An operation
 * that would overflow, divide by zero or shift too far gives its first operand back unchanged.
 */
#ifndef NX_CSMITH_RUNTIME
#define NX_CSMITH_RUNTIME

#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

/* ---- arithmetic -------------------------------------------------------------------------------------------------- */

/* 16 bits: the operands are promoted to int, where no sum, difference or signed product can overflow. */
static int16_t safe_unary_minus_func_int16_t_s(int16_t a) { return (int16_t)-a; }
static int16_t safe_add_func_int16_t_s_s(int16_t a, int16_t b) { return (int16_t)(a + b); }
static int16_t safe_sub_func_int16_t_s_s(int16_t a, int16_t b) { return (int16_t)(a - b); }
static int16_t safe_mul_func_int16_t_s_s(int16_t a, int16_t b) { return (int16_t)(a * b); }
static uint16_t safe_unary_minus_func_uint16_t_u(uint16_t a) { return (uint16_t)-a; }
static uint16_t safe_add_func_uint16_t_u_u(uint16_t a, uint16_t b) { return (uint16_t)(a + b); }
static uint16_t safe_sub_func_uint16_t_u_u(uint16_t a, uint16_t b) { return (uint16_t)(a - b); }
static uint16_t safe_mul_func_uint16_t_u_u(uint16_t a, uint16_t b) { return (uint16_t)((uint32_t)a * b); }

/* 32 and 64 bits, signed: computed only if the true result fits. */
#define NX_SIGNED(T, MIN, MAX)                                                                                         \
    static T safe_unary_minus_func_##T##_s(T a) { return a == MIN ? a : -a; }                                          \
    static T safe_add_func_##T##_s_s(T a, T b) {                                                                       \
        if (b > 0 ? a > MAX - b : a < MIN - b) return a;                                                               \
        return a + b;                                                                                                  \
    }                                                                                                                  \
    static T safe_sub_func_##T##_s_s(T a, T b) {                                                                       \
        if (b > 0 ? a < MIN + b : a > MAX + b) return a;                                                               \
        return a - b;                                                                                                  \
    }                                                                                                                  \
    static T safe_mul_func_##T##_s_s(T a, T b) {                                                                       \
        if (a == 0 || b == 0) return 0;                                                                                \
        if (a == MIN || b == MIN) return a == 1 || b == 1 ? MIN : a;                                                   \
        if ((a < 0 ? -a : a) > MAX / (b < 0 ? -b : b)) return a;                                                       \
        return a * b;                                                                                                  \
    }
NX_SIGNED(int32_t, INT32_MIN, INT32_MAX)
NX_SIGNED(int64_t, INT64_MIN, INT64_MAX)

#define NX_UNSIGNED(T)                                                                                                 \
    static T safe_unary_minus_func_##T##_u(T a) { return -a; }                                                         \
    static T safe_add_func_##T##_u_u(T a, T b) { return a + b; }                                                       \
    static T safe_sub_func_##T##_u_u(T a, T b) { return a - b; }                                                       \
    static T safe_mul_func_##T##_u_u(T a, T b) { return a * b; }
NX_UNSIGNED(uint32_t)
NX_UNSIGNED(uint64_t)

#define NX_SIGNED_DIVISION(T, MIN)                                                                                     \
    static T safe_div_func_##T##_s_s(T a, T b) { return b == 0 || (a == MIN && b == -1) ? a : a / b; }                 \
    static T safe_mod_func_##T##_s_s(T a, T b) { return b == 0 || (a == MIN && b == -1) ? a : a % b; }
NX_SIGNED_DIVISION(int16_t, INT16_MIN)
NX_SIGNED_DIVISION(int32_t, INT32_MIN)
NX_SIGNED_DIVISION(int64_t, INT64_MIN)

#define NX_UNSIGNED_DIVISION(T)                                                                                        \
    static T safe_div_func_##T##_u_u(T a, T b) { return b == 0 ? a : a / b; }                                          \
    static T safe_mod_func_##T##_u_u(T a, T b) { return b == 0 ? a : a % b; }
NX_UNSIGNED_DIVISION(uint16_t)
NX_UNSIGNED_DIVISION(uint32_t)
NX_UNSIGNED_DIVISION(uint64_t)

/* Shifts. The suffix names the signs of value and count; the count is an int or an unsigned int. */
#define NX_SIGNED_SHIFTS(T, MAX, BITS)                                                                                 \
    static T safe_lshift_func_##T##_s_u(T a, unsigned int n) {                                                         \
        if (a < 0 || n >= BITS || a > (MAX >> n)) return a;                                                            \
        return (T)(a << n);                                                                                            \
    }                                                                                                                  \
    static T safe_lshift_func_##T##_s_s(T a, int n) { return n < 0 ? a : safe_lshift_func_##T##_s_u(a, n); }           \
    static T safe_rshift_func_##T##_s_u(T a, unsigned int n) { return a < 0 || n >= BITS ? a : (T)(a >> n); }          \
    static T safe_rshift_func_##T##_s_s(T a, int n) { return n < 0 ? a : safe_rshift_func_##T##_s_u(a, n); }
NX_SIGNED_SHIFTS(int16_t, INT16_MAX, 16)
NX_SIGNED_SHIFTS(int32_t, INT32_MAX, 32)
NX_SIGNED_SHIFTS(int64_t, INT64_MAX, 64)

#define NX_UNSIGNED_SHIFTS(T, MAX, BITS)                                                                               \
    static T safe_lshift_func_##T##_u_u(T a, unsigned int n) {                                                         \
        if (n >= BITS || a > (MAX >> n)) return a;                                                                     \
        return (T)(a << n);                                                                                            \
    }                                                                                                                  \
    static T safe_lshift_func_##T##_u_s(T a, int n) { return n < 0 ? a : safe_lshift_func_##T##_u_u(a, n); }           \
    static T safe_rshift_func_##T##_u_u(T a, unsigned int n) { return n >= BITS ? a : (T)(a >> n); }                   \
    static T safe_rshift_func_##T##_u_s(T a, int n) { return n < 0 ? a : safe_rshift_func_##T##_u_u(a, n); }
NX_UNSIGNED_SHIFTS(uint16_t, UINT16_MAX, 16)
NX_UNSIGNED_SHIFTS(uint32_t, UINT32_MAX, 32)
NX_UNSIGNED_SHIFTS(uint64_t, UINT64_MAX, 64)

/* Floats: no infinity comes from finite operands, and no value that an integer cannot hold is converted. */
#define NX_BIG 1e18f
static int nx_small(float a) { return a > -NX_BIG && a < NX_BIG; }
static float safe_add_func_float_f_f(float a, float b) { return nx_small(a) && nx_small(b) ? a + b : 0.0f; }
static float safe_sub_func_float_f_f(float a, float b) { return nx_small(a) && nx_small(b) ? a - b : 0.0f; }
static float safe_mul_func_float_f_f(float a, float b) { return nx_small(a) && nx_small(b) ? a * b : 0.0f; }
static float safe_div_func_float_f_f(float a, float b) {
    if (b > -1e-6f && b < 1e-6f) return a;
    return nx_small(a) ? a / b : 0.0f;
}
static int32_t safe_convert_func_float_to_int32_t(float a) { return a > -2e9f && a < 2e9f ? (int32_t)a : 0; }

/* ---- checksum ---------------------------------------------------------------------------------------------------- */

static uint32_t crc32_context = 0xFFFFFFFFUL;
static uint32_t nx_crc_table[256];

static void crc32_gentab(void) {
    uint32_t i;
    for (i = 0; i < 256; i++) {
        uint32_t crc = i;
        int bit;
        for (bit = 0; bit < 8; bit++) crc = crc & 1 ? crc >> 1 ^ 0xEDB88320UL : crc >> 1;
        nx_crc_table[i] = crc;
    }
}

/* Adds the low `octets` groups of 8 bits, least significant first: independent of how memory is addressed. */
static void nx_crc_add(uint64_t value, int octets) {
    uint32_t crc = crc32_context;
    for (; octets > 0; octets--, value >>= 8) crc = crc >> 8 ^ nx_crc_table[(crc ^ (uint32_t)value) & 0xFF];
    crc32_context = crc;
}

static void nx_crc_show(const char* name, int show) {
    if (show) printf("...checksum after hashing %s : %X\n", name, (unsigned int)(crc32_context ^ 0xFFFFFFFFUL));
}

static void transparent_crc(uint64_t value, const char* name, int show) {
    nx_crc_add(value, 8);
    nx_crc_show(name, show);
}

/* An object by halves of 16 bits, of which every object that a program hashes this way is made. */
static void transparent_crc_bytes(const void* object, unsigned int size, const char* name, int show) {
    const char* at = (const char*)object;
    unsigned int half = 16 / CHAR_BIT, i;
    for (i = 0; i + half <= size; i += half) {
        uint16_t bits;
        memcpy(&bits, at + i, half);
        nx_crc_add(bits, 2);
    }
    nx_crc_show(name, show);
}

static void platform_main_begin(void) {}

static void platform_main_end(uint32_t crc, int show) {
    printf("checksum = %X\n", (unsigned int)crc);
    (void)show;
}

#endif
