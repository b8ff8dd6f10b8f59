/* Strings of 16-bit characters: library functions on values above 255, sizes in units, wchar_t the same size as char.
 *
 * Line by line:
 *  1  strlen counts units: "a\x100z" has 3; its sizeof is 4; a value with a zero low half (0x100) does not end the string
 *  2  strcmp compares whole characters as unsigned: \x141 (321) is above A (65) though the low 8 bits agree: 1; \x8000 as
 *     unsigned is above \x7fff: 1; equal: 0
 *  3  strchr finds 0x141 only at 2, not the A at 0; memchr of 0x10041 looks for (unsigned char) of it, 0x41 = A: at 0
 *  4  strcpy keeps them: 256 321 8364; malloc(4) holds the 3 characters and the 0
 *  5  memset(.., 300, ..) stores 300; strspn over {256, 321} is 2
 *  6  wchar_t is unsigned and 16 bits: L'\xffff' is 65535; sizeof L"ab" is 3; (wchar_t)65536 is 0
 *  7  the char '\xffff' is -1, the unsigned char 65535
 *  8  sprintf with %c stores one unit for one character: 0x20ac; the length is 3
 *  9  calloc(2, sizeof(int)) gives 4 zero units: 0 0 0 0
 */
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int sign(int v) { return (v > 0) - (v < 0); }

int main(void) {
  static const char odd[] = "a\x100z";
  printf("%d %d\n", (int)strlen(odd), (int)sizeof odd);
  printf("%d %d %d\n", sign(strcmp("\x141", "A")), sign(strcmp("\x8000", "\x7fff")), sign(strcmp("\x141", "\x141")));
  static const char mixed[] = "A\x100\x141\x20ac";
  const char *hit = strchr(mixed, 0x141);
  const char *low = memchr(mixed, 0x10041, 4);
  printf("%d %d\n", (int)(hit - mixed), (int)(low - mixed));
  char *copy = malloc(4);
  strcpy(copy, mixed + 1);
  printf("%d %d %d\n", copy[0], copy[1], copy[2]);
  char block[3];
  memset(block, 300, 3);
  printf("%d %d %d %d\n", block[0], block[1], block[2], (int)strspn(copy, "\x141\x100"));
  free(copy);
  wchar_t w = (wchar_t)65536;
  printf("%d %d %d\n", L'\xffff', (int)sizeof L"ab", w);
  char c = '\xffff';
  unsigned char u = (unsigned char)c;
  printf("%d %d\n", c, u);
  char text[8];
  sprintf(text, "<%c>", 0x20ac);
  printf("%x %d\n", (unsigned)text[1], (int)strlen(text));
  unsigned char *zeros = calloc(2, sizeof(int));
  printf("%d %d %d %d\n", zeros[0], zeros[1], zeros[2], zeros[3]);
  free(zeros);
  return 0;
}
