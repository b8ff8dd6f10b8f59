// Comparisons of single bits, and of values that are 0 or 1.
#include "simp/relop_int.h"

namespace {

// ------------------------------------------------------------------------------------------------------------ bit
// tests

bool is_mask(const NODE* tree) { return tree->op == ANDB && tree->right->op == ICON && is_integer_like(tree->type); }

// (x & P) == P  ->  (x & P) != 0        P a power of two
NODE* single_bit(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CONSTANT_TEST test;
    if (!is_equality(tree->op) || !is_mask(tree->left) || !is_constant_test(tree, test)) return nullptr;
    INT65 p = tree->left->right->u.lval;
    if (p <= INT65(0) || p > int_type_max(test.type) || power_of_2(p) < 0 || test.k != p) return nullptr;
    tree->right->u.lval = INT65(0);
    tree->op = boolean_inv[tree->op];
    return simp_node(tree, loop, context);
}

// a == b  ->  0        a bit is one on one side and zero on the other
NODE* different_bits(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE *a = tree->left, *b = tree->right;
    if (!is_equality(tree->op) || !is_integer_like(a->type) || !is_integer_like(b->type)) return nullptr;
    TYPE* common = combined_type(a, b);
    INT65 ones_a = find_known_ones(a, common), ones_b = find_known_ones(b, common);
    if (ones_a.is_zero() && ones_b.is_zero()) return nullptr;
    bool differ = !(ones_b & ~find_known_zeros(a, common)).is_zero() ||
                  (!ones_a.is_zero() && !(ones_a & ~find_known_zeros(b, common)).is_zero());
    return differ ? decided(tree, tree->op == NEQ) : nullptr;
}

// x < 0  ->  1 or 0    the sign bit is known
NODE* known_sign(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    CONSTANT_TEST test;
    if ((tree->op != LT && tree->op != GE) || !is_constant_test(tree, test) || !test.k.is_zero()) return nullptr;
    if (!test.common->is_signed()) return nullptr;
    INT65 sign = INT65(1) << (test.common->size() - 1);
    bool negative = !(find_known_ones(test.x, test.common) & sign).is_zero();
    if (!negative && !(find_known_zeros(test.x, test.common) & sign).is_zero()) return nullptr;
    return decided(tree, (tree->op == LT) == negative);
}

// (x & M) < 2^n  ->  (x & M & ~(2^n - 1)) == 0        M leaves no sign
// Only under a mask, which takes the new one in; of a plain variable the ordering is the better form, since loops are
// known by it.
NODE* high_bits(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CONSTANT_TEST test;
    if (!is_mask(tree->left) || is_equality(tree->op) || !is_constant_test(tree, test) || !test.same_width)
        return nullptr;
    int op = as_signed(test.op);
    if (op != LT && op != GE) return nullptr;
    if (test.k <= INT65(0) || power_of_2(test.k) < 0) return nullptr;
    NODE* mask = tree->left->right;
    INT65 m = mask->u.lval & type_mask(test.type);
    if (!test.type->is_unsigned() && m > int_type_max(test.type)) return nullptr;
    mask->u.lval = truncate_to_type(m & ~(test.k - INT65(1)), test.type);
    mask->type = test.type;
    NODE* masked = simp_node(tree->left, loop, context);
    tree->right->u.lval = INT65(0);
    return compare_again(tree, op == LT ? EQ : NEQ, masked, tree->right, loop, context);
}

// ----------------------------------------------------------------------------------------------------- values 0 and 1

bool both_invert(const NODE* a, const NODE* b) {
    return tree_is_trivially_invertible(a) && tree_is_trivially_invertible(b);
}

// The comparison with zero goes; its left operand, a logical operation, takes the opposites of its operands.
NODE* opposite_operands(NODE* tree, int op, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* operation = tree->left;
    erase_tree(tree->right);
    erase_node(tree);
    NODE* a = negated(operation->left, loop, context);
    NODE* b = negated(operation->right, loop, context);
    if (op == ANDB || op == ORB) {
        a = make_boolean(a, loop, context);
        b = make_boolean(b, loop, context);
    }
    return simp_node(remake(operation, op, a, b, tp->int_type()), loop, context);
}

// (a && b) == 0  ->  !a || !b        a, b: comparisons; || likewise
NODE* opposite_logic(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    const NODE* logic = tree->left;
    if (tree->op != EQ || !is_zero_ICON(tree->right) || (logic->op != ANDAND && logic->op != OROR)) return nullptr;
    if (!both_invert(logic->left, logic->right)) return nullptr;
    return opposite_operands(tree, logic->op == ANDAND ? OROR : ANDAND, loop, context);
}

// (a & b) == 0  ->  !a | !b          a, b: comparisons; | likewise
NODE* opposite_bits(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    const NODE* bits = tree->left;
    if (tree->op != EQ || !is_zero_ICON(tree->right) || (bits->op != ANDB && bits->op != ORB)) return nullptr;
    if (!both_invert(bits->left, bits->right)) return nullptr;
    return opposite_operands(tree, bits->op == ANDB ? ORB : ANDB, loop, context);
}

// (c ? a : b) == 0  ->  c ? !a : !b       a, b: comparisons
NODE* opposite_arms(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* choice = tree->left;
    if (tree->op != EQ || !is_zero_ICON(tree->right) || choice->op != QUEST || choice->right->op != COLON)
        return nullptr;
    NODE* arms = choice->right;
    if (arms->left == nullptr || arms->right == nullptr || !both_invert(arms->left, arms->right)) return nullptr;
    erase_node(tree->right);
    erase_node(tree);
    auto inverted = [&](NODE* arm) {
        arm->op = boolean_inv[arm->op];
        return coerce_to_type(simp_node(arm, loop, context), tp->int_type());
    };
    arms->left = inverted(arms->left);
    arms->right = inverted(arms->right);
    arms->type = arms->orig_type = tp->int_type();
    return simp_node(remake(choice, QUEST, choice->left, arms, tp->int_type()), loop, context);
}

// b == 1  ->  b      b != 1  ->  b ^ 1      b == K  ->  0         b: 0 or 1
NODE* boolean_and_constant(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CONSTANT_TEST test;
    if (!is_equality(tree->op) || !is_constant_test(tree, test) || test.k.is_zero()) return nullptr;
    if (!returns_1_or_0(test.x)) return nullptr;
    if (test.k != INT65(1)) return decided(tree, tree->op == NEQ);
    NODE* b = tree->left;
    bool same = tree->op == EQ;
    if (same || tree_is_trivially_invertible(b)) {
        erase_node(tree->right);
        erase_node(tree);
        if (!same) b = simp_node(invert_boolean_tree(b), loop, context);
        return coerce_to_type(b, tp->int_type());
    }
    TYPE* type = promoted_type(b->type);
    tree->right->type = type;
    tree->right->u.lval = INT65(1);
    return coerce_to_type(simp_node(remake(tree, XORB, coerce_to_type(b, type), tree->right, type), loop, context),
                          tp->int_type());
}

const RULE bits_rules[] = {
    {"single_bit", "(x & P) == P -> (x & P) != 0", single_bit},
    {"different_bits", "a == b -> 0, a known bit differs", different_bits},
    {"known_sign", "x < 0 -> 0, sign known", known_sign},
    {"high_bits", "(x & M) < 2^n -> (x & M & ~(2^n - 1)) == 0", high_bits},
};
const RULE boolean_rules[] = {
    {"opposite_logic", "(a && b) == 0 -> !a || !b", opposite_logic},
    {"opposite_bits", "(a & b) == 0 -> !a | !b", opposite_bits},
    {"opposite_arms", "(c ? a : b) == 0 -> c ? !a : !b", opposite_arms},
    {"boolean_and_constant", "b == 1 -> b", boolean_and_constant},
};

} // namespace

const RULE_SET relop_bits("relop_bits", bits_rules);
const RULE_SET relop_boolean("relop_boolean", boolean_rules);
