// UMINUS, ABS, NOTB, SQRT and SQR.
#include "simp/logic.h"

#include "ir/opt_expr.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <utility>

namespace {

bool both_float(TYPE* a, TYPE* b) { return a->is_fltpt() && b->is_fltpt() && equiv_mtypes(a, b); }

// A node of the operator that computes like the outer one: in integers of its width, or in the same float.
bool is_same(const NODE* inner, int op, const NODE* outer) {
    if (inner->op != op) return false;
    if (is_modular(outer->type)) return is_modular_node(inner, op, outer->type->size());
    return both_float(inner->type, outer->type) && both_float(inner->left->type, outer->type);
}

// An absolute value is that of the signed number; of an unsigned one it is the number.
bool has_sign(TYPE* type) { return type->is_fltpt() || (is_modular(type) && type->is_signed()); }

// The sign bit of an integer operand is certainly zero.
bool is_without_sign(NODE* operand, TYPE* type) {
    INT65 mask = type_mask(type);
    return is_modular(operand->type) && (possible_ones(operand, type) & ~(mask >> 1) & mask).is_zero();
}

// The operator of the operand goes; the node is taken up again.
NODE* without_inner(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    tree->left = take_left(tree->left);
    clear_mark(tree);
    return simp_node(tree, loop, context);
}

// -(-x) -> x
NODE* negated_twice(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (tree->op != UMINUS || !is_same(tree->left, UMINUS, tree)) return nullptr;
    tree->left = take_left(tree->left);
    return left_as_value(tree);
}

// -(a - b) -> b - a, of integers: a float's 0 would change its sign. Both exact: the result is exact, too.
NODE* negated_difference(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (tree->op != UMINUS || !is_modular(tree->type) || !is_modular_node(inner, MINUS, tree->type->size()))
        return nullptr;
    if (!order_is_free(inner->left, inner->right)) return nullptr;
    bool exact = is_exact_mark(tree) && is_exact_mark(inner) && tree->type->is_signed() && inner->type->is_signed();
    remake(tree, MINUS, inner->right, inner->left, tree->type);
    set_mark(tree, exact);
    erase_node(inner);
    return simp_node(tree, loop, context);
}

// -(b ^ 1) -> b - 1, for b that is 0 or 1
NODE* negated_not(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (tree->op != UMINUS || !is_modular(tree->type) || !is_modular_node(inner, XORB, tree->type->size()))
        return nullptr;
    if (inner->right->op != ICON || inner->right->u.lval != INT65(1) || !returns_1_or_0(inner->left)) return nullptr;
    remake(tree, PLUS, inner->left, inner->right, tree->type);
    set_right_constant(tree, INT65(-1));
    erase_node(inner);
    return simp_node(tree, loop, context);
}

// abs(abs(x)) -> abs(x);  abs(x * x), abs(x squared) -> the product, if it cannot come out negative
NODE* abs_of_non_negative(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (tree->op != ABS || (inner->op != ABS && inner->op != SQR && inner->op != MULT)) return nullptr;
    if (!has_sign(tree->type) || !has_sign(inner->type) || !is_same(inner, inner->op, tree)) return nullptr;
    if (inner->op == ABS) return left_as_value(tree);
    bool square = inner->op == SQR || (inner->op == MULT && same_term(inner->left, inner->right));
    if (!square) return nullptr;
    // An integer's square relies on exact arithmetic: it wraps into the sign otherwise.
    bool exact = inner->type->is_fltpt() || (inner->op == MULT && result_is_exact(inner, loop, context));
    return exact ? left_as_value(tree) : nullptr;
}

// abs(x) -> x, for an integer x without a sign
NODE* abs_without_sign(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (tree->op != ABS || !is_modular(tree->type) || !is_without_sign(tree->left, tree->type)) return nullptr;
    return left_as_value(tree);
}

// abs(-x) -> abs(x);  square(-x), square(abs(x)) -> square(x)
NODE* sign_of_operand(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op != ABS && tree->op != SQR) return nullptr;
    NODE* inner = tree->left;
    if (tree->op == ABS && !has_sign(tree->type)) return nullptr;
    if (!is_same(inner, UMINUS, tree) && !(tree->op == SQR && is_same(inner, ABS, tree))) return nullptr;
    return without_inner(tree, loop, context);
}

// ~x -> x ^ all ones
NODE* complement(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op != NOTB || !is_modular(tree->type)) return nullptr;
    NODE* ones = mk_ICON(INT65(-1), value_type(tree->type));
    return simp_node(remake(tree, XORB, tree->left, ones, tree->type), loop, context);
}

// sqrt(square(x)) -> abs(x), for floats that need not keep to every operation: the square may overflow or vanish
NODE* root_of_square(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (tree->op != SQRT || strict_fp != 0 || !is_same(inner, SQR, tree) || !tree->type->is_fltpt()) return nullptr;
    tree->op = ABS;
    return without_inner(tree, loop, context);
}

const RULE rules[] = {
    {"abs_non_negative", "abs(abs(x)) -> abs(x), abs(x * x) -> x * x", abs_of_non_negative},
    {"abs_no_sign", "abs(x) -> x", abs_without_sign},
    {"operand_sign", "abs(-x) -> abs(x), square(-x) -> square(x)", sign_of_operand},
    {"negated_not", "-(b ^ 1) -> b - 1", negated_not},
    {"negated_difference", "-(a - b) -> b - a", negated_difference},
    {"complement", "~x -> x ^ all ones", complement},
    {"negated_twice", "-(-x) -> x", negated_twice},
    {"root_of_square", "sqrt(square(x)) -> abs(x)", root_of_square},
};
const RULE_SET rule_set("unary", rules);

} // namespace

NODE* simp_unary(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) { return rule_set.run(tree, loop, context); }
