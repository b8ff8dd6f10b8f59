// The predefined macros agree with the types that they are about, and with each other; no other machine's are left.
//
// REQUIRES: front-end
// RUN: nxparse -std=c11 -Wall -Werror %s -o %t
// RUN: nxdis %t | FileCheck %s --check-prefix=FLOATS
// FLOATS: .init _floats = { 1, 1, 1, 1, 1, 1, 1, 1 }
// RUN: echo > %t.none.c
// RUN: nxparse -dM %t.none.c | sed 's/#define //;s/ .*//' | FileCheck %s --implicit-check-not=INT8_ --implicit-check-not=STRICT --implicit-check-not='{{GNU|clang|llvm|86|linux|unix|LOCK_FREE|FMT|LP64}}'
// CHECK: __UINT_FAST16_TYPE__
//
// Strict dialects say so, and each header stands alone, in every dialect, without a word.
// RUN: nxparse -std=c89 -dM %s | FileCheck %s --check-prefix=STRICT
// STRICT: #define __STRICT_ANSI__ 1
// RUN: sh -c 'echo "#include <math.h>"; echo "#include <string.h>"; echo "char *strdup(char *s); static int round(int x) { return x; }"' > %t.own.c
// RUN: nxparse -std=c89 -fsyntax-only %t.own.c && not nxparse -fsyntax-only %t.own.c
// RUN: sh -ec 'rm -f %t.all.c; for h in alloca assert ctype errno fenv float inttypes iso646 limits locale math setjmp signal stdalign stdarg stdbool stddef stdint stdio stdlib stdnoreturn string strings tgmath time wchar wctype; do (echo "#include <$h.h>"; echo "extern int x;") > %t.h.c; cat %t.h.c >> %t.all.c; for s in c89 gnu99; do nxparse -std=$s -pedantic-errors -Wall -Wextra -fsyntax-only %t.h.c; done; done; for s in c89 gnu89 c99 c11 gnu17; do nxparse -std=$s -pedantic-errors -Wall -Wextra -fsyntax-only %t.all.c; done' 2>&1 | count 0
// RUN: sh -c 'for h in complex threads stdatomic; do echo "#include <$h.h>" > %t.h.c; nxparse -fsyntax-only %t.h.c; done; true' 2>&1 | FileCheck %s --check-prefix=REFUSED
// REFUSED: complex.h:1:2: error: {{.*}}not supported
// REFUSED: threads.h:1:2: error: {{.*}}no threads
// REFUSED: stdatomic.h:1:2: error: {{.*}}no atomic types
#include <float.h>
#include <inttypes.h>
#include <limits.h>
#include <signal.h>
#include <wchar.h>

#define SAME(type, wanted) _Generic((type*)0, wanted* : 1, default : 0)
// A type with its width, its largest value (all ones) and its like in the headers.
#define TYPED(n, name, like)                                                                                           \
    _Static_assert(SAME(n##_TYPE__, like), "type");                                                                    \
    _Static_assert(n##_WIDTH__ == sizeof(like) * __CHAR_BIT__, "width");                                               \
    _Static_assert(n##_MAX__ == (like)((like)-1 < 0 ? ~0ull >> (65 - n##_WIDTH__) : ~0ull >> (64 - n##_WIDTH__)), "");  \
    _Static_assert(n##_MAX__ == name##_MAX, "limit");                                                                  \
    _Static_assert(SAME(__typeof__(n##_MAX__ + 0), __typeof__((like)0 + 0)), "type of the limit");
TYPED(__SIZE, SIZE, size_t)
TYPED(__PTRDIFF, PTRDIFF, ptrdiff_t)
TYPED(__WCHAR, WCHAR, wchar_t)
TYPED(__WINT, WINT, wint_t)
TYPED(__SIG_ATOMIC, SIG_ATOMIC, sig_atomic_t)
TYPED(__INTPTR, INTPTR, intptr_t)
TYPED(__UINTPTR, UINTPTR, uintptr_t)
TYPED(__INTMAX, INTMAX, intmax_t)
TYPED(__UINTMAX, UINTMAX, uintmax_t)
#define SIZED(bits)                                                                                                    \
    TYPED(__INT##bits, INT##bits, int##bits##_t)                                                                       \
    TYPED(__UINT##bits, UINT##bits, uint##bits##_t)                                                                    \
    _Static_assert(SAME(__typeof__(__UINT##bits##_C(1)), __typeof__((uint##bits##_t)1 + 0)) || bits == 16, "constant");
#define LEAST_FAST(bits)                                                                                               \
    TYPED(__INT_LEAST##bits, INT_LEAST##bits, int_least##bits##_t)                                                     \
    TYPED(__UINT_LEAST##bits, UINT_LEAST##bits, uint_least##bits##_t)                                                  \
    TYPED(__INT_FAST##bits, INT_FAST##bits, int_fast##bits##_t)                                                        \
    TYPED(__UINT_FAST##bits, UINT_FAST##bits, uint_fast##bits##_t)
SIZED(16) SIZED(32) SIZED(64)
LEAST_FAST(8) LEAST_FAST(16) LEAST_FAST(32) LEAST_FAST(64)

_Static_assert(__SCHAR_MAX__ == 32767 && CHAR_MIN == -32768 && UCHAR_MAX == 65535 && USHRT_MAX == 0xFFFF, "char");
_Static_assert(__INT_MAX__ == 0x7FFFFFFF && __LONG_MAX__ == INT_MAX && UINT_MAX == 0xFFFFFFFF && ULONG_MAX == UINT_MAX, "");
_Static_assert(LLONG_MIN < 0 && LLONG_MIN + __LONG_LONG_MAX__ == -1 && ULLONG_MAX == ~0ull, "long long");
#define SIZE(n, type) _Static_assert(__SIZEOF_##n##__ == sizeof(type), "size");
SIZE(SHORT, short) SIZE(INT, int) SIZE(LONG, long) SIZE(LONG_LONG, long long) SIZE(FLOAT, float) SIZE(DOUBLE, double)
SIZE(LONG_DOUBLE, long double) SIZE(POINTER, void*) SIZE(SIZE_T, size_t) SIZE(PTRDIFF_T, ptrdiff_t)
SIZE(WCHAR_T, wchar_t) SIZE(WINT_T, wint_t)
_Static_assert(__BIGGEST_ALIGNMENT__ == _Alignof(long long) && __BIGGEST_ALIGNMENT__ == _Alignof(double), "");
_Static_assert(__BYTE_ORDER__ == 1234 && __ORDER_BIG_ENDIAN__ == 4321 && __FLOAT_WORD_ORDER__ == __BYTE_ORDER__, "");
int floats[] = {
    FLT_EPSILON == 1.0f / (1 << (__FLT_MANT_DIG__ - 1)), DBL_EPSILON == 1.0 / (1LL << (__DBL_MANT_DIG__ - 1)),
    FLT_MAX == (2 - FLT_EPSILON) * 0x1p127f, DBL_MAX == (2 - DBL_EPSILON) * 0x1p1023,
    FLT_MIN == 0x1p-126f && FLT_TRUE_MIN == 0x1p-149f, DBL_MIN == 0x1p-1022 && DBL_TRUE_MIN == 0x1p-1074,
    LDBL_MAX_EXP == 1024 && LDBL_MIN == DBL_MIN && LDBL_DIG == 15 && DECIMAL_DIG == 17,
    (int)sizeof(LDBL_MAX) == 4 && SAME(__typeof__(LDBL_MAX), long double) && SAME(__typeof__(FLT_MAX), float)};
