/* Arithmetic on 16-bit characters: unsigned char wraps at 65536, char goes negative at 32768, values above 255
 * are kept.
 *
 * Line by line:
 *  1  u: 255+1 = 256 is kept; 65535+1 wraps to 0; 0-1 wraps to 65535
 *  2  (unsigned char)300 = 300; (unsigned char)65537 = 1; (unsigned char)-1 = 65535
 *  3  (char)200 = 200; (char)40000 = 40000-65536 = -25536; (signed char)32768 = -32768
 *  4  the compound forms wrap alike: 300*300 = 90000, 90000-65536 = 24464; 1<<15 = 32768 (unsigned) and -32768
 *     (signed)
 *  5  promotion is to int, so unsigned char products do not overflow: 60000*30 = 1800000; ~0 of unsigned char is
 *     -1 as int
 *  6  shift of a promoted value: 0xabcd>>8 = 0xab = 171; char 0x8000>>1 is arithmetic: -16384
 *  7  a char array holds values beyond 255 unit by unit, constant or stored: 0x1234 = 4660, 511, A = 65 and the 0;
 *     a low half of 0 is not a 0: the length of {256, 512, 0} is 2
 *  8  70000 increments of an unsigned char end at 70000-65536 = 4464; a char that counts up from 1 while it is
 *     positive ends at -32768
 *  9  comparison: (unsigned char)-1 == 65535, (char)-1 != 65535, and 'A' + 256 differs from 'A'
 * 10  a static table of unsigned char keeps 256, 1000, 65535; folded constants agree with the run-time values: 1
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
    static char text[] = {0x1234, 0, 'A', 0};
    text[1] = narrow(511);
    static const char halves[] = {256, 512, 0};
    int length = 0;
    while (halves[length]) length++;
    printf("%d %d %d %d %d\n", text[0], text[1], text[2], text[3], length);
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
