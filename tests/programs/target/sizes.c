/* sizeof counts units of 16 bits: the sizes of all types, arrays, strings and expressions.
 *
 * Line by line:
 *  1  _Bool, char, signed char, unsigned char, short: 16 bits, so 1 each
 *  2  int, unsigned, long, float, enum: 32 bits, so 2 each
 *  3  long long, unsigned long long, double, long double: 64 bits, so 4 each
 *  4  object and function pointers are 32 bits: 2 each; size_t is unsigned int, ptrdiff_t int: 2 each; wchar_t has
 *     16 bits: 1
 *  5  arrays: char[10] 10, short[10] 10, int[10] 20, double[3] 12, char*[4] 8, int[2][3] 12
 *  6  strings have one unit a character and the 0: "" 1, "abc" 4, "a" "bc" 4, L"abc" 4 (wchar_t is one unit)
 *  7  operands are not evaluated, arithmetic on char promotes to int: c+c 2, -c 2, c 1, c+1ll 4, c+1.0f 2, c+1.0
 *     4, 'x' 2
 *  8  the whole over one element gives the count in any unit: 10 10 3
 *  9  uint16_t 1, int32_t 2, int64_t 4, intmax_t 4
 * 10  n stays 5: nothing inside sizeof ran; the two sizes are 2 + 2
 */
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

enum colour { RED, GREEN };

static int n = 5;
static int bump(void) { return ++n; }

int main(void) {
    char c = 1;
    char chars[10];
    short shorts[10];
    double doubles[3];
    printf("%d %d %d %d %d\n", (int)sizeof(_Bool), (int)sizeof(char), (int)sizeof(signed char),
           (int)sizeof(unsigned char), (int)sizeof(short));
    printf("%d %d %d %d %d\n", (int)sizeof(int), (int)sizeof(unsigned), (int)sizeof(long), (int)sizeof(float),
           (int)sizeof(enum colour));
    printf("%d %d %d %d\n", (int)sizeof(long long), (int)sizeof(unsigned long long), (int)sizeof(double),
           (int)sizeof(long double));
    printf("%d %d %d %d %d\n", (int)sizeof(char*), (int)sizeof(int (*)(void)), (int)sizeof(size_t),
           (int)sizeof(ptrdiff_t), (int)sizeof(wchar_t));
    printf("%d %d %d %d %d %d\n", (int)sizeof chars, (int)sizeof(short[10]), (int)sizeof(int[10]), (int)sizeof doubles,
           (int)sizeof(char* [4]), (int)sizeof(int[2][3]));
    printf("%d %d %d %d\n", (int)sizeof "", (int)sizeof "abc",
           (int)sizeof("a"
                       "bc"),
           (int)sizeof L"abc");
    printf("%d %d %d %d %d %d %d\n", (int)sizeof(c + c), (int)sizeof(-c), (int)sizeof c, (int)sizeof(c + 1ll),
           (int)sizeof(c + 1.0f), (int)sizeof(c + 1.0), (int)sizeof 'x');
    printf("%d %d %d\n", (int)(sizeof chars / sizeof chars[0]), (int)(sizeof shorts / sizeof *shorts),
           (int)(sizeof doubles / sizeof doubles[0]));
    printf("%d %d %d %d\n", (int)sizeof(uint16_t), (int)sizeof(int32_t), (int)sizeof(int64_t), (int)sizeof(intmax_t));
    int unused = (int)sizeof(bump()) + (int)sizeof(n++);
    printf("%d %d\n", n, unused);
    return 0;
}
