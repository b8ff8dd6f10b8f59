// Rules of MOD. The remainder has the sign of the dividend, so what is masked must not be negative. As with quotients,
// nothing holds modulo 2^width.
#include "simp/arith.h"
#include "simp/fold.h"
#include "simp/ranges.h"
#include "simp/rules.h"

#include "ir/opt_expr.h"

namespace {

INT65 magnitude(INT65 value) { return value.is_negative() ? -value : value; }

// The operands take the type of the remainder, so that the rules need not look at conversions.
NODE* operand_types(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (alike(tree->left->type, tree->type) && alike(tree->right->type, tree->type)) return nullptr;
    tree->left = coerce_to_type(tree->left, tree->type);
    tree->right = coerce_to_type(tree->right, tree->type);
    if (!alike(tree->left->type, tree->type) || !alike(tree->right->type, tree->type)) return tree;
    return simp_MOD(tree, loop, context);
}

// x % x -> 0
NODE* equal_operands(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!trees_are_congruent(tree->left, tree->right)) return nullptr;
    NODE* zero = mk_constant(0, tree->type);
    zero->scope = tree->scope;
    erase_tree(tree);
    return zero;
}

// 0 % x -> 0
NODE* zero_divided(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!is_zero_ICON(tree->left)) return nullptr;
    return simp_subst_icon(tree, 0, tree->type);
}

// x % -C -> x % C
NODE* negative_divisor(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->right->op != ICON || !tree->type->is_signed()) return nullptr;
    INT65 d = divisor_of(tree);
    if (!d.is_negative() || d == int_type_min(tree->type)) return nullptr;
    set_ICON(tree->right, -d, tree->type);
    return simp_node(tree, loop, context);
}

// x % -y -> x % y
// Relies on exact arithmetic of -y: the smallest value is its own negation.
NODE* negated_divisor(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* y = tree->right;
    if (y->op != UMINUS || !tree->type->is_signed() || !alike(y->left->type, tree->type)) return nullptr;
    if (!result_is_exact(y, loop, context)) return nullptr;
    tree->right = take_left(y);
    return simp_node(tree, loop, context);
}

// -x % y -> -(x % y)
// Relies on exact arithmetic of -x.
NODE* negated_dividend(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* x = tree->left;
    if (x->op != UMINUS || !tree->type->is_signed() || !alike(x->left->type, tree->type)) return nullptr;
    if (!result_is_exact(x, loop, context)) return nullptr;
    TYPE* type = tree->type;
    LS* scope = tree->scope;
    tree->left = take_left(x);
    return simp_node(maketree(UMINUS, simp_node(tree, loop, context), nullptr, type, scope), loop, context);
}

bool has_positive_constant(const NODE* tree) { return tree->right->op == ICON && divisor_of(tree) > INT65(0); }

// x % 1 -> 0
NODE* by_one(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (tree->right->op != ICON || divisor_of(tree) != INT65(1)) return nullptr;
    return simp_subst_icon(tree, 0, tree->type);
}

// (x % C1) % C2 -> x % C2, where C2 divides C1;  -> x % C1, where C1 is no greater than C2
NODE* remainder_of_remainder(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (!has_positive_constant(tree) || inner->op != MOD || !alike(inner->left->type, tree->type)) return nullptr;
    if (!has_positive_constant(inner)) return nullptr;
    INT65 c1 = divisor_of(inner), c2 = divisor_of(tree);
    if (c1 <= c2) return take_left(tree);
    if (!(c1 % c2).is_zero()) return nullptr;
    tree->left = take_left(inner);
    return simp_node(tree, loop, context);
}

// x % 2^n -> x & (2^n - 1), where x is not negative
NODE* by_power_of_2(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!has_positive_constant(tree)) return nullptr;
    INT65 d = divisor_of(tree);
    if (power_of_2(d) < 1) return nullptr;
    if (!tree->type->is_unsigned() && !tree_is_non_negative(tree->left, loop, context)) return nullptr;
    erase_node(tree->right);
    return simp_node(remake(tree, ANDB, tree->left, mk_constant(d - INT65(1), tree->type), tree->type), loop, context);
}

// x % C -> 0, where C divides x
NODE* of_multiple(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!has_positive_constant(tree)) return nullptr;
    if (!(max_ICON_factor(tree->left, loop, context) % divisor_of(tree)).is_zero()) return nullptr;
    return simp_subst_icon(tree, 0, tree->type);
}

// x % C -> x, where x is nearer to 0 than C
NODE* of_small_value(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!has_positive_constant(tree)) return nullptr;
    VALUE_RANGE range = calculate_range_for_tree(tree->left, loop, context);
    INT65 d = divisor_of(tree);
    if (magnitude(range.low) >= d || magnitude(range.high) >= d) return nullptr;
    return take_left(tree);
}

const RULE rules[] = {
    {"operand_types", "x % y -> (T)x % (T)y", operand_types},
    {"equal_operands", "x % x -> 0", equal_operands},
    {"zero_divided", "0 % x -> 0", zero_divided},
    {"negative_divisor", "x % -C -> x % C", negative_divisor},
    {"negated_divisor", "x % -y -> x % y", negated_divisor},
    {"negated_dividend", "-x % y -> -(x % y)", negated_dividend},
    {"by_one", "x % 1 -> 0", by_one},
    {"remainder_of_remainder", "(x % C1) % C2 -> x % C2", remainder_of_remainder},
    {"by_power_of_2", "x % 2^n -> x & (2^n - 1)", by_power_of_2},
    {"of_multiple", "x % C -> 0", of_multiple},
    {"of_small_value", "x % C -> x", of_small_value},
};
const RULE_SET rule_set("MOD", rules);

} // namespace

NODE* simp_MOD(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_modular(tree->type) || !is_modular(tree->left->type) || !is_modular(tree->right->type)) return tree;
    if (tree->right->op == ICON) {
        if (tree->left->op == ICON) return fold_node(tree);
        if (divisor_of(tree).is_zero()) return tree; // a later stage tells the user
    }
    return rule_set.run(tree, loop, context);
}
