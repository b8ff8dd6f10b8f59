// What the rule groups of the comparisons share. The operator's signedness is part of it: LE .. GT compare the
// mathematical values of the operands in their common type, ULE .. UGT their bit patterns at its width.
#ifndef SIMP_RELOP_INT_H
#define SIMP_RELOP_INT_H

#include "simp/fold.h"
#include "simp/ranges.h"
#include "simp/rules.h"
#include "simp/simp_int.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

inline bool is_equality(int op) { return op == EQ || op == NEQ; }
inline bool is_signed_order(int op) { return op >= LE && op <= GT; }
inline bool is_unsigned_order(int op) { return opcode_is_unsigned_comparison(op); }
inline int as_unsigned(int op) { return is_signed_order(op) ? op + (ULE - LE) : op; }
inline int as_signed(int op) { return is_unsigned_order(op) ? op - (ULE - LE) : op; }

// Every value of the inner type is one of the outer.
inline bool type_keeps(TYPE* outer, TYPE* inner) {
    return int_type_min(outer) <= int_type_min(inner) && int_type_max(inner) <= int_type_max(outer);
}
// The integer 0, or a null pointer.
inline bool is_null(const NODE* tree) { return is_zero_ICON(tree->op == PCONV ? tree->left : tree); }

// x op K: an integer against a constant.
struct CONSTANT_TEST {
    NODE* x;
    int op;
    TYPE* type;      // of x
    TYPE* common;    // in which the comparison is made
    INT65 k;         // the constant, in the common type; in the type of x if the widths are equal
    bool same_width; // x is compared at its own width

    // The comparison is one of the mathematical values of x and k in the type of x.
    bool compares_values() const {
        if (!same_width) return false;
        return is_equality(op) || (type->is_signed() ? is_signed_order(op) : is_unsigned_order(op));
    }
};
bool is_constant_test(const NODE* tree, CONSTANT_TEST& test);

// The comparison anew, with what its operands are now; the old operands must be in use or erased.
inline NODE* compare_again(NODE* tree, int op, NODE* left, NODE* right, LOOP_RECORD* loop, CONTEXT* context) {
    return simp_node(remake(tree, op, left, right, tp->int_type()), loop, context);
}
// The comparison is decided: 1 or 0, behind what remains of its effects.
inline NODE* decided(NODE* tree, bool value) { return simp_subst_icon(tree, value ? 1 : 0, tp->int_type()); }
// !x, where only the truth of x counts
NODE* negated(NODE* tree, LOOP_RECORD*, CONTEXT*);
// An operation goes from around its left operand: that operand, converted to the operation's type. The node and its
// right operand are erased.
NODE* unwrap_left(NODE* operation);

// x + C of integers, also x - C: the constant as a signed number of the sum's width. False for any other tree.
bool constant_offset(const NODE* sum, INT65& c);

// The rules, group by group, in the order in which they are tried.
extern const RULE_SET relop_truth, relop_scale, relop_quotient, relop_constant_conversion, relop_zero_and_one,
    relop_offset, relop_bits, relop_boolean, relop_congruent, relop_increment, relop_conversion, relop_saturation,
    relop_known_zero, relop_range;

#endif
