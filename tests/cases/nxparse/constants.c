// REQUIRES: front-end
// RUN: nxparse -o %t.ic %s && nxdis %t.ic | FileCheck %s
// Constants come from a 16-bit char everywhere: casts, enumerators, bounds, labels, widths, literals.

#include <limits.h>
#include <stdint.h>

enum e { FIRST = (unsigned char)300, SECOND, SIGNED = (signed char)40000, UNITS = sizeof(long long) } e;
struct s { int w : sizeof(int) * CHAR_BIT / 4; } s;
// CHECK: w: int at 0 bits 8
// CHECK: .enumerators enum e {
// CHECK-NEXT: FIRST = 300
// CHECK-NEXT: SECOND = 301
// CHECK-NEXT: SIGNED = -25536
// CHECK-NEXT: UNITS = 4

// CHECK-DAG: global _by_size: char[4]
char by_size[sizeof(long long)];
// CHECK-DAG: global _by_ratio: int[3]
int by_ratio[sizeof(int[6]) / sizeof(long long)];
// CHECK-DAG: .init _folded = { 300, 4294941760, 65535, 1, 16, 4294967295 }
unsigned folded[] = {(unsigned char)300, (signed char)40000, UCHAR_MAX, (char)256 != 0, CHAR_BIT, UINT32_MAX};
// CHECK-DAG: .init _chars = { 200, 4660, 255, 97, 10 }
int chars[] = {'\xc8', '\x1234', '\377', 'a', '\n'};
// CHECK-DAG: .init _wide = { 97, 4660, 98, 511, 0 }
const char wide[] = "a\x1234" "b\777";
// CHECK-DAG: .init _floats = { 0x1.8p+0, 0x1.99999ap-4, 0x1p+1, fcon["Inf"] }
double floats[] = {1.5, 0.1f, (int)2.9, __builtin_huge_val()};
// CHECK-DAG: .init _bits = { 1099511627777, -1 }
long long bits[] = {(1LL << 40) + 1, -1};

// CHECK-LABEL: func _choose
// CHECK: switch x { 4 => L{{[0-9]+}}, 300 => L{{[0-9]+}}, 2 => L{{[0-9]+}}, default
int choose(int x) {
    switch (x) {
    case sizeof(long long): return 1;
    case (unsigned char)300: return 2;
    case sizeof(char[2]): return 3;
    }
    // CHECK: return 5
    return sizeof "four";
}
