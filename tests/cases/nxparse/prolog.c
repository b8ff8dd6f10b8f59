// REQUIRES: front-end
// RUN: nxparse -w -o %t.ic %s && nxdis %t.ic | FileCheck %s
// Parameters are read once, in the prolog, into local copies of their names.

struct pair { int a, b; };

// CHECK-LABEL: func _none
// CHECK-NOT: pcomma
void none(void) {}

// CHECK-LABEL: func _one
// CHECK: parm x: int
// CHECK: .args
// CHECK-NEXT: local x: int
// CHECK-NEXT: .locals
// CHECK-NEXT: x = parm(x)
// CHECK-NEXT: return x
int one(int x) { return x; }

// CHECK-LABEL: func _three
// CHECK: parm p: struct pair
// CHECK: pcomma(p := parm(p), q = parm(q), __p2 = parm(__p2))
int three(struct pair p, short *restrict q, int) { return p.a + *q; }

// Arguments of the old style come promoted.
// CHECK-LABEL: func _old
// CHECK: parm c: int
// CHECK-NEXT: parm f: double
// CHECK: local c: char
// CHECK-NEXT: local f: float
// CHECK: pcomma(c = (char)parm(c), f = (float)parm(f))
int old(c, f) char c; float f; { return c + f; }

// CHECK-LABEL: func _sum
// CHECK: parm n: int
// CHECK-NEXT: parm __va: int
// CHECK: n = parm(n)
// CHECK: ap = (char*)&__va
// CHECK: return (int)*(double*)((ap += 4) - 4)
int sum(int n, ...) {
    __builtin_va_list ap;
    __builtin_va_start(ap, n);
    return __builtin_va_arg(ap, double);
}
// CHECK-LABEL: func _caller
// CHECK: _sum(1, 0x1p+1, 3)
int caller(void) { return sum(1, 2.0f, (short)3); }
