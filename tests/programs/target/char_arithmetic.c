/* Arithmetic on 16-bit characters: unsigned char wraps at 65536, char goes negative at 32768, values above 255 are kept.
 *
 * Line by line:
 *  1  u: 255+1 = 256 is kept; 65535+1 wraps to 0; 0-1 wraps to 65535
 *  2  (unsigned char)300 = 300; (unsigned char)65537 = 1; (unsigned char)-1 = 65535
 *  3  (char)200 = 200; (char)40000 = 40000-65536 = -25536; (signed char)32768 = -32768
 *  4  the compound forms wrap alike: 300*300 = 90000, 90000-65536 = 24464; 1<<15 = 32768 (unsigned) and -32768 (signed)
 *  5  promotion is to int, so unsigned char products do not overflow: 60000u*30 = 1800000; ~0 of unsigned char is -1 as int
 *  6  shift of a promoted value: 0xabcd>>8 = 0xab = 171; char 0x8000>>1 is arithmetic: -16384
 *  7  escapes reach beyond 255: '\x1234' = 4660, '\777' = 511; a string holds them unit by unit: 4660, 511, 65 and the 0
 *  8  the loop of 70000 increments of an unsigned char ends at 70000-65536 = 4464; a char counter from 0 that counts up
 *     while positive ends at -32768
 *  9  comparison: (unsigned char)-1 == 65535, (char)-1 != 65535, and 'A' + 256 differs from 'A'
 * 10  a static table of unsigned char keeps 256, 1000, 65535; folded constants agree with the run-time values
 */
#include <stdio.h>

static const unsigned char table[3] = {256, 1000, 65535};
static unsigned char u;
static signed char s;
static char c;

static unsigned char wrap(unsigned v) { return (unsigned char)v; }
static char narrow(int v) { return (char)v; }

int main(void) {
  u = 255;
  u++;
  printf("%d", u);
  u = 65535;
  u++;
  printf(" %d", u);
  u--;
  printf(" %d\n", u);
  printf("%d %d %d\n", wrap(300), wrap(65537), wrap(-1u));
  s = (signed char)narrow(32768);
  printf("%d %d %d\n", narrow(200), narrow(40000), s);
  u = 300;
  u *= 300;
  printf("%d", u);
  u = 1;
  u <<= 15;
  s = 1;
  s = (signed char)(s << 15);
  printf(" %d %d\n", u, s);
  u = 60000;
  printf("%d", u * 30);
  u = 0;
  printf(" %d\n", ~u);
  u = 0xabcd;
  c = narrow(0x8000);
  printf("%d %d\n", u >> 8, c >> 1);
  const char *text = "\x1234\777A";
  printf("%d %d %d %d %d %d\n", '\x1234', '\777', text[0], text[1], text[2], text[3]);
  u = 0;
  for (int i = 0; i < 70000; i++) u++;
  c = 1;
  while (c > 0) c++;
  printf("%d %d\n", u, c);
  u = wrap(-1u);
  c = narrow(-1);
  printf("%d %d %d\n", u == 65535, c != 65535, wrap('A' + 256) != 'A');
  printf("%d %d %d %d\n", table[0], table[1], table[2], (unsigned char)90000 == wrap(90000));
  return 0;
}
