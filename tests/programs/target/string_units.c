/* Strings of 16-bit characters: library functions on values above 255, sizes in units, wchar_t the same size as
 * char.
 *
 * Line by line:
 *  1  strlen counts units: {'a', 0x100, 'z', 0} has 3, its sizeof is 4; a low half of zero (0x100) does not end
 *     the string
 *  2  strcmp compares whole characters as unsigned: 0x141 is above A (0x41) though the low 8 bits agree: 1; 0x8000
 *     taken as unsigned is above 0x7fff: 1; equal: 0
 *  3  strchr finds 0x141 only at 2, not the A at 0; memchr of 0x10041 looks for (unsigned char) of it, 0x41 = A:
 *     at 0
 *  4  strcpy keeps them: 256 321 8364; malloc(4) holds the 3 characters and the 0
 *  5  memset(.., 300, ..) stores 300; strspn of {256, 321, 8364} over {321, 256} is 2
 *  6  wchar_t is unsigned and has 16 bits: L'\xffff' is 65535; sizeof L"ab" is 3; (wchar_t)65536 is 0
 *  7  the char 0xffff is -1, the unsigned char 65535
 *  8  sprintf with %c stores the argument as one unit, converted to unsigned char: 20ac; the length is 3
 *  9  calloc(2, sizeof(int)) gives 4 zero units: 0 0 0 0
 */
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int sign(int v) { return (v > 0) - (v < 0); }

static const char odd[] = {'a', 0x100, 'z', 0};
static const char high_a[] = {0x141, 0}, low_edge[] = {0x7fff, 0}, both[] = {0x141, 0x100, 0};
static char high_edge[] = {0, 0};
static const char mixed[] = {'A', 0x100, 0x141, 0x20ac, 0};

int main(void) {
    high_edge[0] = (char)0x8000;
    printf("%d %d\n", (int)strlen(odd), (int)sizeof odd);
    printf("%d %d %d\n", sign(strcmp(high_a, "A")), sign(strcmp(high_edge, low_edge)), sign(strcmp(high_a, high_a)));
    const char* hit = strchr(mixed, 0x141);
    const char* low = memchr(mixed, 0x10041, 4);
    printf("%d %d\n", (int)(hit - mixed), (int)(low - mixed));
    char* copy = malloc(4);
    strcpy(copy, mixed + 1);
    printf("%d %d %d\n", copy[0], copy[1], copy[2]);
    char block[3];
    memset(block, 300, 3);
    printf("%d %d %d %d\n", block[0], block[1], block[2], (int)strspn(copy, both));
    free(copy);
    wchar_t w = (wchar_t)65536;
    printf("%d %d %d\n", L'\xffff', (int)sizeof L"ab", w);
    char c = (char)0xffff;
    unsigned char u = (unsigned char)c;
    printf("%d %d\n", c, u);
    char text[8];
    sprintf(text, "<%c>", 0x20ac);
    printf("%x %d\n", (unsigned)text[1], (int)strlen(text));
    unsigned char* zeros = calloc(2, sizeof(int));
    printf("%d %d %d %d\n", zeros[0], zeros[1], zeros[2], zeros[3]);
    free(zeros);
    return 0;
}
