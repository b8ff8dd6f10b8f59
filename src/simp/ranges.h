// Questions about trees that are no constants: how large a value can be, its sign, what divides it, whether it
// overflows. "Don't know" is always a legal answer: a bound query answers with the type's limit, a predicate with
// false, and every walk is bounded, so that the cost of a query does not grow with the tree.
//
// A value is always what the node holds, after wrap-around, as a mathematical number in the range of the node's type.
// Nothing is said of an operand's side effects: who drops a tree because its value is known must keep them.
#ifndef SIMP_RANGES_H
#define SIMP_RANGES_H

#include "simp/simp.h"

struct VALUE_RANGE {
    INT65 low, high; // both inclusive
};
// Both bounds in one walk. Of a tree that is not integer-like: the limits of its type, a pointer as unsigned.
VALUE_RANGE calculate_range_for_tree(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
INT65 calculate_maxval_for_tree(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
INT65 calculate_minval_for_tree(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
bool value_fits_in_type(NODE*, TYPE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);

bool tree_is_zero(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
bool tree_is_non_zero(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
bool tree_is_positive(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
bool tree_is_negative(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
bool tree_is_non_negative(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
bool tree_is_ivalue(NODE*, INT65, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
bool tree_is_not_ivalue(NODE*, INT65, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
// Modulo the width of the trees' type, which is to be the same.
bool tree_difference_is_ivalue(NODE*, NODE*, INT65, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
bool tree_values_are_not_equal(NODE*, NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
// -1, 0, 1; 2 if the sign is not known. `strict`: 0 and 1 are told apart, else a value that is not negative gives 1.
int sign_of_integer_expression(NODE*, LOOP_RECORD*, int strict, CONTEXT*);
bool positive_tree_is_power_of_2(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);

// The largest constant known to divide the tree's value, positive; 0 for a tree whose value is always 0. The value is
// the one that the node holds: x * 6 that may wrap is a multiple of 2 only, one that is exact a multiple of 6.
INT65 max_ICON_factor(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr, int flag = 0);
INT65 max_asserted_ICON_factor(NODE*, LOOP_RECORD* = nullptr,
                               CONTEXT* = nullptr); // the same from assertions; 1 if none
// Constant coefficient of a linear tree: C of x * C, x << n and -(x * C); 1 if there is none or it is 0.
INT65 max_ICON_coef(NODE*);
INT65 max_ICON_delta(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr); // C of x + C; 0 if none
// Takes a constant that divides max_ICON_coef out of the tree: modulo 2^width, the old tree is divisor * the new one.
NODE* div_ICON_coef(NODE*, INT65 divisor);
bool constant_divides_expr(INT65, TYPE*, NODE*, LOOP_RECORD* = nullptr);
// No value of the divisor divides any of the tree without remainder.
bool expr_cannot_divide_expr(NODE* divisor, NODE* tree, LOOP_RECORD* = nullptr);
// The remainder in [0, modulus), also of a negative value; -1 if it is not known.
int expr_modulo_constant(NODE*, TYPE*, INT65 modulus, LOOP_RECORD* = nullptr);
bool integer_DIV_is_exact(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
// Of MULT, and of SLL by a constant. False: the product of the operands, converted to the node's type, is the value.
bool expr_product_may_overflow(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
// The same for PLUS, MINUS and UMINUS.
bool expr_sum_may_overflow(NODE*, LOOP_RECORD* = nullptr, CONTEXT* = nullptr);
// The tree simplified where its one variable is known to be in low .. high, and to be low plus a multiple of the step.
// A tree with no variable, with several, or with reads of memory is simplified without that; so is any if low > high.
NODE* simp_tree_in_range(NODE*, INT65 low, INT65 high, INT65 step);
// A tree that is never above (maximum: below) the one given, as mathematical values: in the linear part of it,
// variables that have bounds stand for these. It computes without overflow wherever the given one does. The tree itself
// if no variable has a bound. The last argument is not used.
NODE* partially_eval_for_minimum(NODE*, LOOP_RECORD*, int);
NODE* partially_eval_for_maximum(NODE*, LOOP_RECORD*, int);
// A tree of equal truth under the loop's givens; may be the tree it was given.
NODE* simp_constraint_given_loop_givens(NODE*, LOOP_RECORD*);

#endif
