/* The limits of the types, as constants and as the preprocessor sees them.
 *
 * Line by line:
 *  1  a char has 16 bits and plain char is signed: CHAR_BIT 16, CHAR_MIN -32768, CHAR_MAX 32767
 *  2  SCHAR_MIN, SCHAR_MAX as above; UCHAR_MAX is 2^16 - 1 = 65535
 *  3  SHRT_MIN, SHRT_MAX, USHRT_MAX: the same 16 bits
 *  4  INT_MIN, INT_MAX, UINT_MAX: 32 bits
 *  5  LONG_MIN, LONG_MAX, ULONG_MAX: long has the 32 bits of int
 *  6  LLONG_MIN, LLONG_MAX, ULLONG_MAX: 64 bits
 *  7  the #if directives chose these: 16-bit char, 32-bit long
 *  8  INT16_MAX, UINT16_MAX, INT32_MAX; SIZE_MAX is UINT_MAX
 *  9  UCHAR_MAX + 1 is computed in int, which holds it: 65536; CHAR_MAX + 1 32768
 * 10  DBL_MANT_DIG, FLT_MANT_DIG of the 64- and 32-bit formats; LDBL_MANT_DIG: long double is the 64-bit format
 */
#include <float.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>

#if CHAR_BIT == 16 && UCHAR_MAX == 0xffff
#define CHAR_TEXT "16-bit char"
#else
#define CHAR_TEXT "other char"
#endif

#if LONG_MAX == 2147483647 && LONG_MAX < LLONG_MAX
#define LONG_TEXT "32-bit long"
#else
#define LONG_TEXT "other long"
#endif

int main(void) {
    printf("%d %d %d\n", CHAR_BIT, CHAR_MIN, CHAR_MAX);
    printf("%d %d %d\n", SCHAR_MIN, SCHAR_MAX, UCHAR_MAX);
    printf("%d %d %d\n", SHRT_MIN, SHRT_MAX, USHRT_MAX);
    printf("%d %d %u\n", INT_MIN, INT_MAX, UINT_MAX);
    printf("%ld %ld %lu\n", LONG_MIN, LONG_MAX, ULONG_MAX);
    printf("%lld %lld %llu\n", LLONG_MIN, LLONG_MAX, ULLONG_MAX);
    printf("%s, %s\n", CHAR_TEXT, LONG_TEXT);
    printf("%d %d %d %d\n", INT16_MAX, UINT16_MAX, (int)INT32_MAX, SIZE_MAX == UINT_MAX);
    printf("%d %d\n", UCHAR_MAX + 1, CHAR_MAX + 1);
    printf("%d %d %d\n", DBL_MANT_DIG, FLT_MANT_DIG, LDBL_MANT_DIG);
    return 0;
}
