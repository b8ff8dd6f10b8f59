/* Pointer steps in 16-bit units, and objects looked at unit by unit, low-order unit first.
 *
 * Line by line:
 *  1  one step of a pointer to char, short, int, long long, double, char*, struct of three shorts, seen as char*:
 *     1 1 2 4 4 2 3
 *  2  the units of the int 0x12345678: 5678 1234; of the long long 0x0123456789abcdef: cdef 89ab 4567 0123
 *  3  the units of the float 1.0 (3f800000): 0000 3f80; of the double -2.0 (c000000000000000): 0000 0000 0000 c000
 *  4  an int put together from the units 1 and 2: 2*65536 + 1 = 131073; after its high unit becomes 0xffff: -65535
 *  5  memcpy(.., 2) copies one int: the first changes to 7, the second stays 8; memcpy(.., 1) copies its low half:
 *     of 0x11112222 over 0x33334444 gives 33332222
 *  6  memset of 4 units with 1 over two ints: 0x00010001 = 65537 each
 *  7  memset with 0x1234 keeps all 16 bits: 12341234
 *  8  &v[3] - &v[0] is 3 for ints and 6 through char*; through short* it is 6 as well
 *  9  a union of int and two unsigned shorts: low part abcd, high part 1234 of 0x1234abcd; with the high part
 *     0x5678: 5678abcd
 * 10  memcmp goes unit by unit: 0x00010002 (units 2 1) is below 0x00000003 (units 3 0): 1; equal objects: 0
 */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

struct three {
    short a, b, c;
};

#define STEP(type) (int)((char*)(((type*)place) + 1) - (char*)place)

static double place[8];

static void units(const void* object, int n) {
    const unsigned char* u = object;
    for (int i = 0; i < n; i++) printf("%04x%c", (unsigned)u[i], i + 1 < n ? ' ' : ';');
}

int main(void) {
    printf("%d %d %d %d %d %d %d\n", STEP(char), STEP(short), STEP(int), STEP(long long), STEP(double), STEP(char*),
           STEP(struct three));
    int i = 0x12345678;
    long long l = 0x0123456789abcdefll;
    units(&i, 2);
    units(&l, 4);
    float f = 1.0f;
    double d = -2.0;
    printf("\n");
    units(&f, 2);
    units(&d, 4);
    printf("\n");
    unsigned char* u = (unsigned char*)&i;
    u[0] = 1;
    u[1] = 2;
    printf("%d", i);
    u[1] = 0xffff;
    printf(" %d\n", i);
    int from[2] = {7, 9}, to[2] = {0, 8};
    memcpy(to, from, 2);
    int low = 0x11112222, whole = 0x33334444;
    memcpy(&whole, &low, 1);
    printf("%d %d %x\n", to[0], to[1], (unsigned)whole);
    memset(to, 1, 4);
    printf("%d %d\n", to[0], to[1]);
    memset(to, 0x1234, 2);
    printf("%x\n", (unsigned)to[0]);
    int v[4] = {0};
    printf("%d %d %d\n", (int)(&v[3] - &v[0]), (int)((char*)&v[3] - (char*)v), (int)((short*)&v[3] - (short*)v));
    union {
        uint32_t whole;
        uint16_t part[2];
    } w = {0x1234abcdu};
    printf("%x %x", (unsigned)w.part[0], (unsigned)w.part[1]);
    w.part[1] = 0x5678;
    printf(" %x\n", (unsigned)w.whole);
    unsigned a = 0x00010002u, b = 0x00000003u, c = b;
    printf("%d %d\n", memcmp(&a, &b, 2) < 0, memcmp(&b, &c, sizeof b));
    return 0;
}
