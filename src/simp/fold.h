// Folding of constants in the arithmetic of the target's types, and the number theory under it.
#ifndef SIMP_FOLD_H
#define SIMP_FOLD_H

#include "simp/simp.h"

#include <string>

NODE* fold_constants(NODE*); // the tree with its constant subtrees evaluated, operands first
// One node whose operands are folded already: the result, or the node itself. What is undefined (division by zero) or
// would set a floating error stays.
NODE* fold_node(NODE*);
// What must remain of a tree whose value is not used; null if nothing does.
NODE* peel_for_effect(NODE*);
// A floating literal's decimal text in canonical form, so that equal constants have equal texts: "00012.500e2" and
// "1250.0" both give "1250.0". At most `digits` significant digits if that is positive.
std::string normalize_fcon(const char* text, int digits);

// The exponent n of 2^n, -1 for any other value.
int power_of_2(INT65);
unsigned clp2(unsigned); // the next power of two at or above; 0 and overflow give 0
unsigned uint_gcd(unsigned, unsigned);
unsigned uint_lcm(unsigned, unsigned);
INT65 long_gcd(INT65, INT65); // positive; gcd(0, x) is |x|
INT65 long_lcm(INT65, INT65);
INT65 extended_gcd(INT65 a, INT65 b, INT65* x, INT65* y); // gcd = a * x + b * y
// Exact results; *overflow is set to 1 if it cannot be held in 65 bits, else to 0.
INT65 long_add(INT65, INT65, int* overflow);
INT65 long_multiply(INT65, INT65, int* overflow);
INT65 long_expt(INT65 base, INT65 exponent, int* overflow);
INT65 ulong_expt(INT65 base, INT65 exponent); // modulo 2^64
INT65 long_sqrt(INT65);                       // rounded down; 0 for a negative argument
bool sum_may_overflow(INT65, INT65, TYPE*);   // also true if an argument itself does not fit the type
bool prod_may_overflow(INT65, INT65, TYPE*);
int compare_SLLONG_values(INT65, INT65, TYPE*); // -1, 0, 1 in the type's signedness

#endif
