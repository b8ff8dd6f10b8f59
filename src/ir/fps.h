// simul_fval: a floating constant of the target.
//
// The target's float is IEEE binary32, its double and long double are binary64. A value is held with the precision of
// the widest of them; truncate_fval_to_target brings it to a type.
#ifndef IR_FPS_H
#define IR_FPS_H

#include <string>

struct TYPE;

struct simul_fval {
    double value = 0.0;
};

// The value of a decimal or C hexadecimal text, or "Inf", "NaN" with an optional sign, rounded once to the type (null:
// the widest). Returns false, giving 0, for a text that is no number.
bool f_atof(const char* text, TYPE* type, simul_fval& value);
// Text by "%a" (hexadecimal, exact) or another printf conversion of a double; "Inf", "-Inf" and "NaN" for what is no
// number.
std::string f_ftoa(const char* format, const simul_fval& value);
void truncate_fval_to_target(simul_fval& value, TYPE* type);
bool f_bit_eq(const simul_fval& a, const simul_fval& b); // the same bits: -0.0 differs from 0.0, a NaN equals itself

#endif
