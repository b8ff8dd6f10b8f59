// Comparisons: the driver, tests of truth, and what is decided by the range of the operands.
//
// Measure: a rule removes a node, moves a constant to the right, or decides the comparison; no rule undoes another.
#include "simp/relop_int.h"

#include <utility>

// ------------------------------------------------------------------------------------------------------ shared helpers

NODE* simp_subst_icon(NODE* tree, INT65 value, TYPE* type) {
    LS* scope = tree->scope;
    NODE* icon = mk_ICON(value, is_integer_like(type) ? type->type_qualified() : tp->int_type());
    icon->scope = scope;
    NODE* result = is_integer_like(type) ? icon : coerce_to_type(icon, type->type_qualified());
    NODE* effects = peel_for_effect(tree);
    if (effects == nullptr) return result;
    result = mk_COMMAOP(effects, result);
    result->scope = scope;
    return simp_node(result);
}

bool is_constant_test(const NODE* tree, CONSTANT_TEST& test) {
    if (tree->right->op != ICON || !is_integer_like(tree->left->type)) return false;
    test = {tree->left, tree->op, tree->left->type, combined_type(tree->left, tree->right), {}, false};
    if (!is_integer_like(test.common)) return false;
    test.same_width = test.type->size() == test.common->size() && !test.type->is_bool();
    test.k = truncate_to_type(tree->right->u.lval, test.same_width ? test.type : test.common);
    return true;
}

NODE* negated(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    return simp_for_control(simp_node(mk_EXCLAIM(tree), loop, context), loop, context);
}

NODE* unwrap_left(NODE* operation) {
    TYPE* type = operation->type;
    NODE* x = operation->left;
    erase_tree(operation->right);
    erase_node(operation);
    return coerce_to_type(x, type);
}

namespace {

// ------------------------------------------------------------------------------------------------------ truth of a
// value

bool is_truth_test(const NODE* tree) { return is_equality(tree->op) && is_null(tree->right); }

// b != 0  ->  b        b: 0 or 1
NODE* boolean_itself(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (tree->op != NEQ || !is_truth_test(tree) || !returns_1_or_0(tree->left)) return nullptr;
    NODE* b = tree->left;
    erase_tree(tree->right);
    erase_node(tree);
    return coerce_to_type(b, tp->int_type());
}

// (a op b) == 0  ->  a opposite b
NODE* opposite(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op != EQ || !is_truth_test(tree) || !tree_is_trivially_invertible(tree->left)) return nullptr;
    NODE* test = tree->left;
    erase_tree(tree->right);
    erase_node(tree);
    test->op = boolean_inv[test->op];
    return simp_node(test, loop, context);
}

// ------------------------------------------------------------------------------------------------- constants 0 and 1

// x < 1  ->  x <= 0      x >= 1  ->  x > 0      x u< 1  ->  x == 0      x u>= 1  ->  x != 0
NODE* against_one(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CONSTANT_TEST test;
    if (!is_constant_test(tree, test) || test.k != INT65(1)) return nullptr;
    int op;
    switch (test.op) {
    case LT: op = LE; break;
    case GE: op = GT; break;
    case ULT: op = EQ; break;
    case UGE: op = NEQ; break;
    default: return nullptr;
    }
    tree->right->u.lval = INT65(0);
    tree->op = op;
    return simp_node(tree, loop, context);
}

// x <= 0  ->  x == 0      x > 0  ->  x != 0      x < 0  ->  0      x >= 0  ->  1       x not negative
NODE* against_zero(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_null(tree->right) || is_equality(tree->op)) return nullptr;
    if (is_signed_order(tree->op)) {
        CONSTANT_TEST test;
        if (!is_constant_test(tree, test) || !type_keeps(test.common, test.type)) return nullptr;
        if (!tree_is_non_negative(tree->left)) return nullptr;
    }
    switch (tree->op) {
    case LT:
    case ULT: return decided(tree, false);
    case GE:
    case UGE: return decided(tree, true);
    default: tree->op = tree->op == LE || tree->op == ULE ? EQ : NEQ; return simp_node(tree, loop, context);
    }
}

// ---------------------------------------------------------------------------------------------------- zero or not zero

// x == 0  ->  0       x certainly not 0
NODE* never_zero(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_equality(tree->op)) return nullptr;
    NODE *a = tree->left, *b = tree->right;
    bool differ = (tree_is_zero(b, loop, context) && tree_is_non_zero(a, loop, context)) ||
                  (tree_is_zero(a, loop, context) && tree_is_non_zero(b, loop, context));
    return differ ? decided(tree, tree->op == NEQ) : nullptr;
}

