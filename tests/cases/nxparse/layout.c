// REQUIRES: front-end
// RUN: nxparse -o %t.ic %s && nxdis %t.ic > %t.nxa
// RUN: FileCheck --check-prefix=PLAIN %s < %t.nxa
// RUN: FileCheck --check-prefix=FIELDS %s < %t.nxa
// RUN: FileCheck --check-prefix=OUTER %s < %t.nxa
// Members stand at multiples of their alignment; a bit-field does not cross a multiple of its type's size; sizeof counts
// 16-bit units.

struct plain { char c; int i; short s; long long l; } p;
// PLAIN: .type {{[0-9]+}} = struct plain size 192 align 64 members
// PLAIN: .members struct plain {
// PLAIN-NEXT: c: char at 0
// PLAIN-NEXT: i: int at 32
// PLAIN-NEXT: s: short at 64
// PLAIN-NEXT: l: llong at 128
// PLAIN-NEXT: }

// `b` would cross bit 32; the width 0 closes the unit of `b`; `w` ends before bit 128 and so shares its unit with `c`.
struct fields { unsigned a : 3; int b : 30; short : 0; short c : 15; _Bool f : 1; unsigned long long w : 40; } f;
// FIELDS: .type {{[0-9]+}} = struct fields size 128 align 64 members
// FIELDS: .members struct fields {
// FIELDS-NEXT: a: uint at 0 bits 3
// FIELDS-NEXT: b: int at 32 bits 30
// FIELDS-NEXT: c: short at 64 bits 15
// FIELDS-NEXT: f: bool at 79 bits 1
// FIELDS-NEXT: w: ullong at 80 bits 40
// FIELDS-NEXT: }

union both { char c[3]; double d; };
struct outer { struct { short x, y; }; union both u; struct fields *next; int tail[]; };
extern struct outer o;
// OUTER: .type {{[0-9]+}} = union both size 64 align 64 members
// OUTER: .type {{[0-9]+}} = struct outer size 192 align 64 members
// OUTER: .members struct outer {
// OUTER-NEXT: __anon0: struct {{.*}} at 0
// OUTER-NEXT: u: union both at 64
// OUTER-NEXT: next: struct fields* at 128
// OUTER-NEXT: tail: int[] at 160
// OUTER-NEXT: }

// OUTER: .init _sizes = { 12, 8, 4, 12, 4, 1, 2, 8 }
int sizes[] = {sizeof(struct plain), sizeof(struct fields), sizeof(union both), sizeof(struct outer),
               __builtin_offsetof(struct outer, u.c[0]), sizeof(char), _Alignof(int),
               __builtin_offsetof(struct outer, next)};

// OUTER-LABEL: func _anonymous
// OUTER: return (int)_o.__anon0.y
int anonymous(void) { return o.y; }
