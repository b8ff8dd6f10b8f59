// What is certain of a tree's sign, of its being zero, and of two trees being different.
#include "simp/fold.h"
#include "simp/ranges.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

namespace {

constexpr int max_sign_depth = 8; // operators that a predicate looks through by itself

NODE* skip_ssa(NODE* tree) {
    while (tree->op == SSA_USE || tree->op == SSA_DEF || tree->op == IDENTITY) tree = tree->left;
    return tree;
}

NODE* skip_pointer_conversions(NODE* tree) {
    while (tree->op == PCONV || tree->op == ISP2CHAR || tree->op == SSA_USE || tree->op == SSA_DEF ||
           tree->op == IDENTITY)
        tree = tree->left;
    return tree;
}

// The address of a named object, or a string: never null.
bool is_address_constant(const NODE* tree) {
    if (tree->op == SCON) return true;
    if (tree->op != UAND) return false;
    const NODE* object = tree->left;
    while (object->op == STDOT) object = object->left;
    return object->op == NAME && pointer_is_an_adcon(tree); // a weak symbol may have no object
}

// An operand has the value of the node's type already: a fact about the one is a fact about the other.
bool keeps_value(const NODE* operand, const NODE* node) {
    return is_integer_like(operand->type) && int_type_min(operand->type) >= int_type_min(node->type) &&
           int_type_max(operand->type) <= int_type_max(node->type);
}

bool is_square(const NODE* tree) { return trees_are_congruent(tree->left, tree->right); }

struct TERM { // base + offset, modulo the width of the type
    NODE* base;
    INT65 offset;
};

TERM split_offset(NODE* tree) {
    TERM t{tree, INT65()};
    while ((t.base->op == PLUS || t.base->op == MINUS) && t.base->right->op == ICON && is_integer_like(t.base->type) &&
           equiv_mtypes(t.base->left->type, t.base->type)) {
        INT65 c = t.base->right->u.lval;
        t.offset = t.base->op == PLUS ? t.offset + c : t.offset - c;
        t.base = t.base->left;
    }
    return t;
}

// What `a - b` is modulo the width, if it is a constant. Both are to have one type.
bool constant_difference(NODE* a, NODE* b, INT65& difference) {
    if (!is_integer_like(a->type) || !equiv_mtypes(a->type, b->type)) return false;
    TERM x = split_offset(a), y = split_offset(b);
    if (x.base->op == ICON && y.base->op == ICON)
        difference = x.base->u.lval - y.base->u.lval + x.offset - y.offset;
    else if (trees_are_congruent(x.base, y.base))
        difference = x.offset - y.offset;
    else
        return false;
    difference = truncate_to_type(difference, a->type);
    return true;
}

bool product_sign_is_known(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    return tree->op == MULT && keeps_value(tree->left, tree) && keeps_value(tree->right, tree) &&
           !expr_product_may_overflow(tree, loop, context);
}

bool zero(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    tree = skip_ssa(tree);
    if (tree->type->is_ptr()) {
        tree = skip_pointer_conversions(tree);
        return tree->op == ICON && tree->u.lval.is_zero();
    }
    if (!is_integer_like(tree->type)) return false;
    VALUE_RANGE r = calculate_range_for_tree(tree, loop, context);
    return r.low.is_zero() && r.high.is_zero();
}

bool non_zero(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    for (int depth = 0; depth < max_sign_depth; depth++) {
        tree = tree->type->is_ptr() ? skip_pointer_conversions(tree) : skip_ssa(tree);
        if (is_address_constant(tree)) return true;
        if (!is_integer_like(tree->type)) return false;
        VALUE_RANGE r = calculate_range_for_tree(tree, loop, context);
        if (r.low > INT65(0) || r.high < INT65(0)) return true;
        if (!find_known_ones(tree, tree->type).is_zero()) return true;
        // These are zero only if their operand is.
        bool widens =
            tree->op == SCONV && is_integer_like(tree->left->type) && tree->left->type->size() <= tree->type->size();
        bool negates = tree->op == UMINUS && keeps_value(tree->left, tree);
        if (!widens && !negates) return false;
        tree = tree->left;
    }
    return false;
}

} // namespace

bool tree_is_zero(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) { return zero(tree, loop, context); }
bool tree_is_non_zero(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) { return non_zero(tree, loop, context); }

bool tree_is_non_negative(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    tree = skip_ssa(tree);
    if (!is_integer_like(tree->type)) return false;
    if (tree->type->is_unsigned()) return true;
    if (calculate_minval_for_tree(tree, loop, context) >= INT65(0)) return true;
    if (tree->op != MULT || !product_sign_is_known(tree, loop, context)) return false;
    if (is_square(tree)) return true;
    VALUE_RANGE a = calculate_range_for_tree(tree->left, loop, context);
    VALUE_RANGE b = calculate_range_for_tree(tree->right, loop, context);
    return (a.low >= INT65(0) && b.low >= INT65(0)) || (a.high <= INT65(0) && b.high <= INT65(0));
}

