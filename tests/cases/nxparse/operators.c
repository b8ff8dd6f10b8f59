// REQUIRES: front-end
// RUN: nxparse -w -o %t.ic %s && nxdis %t.ic | FileCheck %s
// Operators whose form in the file is not that of the source.

struct bits { unsigned f : 3; _Bool b : 1; } s;
float fl;
_Bool bo;
short sh;
int i, *p, m[3][4];
unsigned u;
long long l;

// CHECK-LABEL: func _steps
void steps(void) {
    // CHECK: _i ++ 1
    i++;
    // CHECK: _i += 1
    ++i;
    // CHECK: _p -- 2
    p--;
    // CHECK: _fl += 0x1p+0
    fl++;
    // CHECK: _bo = 1
    bo++;
    // CHECK: _bo = (bool)!_bo
    bo--;
}
// The old value of a float or a bool is kept in a temporary.
// CHECK-LABEL: func _old
// CHECK: return commaop(__t0 = _fl, _fl = (__t0 + 0x1p+0), __t0)
float old(void) { return fl++; }

// CHECK-LABEL: func _assign
void assign(void) {
    // CHECK: _sh += _i
    sh += i;
    // CHECK: _i = (int)((float)_i * 0x1p+1)
    i *= 2.0f;
    // CHECK: _bo = (bool)(((int)_bo + 3) != 0)
    bo += 3;
    // A field that C promotes to int, against an unsigned declared type.
    // CHECK: _s.f = (uint)((int)_s.f / _i)
    s.f /= i;
    // CHECK: _u <<= (int)_l
    u <<= l;
    // CHECK: __t0 = (_p ++ 2)
    // CHECK-NEXT: *__t0 = (int)((float)*__t0 + _fl)
    *p++ += fl;
    // CHECK: _bo = (bool)(_l != 0)
    bo = l;
    // CHECK: _bo = (bool)(_i < 3)
    bo = i < 3;
}
// CHECK-LABEL: func _compare
// CHECK: return ((_i < 0) + (_u u< 5)) + (_p u>= &_i)
int compare(void) { return (i < 0) + (u < 5) + (p >= &i); }

// CHECK-LABEL: func _pointers
void pointers(short c, int *q) {
    // CHECK: *(_p + pmconv((int)c, 32)) = *(_p + 6)
    p[c] = 3 [p];
    // CHECK: _i = pvconv(q - _p, 32)
    i = q - p;
    // CHECK: *((int*)(&_m + pmconv(_i, 128)) + 4)
    m[i][2] = 0;
    // CHECK: q = (_p + 2)
    q = &p[1];
}
