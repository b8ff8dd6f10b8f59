// What the rules of the arithmetic operators (+ - * << >> / %) share.
//
// Sums and products are taken modulo 2^width, so an operand may go from one node to another of the same width whatever
// the signedness of either: each converts it to that width by the operand's own type. Quotients, remainders and right
// shifts are not like that; their rules ask for alike() types.
#ifndef SIMP_ARITH_H
#define SIMP_ARITH_H

#include "simp/simp.h"
#include "simp/simp_int.h"

#include "ir/types.h"

// Makes a constant another one, of the type in which its user computes.
inline void set_ICON(NODE* icon, INT65 value, TYPE* type) {
    icon->type = icon->orig_type = value_type(type);
    icon->u.lval = truncate_to_type(value, icon->type);
}

inline bool is_modular(TYPE* type) { return type != nullptr && is_integer_like(type) && !type->is_bool(); }
// Integers or pointers as operands of a sum.
inline bool is_word(TYPE* type) { return is_modular(type) || (type != nullptr && type->is_ptr()); }
// Every value passes from one type to the other unchanged.
inline bool alike(TYPE* a, TYPE* b) {
    return a == b || (is_modular(a) && is_modular(b) && a->size() == b->size() && a->is_signed() == b->is_signed());
}
// A node of the operator, of integer operands, with a result of that many bits.
inline bool is_modular_node(const NODE* node, int op, uint32_t width) {
    return node->op == op && is_modular(node->type) && node->type->size() == width && is_modular(node->left->type) &&
           (node->right == nullptr || is_modular(node->right->type));
}
// The same for PLUS and MINUS, with pointers allowed.
inline bool is_sum(const NODE* node, int op, uint32_t width) {
    return node->op == op && is_word(node->type) && node->type->size() == width && is_word(node->left->type) &&
           is_word(node->right->type);
}
inline bool is_exact_mark(const NODE* node) { return (node->flags & NODE_NO_WRAP) != 0; }
inline void clear_mark(NODE* node) { node->flags &= static_cast<uint8_t>(~NODE_NO_WRAP); }
inline void set_mark(NODE* node, bool exact) {
    if (exact) node->flags |= NODE_NO_WRAP;
}
TYPE* integer_type_of(TYPE*); // of the operands of a sum of the type: under a pointer, an integer of its width
NODE* mk_constant(INT65 value, TYPE* type); // of integer_type_of(type)
// The ICON's value as a node of the type has it, sign-extended from the type's width even if that is unsigned.
INT65 signed_value(const NODE* icon, TYPE* type);
// The right operand of a quotient or remainder, an ICON, as a value of the node's type.
inline INT65 divisor_of(const NODE* tree) { return truncate_to_type(tree->right->u.lval, tree->type); }
// The operands may be evaluated in the other order: one of them has no effect.
bool may_swap(const NODE* a, const NODE* b);
// Congruent trees without effects; large ones count as different, so that the cost is bounded.
bool same_term(const NODE* a, const NODE* b);

// Rules of PLUS and MINUS alike (sum.cpp).
NODE* common_factor(NODE*, LOOP_RECORD*, CONTEXT*); // x * c +- y * c -> (x +- y) * c
NODE* like_terms(NODE*, LOOP_RECORD*, CONTEXT*);    // (... x * C1 ...) +- x * C2 -> ... x * (C1 +- C2) ...
// (x * 2^a) op (y * 2^b) -> ((x * 2^(a - b)) op y) * 2^b, for + - & | ^ (assoc.cpp)
NODE* common_scale(NODE*, LOOP_RECORD*, CONTEXT*);
// (x >> n) << k as a mask of one shift (shift.cpp). Takes `shifted`, an SRL of integers of the type's width by an ICON
// from 1 to the width less 1; k likewise.
NODE* masked_shift_pair(NODE* shifted, uint32_t k, TYPE* type, LOOP_RECORD*, CONTEXT*);
// Divides two operands of a signed division by what both are known to have as a factor; false if there is nothing.
bool cancel_common_simple_factors(NODE*& left, NODE*& right);

#endif