bool tree_is_positive(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    tree = skip_ssa(tree);
    if (!is_integer_like(tree->type)) return false;
    if (calculate_minval_for_tree(tree, loop, context) > INT65(0)) return true;
    if (tree->type->is_unsigned()) return non_zero(tree, loop, context);
    if (tree->op != MULT || !product_sign_is_known(tree, loop, context)) return false;
    VALUE_RANGE a = calculate_range_for_tree(tree->left, loop, context);
    VALUE_RANGE b = calculate_range_for_tree(tree->right, loop, context);
    return (a.low > INT65(0) && b.low > INT65(0)) || (a.high < INT65(0) && b.high < INT65(0));
}

bool tree_is_negative(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    tree = skip_ssa(tree);
    if (!tree->type->is_signed()) return false;
    if (calculate_maxval_for_tree(tree, loop, context) < INT65(0)) return true;
    if (tree->op != MULT || !product_sign_is_known(tree, loop, context)) return false;
    VALUE_RANGE a = calculate_range_for_tree(tree->left, loop, context);
    VALUE_RANGE b = calculate_range_for_tree(tree->right, loop, context);
    return (a.low > INT65(0) && b.high < INT65(0)) || (a.high < INT65(0) && b.low > INT65(0));
}

bool tree_is_ivalue(NODE* tree, INT65 value, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_integer_like(tree->type)) return false;
    VALUE_RANGE r = calculate_range_for_tree(tree, loop, context);
    return r.low == value && r.high == value;
}

bool tree_is_not_ivalue(NODE* tree, INT65 value, LOOP_RECORD* loop, CONTEXT* context) {
    if (value.is_zero()) return tree_is_non_zero(tree, loop, context);
    if (!is_integer_like(tree->type)) return false;
    VALUE_RANGE r = calculate_range_for_tree(tree, loop, context);
    if (value < r.low || value > r.high) return true;
    INT65 bits = value & type_mask(tree->type);
    if (!(bits & ~find_known_zeros(tree, tree->type)).is_zero()) return true;
    return !(find_known_ones(tree, tree->type) & ~bits).is_zero();
}

bool tree_difference_is_ivalue(NODE* a, NODE* b, INT65 value, LOOP_RECORD*, CONTEXT*) {
    INT65 difference;
    return constant_difference(a, b, difference) && difference == truncate_to_type(value, a->type);
}

bool tree_values_are_not_equal(NODE* a, NODE* b, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_integer_like(a->type) || !is_integer_like(b->type)) {
        return (tree_is_zero(a, loop, context) && tree_is_non_zero(b, loop, context)) ||
               (tree_is_zero(b, loop, context) && tree_is_non_zero(a, loop, context));
    }
    TYPE* common = combined_type(a, b);
    // Bits are compared as the comparison sees them; ranges and differences only if it sees the operands' own values.
    INT65 ones_a = find_known_ones(a, common), ones_b = find_known_ones(b, common);
    if (!(ones_a & ~find_known_zeros(b, common)).is_zero() || !(ones_b & ~find_known_zeros(a, common)).is_zero())
        return true;
    INT65 difference;
    if (constant_difference(a, b, difference)) return !difference.is_zero();
    if (!value_fits_in_type(a, common, loop, context) || !value_fits_in_type(b, common, loop, context)) return false;
    VALUE_RANGE x = calculate_range_for_tree(a, loop, context);
    VALUE_RANGE y = calculate_range_for_tree(b, loop, context);
    return x.high < y.low || y.high < x.low;
}

int sign_of_integer_expression(NODE* tree, LOOP_RECORD* loop, int strict, CONTEXT* context) {
    if (!is_integer_like(tree->type)) return 2;
    if (tree_is_negative(tree, loop, context)) return -1;
    if (!strict) return tree_is_non_negative(tree, loop, context) ? 1 : 2;
    if (tree_is_positive(tree, loop, context)) return 1;
    return tree_is_zero(tree, loop, context) ? 0 : 2;
}

bool positive_tree_is_power_of_2(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    tree = skip_ssa(tree);
    if (!is_integer_like(tree->type)) return false;
    if (tree->op == ICON) return tree->u.lval > INT65(0) && power_of_2(tree->u.lval) >= 0;
    // 2^k << n, and 2^n
    if (tree->op != SLL && tree->op != EXPT) return false;
    NODE* base = tree->left;
    if (base->op != ICON || base->u.lval <= INT65(0) || power_of_2(base->u.lval) < 0) return false;
    return (tree->op == SLL || base->u.lval == INT65(2)) && is_integer_like(tree->right->type) &&
           tree_is_non_negative(tree->right, loop, context);
}
