// REQUIRES: front-end
// RUN: nxparse -o %t.ic %s && nxdis %t.ic | FileCheck %s
// Statements: tests jump when their condition is zero, loops have their pragma in front.

int f(void);
void g(int);

// CHECK-LABEL: func _loops
void loops(int n) {
    // CHECK: .pragma SRC_LOOP "[[L:[0-9]+]]" "[[L]]" "" "while"
    // CHECK-NEXT: [[TOP:L[0-9]+]]:
    // CHECK-NEXT: if !(n) goto [[END:L[0-9]+]]
    // CHECK-NEXT: n -- 1
    // CHECK-NEXT: goto [[TOP]]
    // CHECK-NEXT: [[END]]:
    while (n) n--;
    // CHECK-NEXT: .pragma UNROLL "2"
    // CHECK-NEXT: .pragma MUST_ITERATE "4" "" "4"
    // CHECK-NEXT: .pragma SRC_LOOP "{{[0-9]+}}" "{{[0-9]+}}" "" "do"
    // CHECK-NEXT: [[BODY:L[0-9]+]]:
    // CHECK: if !(n >= 5) goto [[BODY]]
#pragma UNROLL(2)
#pragma MUST_ITERATE(4, , 4)
    do n++;
    while (n < 5);
    // CHECK: if !({{.*}}) goto [[OUT:L[0-9]+]]
    // CHECK: {{^ +}}goto [[OUT]]
    // CHECK: {{^ +}}goto [[NEXT:L[0-9]+]]
    // CHECK: _g(n)
    // CHECK-NEXT: [[NEXT]]:
    // CHECK-NEXT: n += 2
    for (; n < 9; n += 2) {
        if (f()) break;
        if (n) continue;
        g(n);
    }
}

// CHECK-LABEL: func _conditions
int conditions(double d, long long l, int *p, _Bool b) {
    // CHECK: if !(d != 0x0p+0) goto
    if (d) return 1;
    // CHECK: if !(l != 0) goto
    if (l) return 2;
    // CHECK: if !(p) goto
    if (p) return 3;
    // CHECK: return (d == 0x0p+0) + (l == 0)
    return !d + !l;
}

// CHECK-LABEL: func _choose
int choose(int x) {
    // CHECK: switch x { 1 => [[A:L[0-9]+]], 3 => [[B:L[0-9]+]], 4 => [[B]], 5 => [[B]], default => [[C:L[0-9]+]] }
    // CHECK: [[A]]:
    // CHECK-NEXT: x ++ 1
    // CHECK: [[B]]:
    // CHECK-NEXT: return 7
    // CHECK: [[C]]:
    switch (x) {
    case 1: x++; // falls through
    case 3 ... 5: return 7;
    }
    // A switch with nothing to choose from.
    // CHECK-NEXT: _f()
    // CHECK-NEXT: goto [[D:L[0-9]+]]
    switch (f())
    default: return 9;
    // CHECK: [[D]]:
    // CHECK-NEXT: return 9
}
// CHECK-LABEL: func _branch
// CHECK: if !(x > 0) goto
// CHECK: _g(1)
// CHECK: _g(2)
void branch(int x) { x > 0 ? g(1) : g(2); }
