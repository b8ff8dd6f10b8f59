// REQUIRES: front-end
// RUN: nxparse -w -o %t.ic %s && nxdis %t.ic | FileCheck %s
// Holes are skipped, bit-fields are merged into units, addresses are a symbol and an offset.

struct mixed { short a; int b; unsigned f : 3, g : 13, h : 4; const char *name; };
// CHECK-DAG: .init _one = { 1, skip[1], 2, 13, skip[1], (char const*)"n\0" }
struct mixed one = {1, 2, 5, 1, .name = "n"};
int table[4][3];
// CHECK-DAG: .init _inside = { (int*)(&_table + 20) }
int *inside = &table[3][1];
// CHECK-DAG: .init _member = { (int*)(&_one + 2) }
int *member = &one.b;
int f(int x) { return x; }
// CHECK-DAG: .init _functions = { &_f, skip[2], &_f }
int (*functions[4])(int) = {f, [2] = f};
// CHECK-DAG: .init _texts = { "ab\0":{char[3]}, "c\0":{char[2]}, skip[1], "def":{char[3]} }
char texts[3][3] = {"ab", "c", "def"};
// CHECK-DAG: .init _u = { 0x1p+0 }
union { float x; long long y; } u = {1.0f};
// CHECK-DAG: .init _late = { skip[2], 7 }
int late[5] = {[1] = 7};
// CHECK-DAG: static __literal$[[N:[0-9]+]]: int[2]
// CHECK-DAG: .init _literal = { &__literal$[[N]] }
int *literal = (int[]){1, 2};
// CHECK-DAG: static _zero$[[Z:[0-9]+]]: int const[20]
// CHECK-DAG: static _count$[[C:[0-9]+]]: int {{.*}}pragma(SCOPING_FUNC "_locals")
// CHECK-DAG: .init _count$[[C]] = { 3 }

// CHECK-LABEL: func _locals
int locals(int x) {
    static int count = 3;
    // Few leaves are assigned one by one.
    // CHECK: few.a = 1
    // CHECK-NEXT: few.b = x
    // CHECK-NEXT: few.f = 0
    // CHECK-NEXT: few.g = 0
    // CHECK-NEXT: few.h = 0
    // CHECK-NEXT: few.name = (char const*)0
    struct mixed few = {1, x};
    // Many are copied, and those that are no constants assigned.
    // CHECK-NEXT: memcpy((void*)&zero, (void*)&_zero$[[Z]], 40:uint)
    // CHECK-NEXT: *(&zero + 6) = x
    int zero[20] = {[3] = x};
    // CHECK-NEXT: memcpy((void*)&text, (void*)"abc\0\0\0", 6:uint)
    char text[6] = "abc";
    // CHECK-NEXT: few := _one
    few = one;
    return few.a + zero[0] + text[0] + count;
}
