// REQUIRES: front-end
// RUN: nxparse -o %t.ic %s && nxdis %t.ic > %t.nxa && nxas --check %t.nxa -o %t.2 && cmp %t.ic %t.2
// RUN: FileCheck %s < %t.nxa
// RUN: nxdis --source %t.ic | FileCheck --check-prefix=SOURCE %s
// What the front end writes comes back byte for byte, and its text is readable.

struct point { short x, y; unsigned f : 3; };
enum color { RED, GREEN = 9 };
static const double table[2] = {1.5, -2.0};
extern int printf(const char *, ...);

// CHECK-LABEL: func _scale
// CHECK: pcomma(p = parm(p), n = parm(n))
// CHECK: if !(i < n) goto L[[OUT:[0-9]+]]
// CHECK: L[[OUT]]:
int scale(struct point *restrict p, int n) {
    long long sum = 5000000000;
    // SOURCE: ; {{[0-9]+}}:     for (int i = 0; i < n; i++)
    for (int i = 0; i < n; i++)
        sum += p[i].x * (p[i].f = i);
    printf("%d\n", (int)sum);
    return table[0] > 1.0f ? (int)sum : GREEN;
}

int main(void) {
    struct point a[3] = {{1, 2, 3}};
    int (*f)(struct point *restrict, int) = scale;
    switch (f(a, 3)) {
    case 1: return 2;
    default: return a->y;
    }
}
