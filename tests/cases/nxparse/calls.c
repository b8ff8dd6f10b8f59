// REQUIRES: front-end
// RUN: nxparse -w -o %t.ic %s && nxdis %t.ic | FileCheck %s
// Calls, struct values, and how functions are named and marked.

struct pair { int a, b; } p;
// A function of the unit with the name of a library function is not taken for it.
// CHECK: global _abs: int(int) {{.*}}pragma(FUNC_IS_NONCONFORMING)
int abs(int x) { return x; }
// CHECK: global _swap: struct pair(struct pair)
struct pair swap(struct pair q) { return (struct pair){q.b, q.a}; }
void stop(void) __attribute__((noreturn));
// CHECK: static _quick: int(int) {{.*}}pragma(FUNC_ALWAYS_INLINE)
static inline __attribute__((always_inline)) int quick(int x) { return x + 1; }
double old();
// CHECK: extern _stop: void(void) {{.*}}pragma(FUNC_NEVER_RETURNS)

// CHECK-LABEL: func _calls
int calls(int (*fp)(int), short s, float f) {
    // CHECK: call(fp, (int)s)
    int r = fp(s);
    // CHECK: _abs((int)f)
    r += abs(f);
    // CHECK: _p := _swap(starg(_p))
    p = swap(p);
    // CHECK: r += commaop(__t0 := _swap(starg(_p)), __t0.b)
    r += swap(p).b;
    // CHECK: __t1 := _swap(starg(_p))
    // CHECK-NEXT: _p := _swap(starg(__t1))
    p = swap(swap(p));
    // CHECK: _old((double)f)
    old(f);
    // CHECK: _quick(r)
    r = quick(r);
    // CHECK: nassert((bool)(r > 0))
    __builtin_assume(r > 0);
    // CHECK: _stop()
    if (__builtin_expect(r, 1)) stop();
    // CHECK: return (*quest(r, &_p, commaop(__t2 := _swap(starg(_p)), &__t2))).a
    return (r ? p : swap(p)).a;
}
