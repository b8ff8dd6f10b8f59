/* Struct layout: every type is aligned to its own size, sizes and offsets count 16-bit units. Printed are
 * offsets, then the size.
 *
 * Line by line:
 *  1  {char a; int b; char c; double d; short e}: a 0, b at the next even unit 2, c 4, d at the next multiple of
 *     four 8, e 12; size 13 rounded up to the alignment 4 of double: 16
 *  2  {short a; short b; short c}: 0 1 2, size 3: no padding with 16-bit members only
 *  3  {long long a; char b}: 0 4, size 8
 *  4  {char *p; char c[3]; int n}: p 0, c 2..4, n at the next even unit 6, size 8
 *  5  nested {char t; {char a; int b} in; char u}: in has size 4 and alignment 2, so it stands at 2, its a at 2,
 *     its b at 4, u at 6; size 8
 *  6  union {char a[5]; int b; double d}: 5 units rounded up to the alignment 4: 8; union {short; int}: 2
 *  7  arrays: from one element of the first struct to the next 16 units; of the second struct 3 units
 *  8  {unsigned a:5; unsigned b:12; unsigned c:20}: a 0..4, b 5..16 in the same 32-bit box, c does not fit into
 *     the 15 bits left and starts the next box: size 4
 *  9  {unsigned short a:9; b:8; c:8}: b would cross a 16-bit boundary (9+8 = 17), so it starts a new unit, c fits
 *     behind it (8+8 = 16): size 2
 * 10  {char a; unsigned b:4; unsigned: 0; unsigned c:1}: b follows a in the first 32-bit box, the zero-width field
 *     closes it, c is in the next box: size 4
 * 11  {_Bool a; _Bool b; enum e; float f}: 0 1 2 4, size 6
 * 12  a flexible array {int n; short v[]}: v at 2, size 2
 */
#include <stdbool.h>
#include <stddef.h>
#include <stdio.h>

struct first {
    char a;
    int b;
    char c;
    double d;
    short e;
};
struct shorts {
    short a, b, c;
};
struct wide {
    long long a;
    char b;
};
struct pointers {
    char* p;
    char c[3];
    int n;
};
struct nested {
    char t;
    struct inner {
        char a;
        int b;
    } in;
    char u;
};
union big {
    char a[5];
    int b;
    double d;
};
union small {
    short a;
    int b;
};
struct fields {
    unsigned a : 5, b : 12, c : 20;
};
struct short_fields {
    unsigned short a : 9, b : 8, c : 8;
};
struct closed {
    char a;
    unsigned b : 4;
    unsigned : 0;
    unsigned c : 1;
};
struct mixed {
    bool a, b;
    enum { ONE } e;
    float f;
};
struct flexible {
    int n;
    short v[];
};

#define AT(type, member) (int)offsetof(struct type, member)
#define SIZE(type) (int)sizeof(type)

int main(void) {
    struct first list[2];
    struct shorts triples[2];
    printf("%d %d %d %d %d, %d\n", AT(first, a), AT(first, b), AT(first, c), AT(first, d), AT(first, e),
           SIZE(struct first));
    printf("%d %d %d, %d\n", AT(shorts, a), AT(shorts, b), AT(shorts, c), SIZE(struct shorts));
    printf("%d %d, %d\n", AT(wide, a), AT(wide, b), SIZE(struct wide));
    printf("%d %d %d, %d\n", AT(pointers, p), AT(pointers, c), AT(pointers, n), SIZE(struct pointers));
    printf("%d %d %d %d, %d\n", AT(nested, in), AT(nested, in.a), AT(nested, in.b), AT(nested, u), SIZE(struct nested));
    printf("%d %d\n", SIZE(union big), SIZE(union small));
    printf("%d %d\n", (int)((char*)&list[1] - (char*)&list[0]), (int)((char*)&triples[1].c - (char*)&triples[0].c));
    printf("%d\n", SIZE(struct fields));
    printf("%d\n", SIZE(struct short_fields));
    printf("%d\n", SIZE(struct closed));
    printf("%d %d %d %d, %d\n", AT(mixed, a), AT(mixed, b), AT(mixed, e), AT(mixed, f), SIZE(struct mixed));
    printf("%d, %d\n", AT(flexible, v), SIZE(struct flexible));
    return 0;
}