// ------------------------------------------------------------------------------------------------------ range of
// values

// The values that x can have in the comparison.
VALUE_RANGE compared_range(const CONSTANT_TEST& test, LOOP_RECORD* loop, CONTEXT* context) {
    VALUE_RANGE all{int_type_min(test.common), int_type_max(test.common)};
    VALUE_RANGE r = calculate_range_for_tree(test.x, loop, context);
    if (r.low < all.low || r.high > all.high) r = all; // the conversion cuts it
    if (is_unsigned_order(test.op) && r.low.is_negative()) r = {INT65(0), type_mask(test.common)};
    return r;
}

// x op K  ->  1 or 0, where every value of x gives the same
NODE* beyond_the_range(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CONSTANT_TEST test;
    if (!is_constant_test(tree, test)) return nullptr;
    VALUE_RANGE range = compared_range(test, loop, context);
    INT65 constant = truncate_to_type(tree->right->u.lval, test.common);
    if (is_unsigned_order(test.op)) constant = constant & type_mask(test.common);
    struct {
        INT65::wide low, high;
    } r{range.low.to_wide(), range.high.to_wide()};
    INT65::wide k = constant.to_wide(); // one above or below it may exceed 65 bits
    bool is_true, is_false;
    switch (as_signed(test.op)) {
    case EQ: is_true = r.low == k && r.high == k, is_false = k > r.high || k < r.low; break;
    case NEQ: is_true = k > r.high || k < r.low, is_false = r.low == k && r.high == k; break;
    case LT: k--; [[fallthrough]];
    case LE: is_true = k >= r.high, is_false = k < r.low; break;
    case GT: k++; [[fallthrough]];
    default: is_true = k <= r.low, is_false = k > r.high; break;
    }
    return is_true || is_false ? decided(tree, is_true) : nullptr;
}

const RULE truth_rules[] = {
    {"boolean_itself", "b != 0 -> b", boolean_itself},
    {"opposite", "(a < b) == 0 -> a >= b", opposite},
};
const RULE zero_and_one_rules[] = {
    {"against_one", "x < 1 -> x <= 0", against_one},
    {"against_zero", "x u> 0 -> x != 0", against_zero},
};
const RULE known_zero_rules[] = {{"never_zero", "x == 0 -> 0, x not zero", never_zero}};
const RULE range_rules[] = {{"beyond_the_range", "x <= MAX -> 1", beyond_the_range}};

// In their order: cheap tests of the shape first, questions about values last.
const RULE_SET* const groups[] = {&relop_truth,        &relop_scale,     &relop_quotient,   &relop_constant_conversion,
                                  &relop_zero_and_one, &relop_offset,    &relop_bits,       &relop_boolean,
                                  &relop_congruent,    &relop_increment, &relop_conversion, &relop_saturation,
                                  &relop_known_zero,   &relop_range};

bool is_word_like(TYPE* type) { return is_integer_like(type) || type->is_ptr(); }

} // namespace

const RULE_SET relop_truth("relop_truth", truth_rules);
const RULE_SET relop_zero_and_one("relop_zero_and_one", zero_and_one_rules);
const RULE_SET relop_known_zero("relop_known_zero", known_zero_rules);
const RULE_SET relop_range("relop_range", range_rules);

NODE* simp_relop(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    // Floating comparisons stay: of NaN nothing holds that the rules assume.
    if (!is_word_like(tree->left->type) || !is_word_like(tree->right->type)) return tree;
    // Of a value that is compared with zero only the truth counts.
    if (is_truth_test(tree)) {
        bool hoisted = tree->left->op != COMMAOP;
        tree->left = simp_for_control(tree->left, loop, context);
        if (tree->left->op == COMMAOP && hoisted) return simp_node(tree, loop, context);
        if (!is_word_like(tree->left->type)) return tree;
        if (tree->right->op == PCONV && !tree->left->type->is_ptr()) {
            erase_tree(tree->right);
            tree->right = mk_ICON(0, tree->left->type);
        }
        if (tree->left->op == ICON) return fold_node(tree);
    }
    // In an unsigned type the orderings are unsigned.
    if (is_signed_order(tree->op)) {
        TYPE* common = combined_type(tree->left, tree->right);
        if (!is_integer_like(common) || !common->is_signed()) tree->op = as_unsigned(tree->op);
    }
    if (loop != nullptr) {
        tree = simp_constraint_given_loop_givens(tree, loop);
        if (boolean_inv[tree->op & 255] == ILLOP) return tree;
    }
    for (const RULE_SET* group : groups)
        if (NODE* result = group->try_rules(tree, loop, context)) return result;
    return tree;
}
