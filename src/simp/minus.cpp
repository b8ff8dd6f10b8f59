// Rules of MINUS. All hold modulo 2^width, for signed and unsigned alike.
//
// A difference moves towards: no constant but on the left, no negation, one subtraction of a sum instead of several,
// and constants on top as additions. Where the source's own signed subtraction is known not to overflow, the constant
// of its left or right operand stays where it is: on top of a difference that might overflow, that knowledge would be
// lost.
#include "simp/arith.h"
#include "simp/fold.h"
#include "simp/rules.h"

#include "ir/opt_expr.h"

namespace {

// (T)x - y -> x - y, where T is as wide as x and x has the type of the difference already
NODE* converted_operand(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    if (!is_modular(tree->type) || is_exact_mark(tree)) return nullptr;
    for (NODE** operand : {&tree->left, &tree->right}) {
        if (!is_modular_node(*operand, SCONV, width) || !alike((*operand)->left->type, tree->type)) continue;
        *operand = take_left(*operand);
        return simp_node(tree, loop, context);
    }
    return nullptr;
}

// x - x -> 0
NODE* equal_operands(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    constexpr int max_nodes = 100; // long chains of the same terms in another order are costly to tell apart
    if (!is_modular(tree->type) || count_nodes_in_tree(tree->right, max_nodes) >= max_nodes) return nullptr;
    if (!trees_are_congruent(tree->left, tree->right)) return nullptr;
    NODE* zero = mk_constant(0, tree->type);
    zero->scope = tree->scope;
    erase_tree(tree);
    return zero;
}

// x - C -> x + -C, but for the smallest value of a signed type
NODE* minus_constant(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->right->op != ICON || tree->left->type->is_ptr() != tree->type->is_ptr()) return nullptr;
    TYPE* type = integer_type_of(tree->type);
    INT65 c = truncate_to_type(tree->right->u.lval, type);
    if (type->is_signed() && c == int_type_min(type)) return nullptr;
    bool exact = is_exact_mark(tree);
    erase_node(tree->right);
    remake(tree, PLUS, tree->left, mk_constant(-c, type), tree->type);
    set_mark(tree, exact);
    return simp_node(tree, loop, context);
}

// 0 - x -> -x
NODE* from_zero(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->left->op != ICON || !tree->left->u.lval.is_zero()) return nullptr;
    if (!is_modular_node(tree, MINUS, tree->type->size())) return nullptr;
    bool exact = is_exact_mark(tree);
    erase_node(tree->left);
    remake(tree, UMINUS, tree->right, nullptr, tree->type);
    set_mark(tree, exact);
    return simp_node(tree, loop, context);
}

// x - -y -> x + y
NODE* minus_negation(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* negation = tree->right;
    if (!is_modular_node(negation, UMINUS, tree->type->size())) return nullptr;
    bool exact = is_exact_mark(tree) && is_exact_mark(negation) && alike(negation->type, tree->type);
    remake(tree, PLUS, tree->left, negation->left, tree->type);
    set_mark(tree, exact);
    erase_node(negation);
    return simp_node(tree, loop, context);
}

// a - (a + c) -> -c,  a - (c + a) -> -c
NODE* minus_sum_with_same_term(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* sum = tree->right;
    if (!is_modular(tree->type) || !is_sum(sum, PLUS, tree->type->size())) return nullptr;
    for (bool left : {true, false}) {
        NODE* same = left ? sum->left : sum->right;
        NODE* other = left ? sum->right : sum->left;
        if (!is_modular(other->type) || !same_term(same, tree->left)) continue;
        erase_tree(same);
        erase_tree(tree->left);
        erase_node(sum);
        return simp_node(remake(tree, UMINUS, other, nullptr, tree->type), loop, context);
    }
    return nullptr;
}

// (a - b) - c -> a - (b + c)
NODE* two_subtractions(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    NODE* c = tree->right;
    if (!is_sum(inner, MINUS, tree->type->size()) || inner->type->is_ptr() != tree->type->is_ptr()) return nullptr;
    if (!is_modular(inner->right->type) || !is_modular(c->type) || c->op == ICON) return nullptr;
    NODE* a = inner->left;
    remake(inner, PLUS, inner->right, c, integer_type_of(tree->type));
    return simp_node(remake(tree, MINUS, a, simp_node(inner, loop, context), tree->type), loop, context);
}

// a - (b - c) -> (a + c) - b
NODE* minus_difference(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->right;
    if (!is_modular_node(inner, MINUS, tree->type->size()) || !is_word(tree->left->type)) return nullptr;
    NODE* b = inner->left;
    if (!may_swap(b, inner->right)) return nullptr;
    NODE* sum = simp_node(remake(inner, PLUS, tree->left, inner->right, tree->type), loop, context);
    return simp_node(remake(tree, MINUS, sum, b, tree->type), loop, context);
}

// -1 - x -> ~x
NODE* from_minus_one(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->left->op != ICON || !is_modular_node(tree, MINUS, tree->type->size())) return nullptr;
    if (signed_value(tree->left, tree->type) != INT65(-1)) return nullptr;
    erase_node(tree->left);
    NODE* x = coerce_to_type(tree->right, tree->type);
    return simp_node(remake(tree, NOTB, x, nullptr, tree->type), loop, context);
}

// x - (x & M) -> x & ~M
NODE* minus_own_bits(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* bits = tree->right;
    uint32_t width = tree->type->size();
    if (!is_modular_node(bits, ANDB, width) || bits->right->op != ICON || !is_modular_node(tree, MINUS, width))
        return nullptr;
    if (!same_term(bits->left, tree->left)) return nullptr;
    INT65 mask = bits->right->u.lval;
    erase_tree(bits);
    return simp_node(remake(tree, ANDB, tree->left, mk_constant(~mask, tree->type), tree->type), loop, context);
}

// (x + C) - y -> (x - y) + C
NODE* constant_out_of_left(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* sum = tree->left;
    if (!is_sum(sum, PLUS, tree->type->size()) || sum->right->op != ICON || is_exact_mark(tree)) return nullptr;
    if (!is_word(tree->right->type)) return nullptr;
    NODE* c = mk_constant(sum->right->u.lval, tree->type);
    erase_node(sum->right);
    NODE* rest = simp_node(remake(sum, MINUS, sum->left, tree->right, tree->type), loop, context);
    return simp_node(remake(tree, PLUS, rest, c, tree->type), loop, context);
}

// x - (y + C) -> (x - y) + -C
NODE* constant_out_of_right(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* sum = tree->right;
    if (!is_sum(sum, PLUS, tree->type->size()) || sum->right->op != ICON || is_exact_mark(tree)) return nullptr;
    if (!is_word(tree->left->type)) return nullptr;
    NODE* c = mk_constant(-sum->right->u.lval, tree->type);
    erase_node(sum->right);
    NODE* rest = simp_node(remake(sum, MINUS, tree->left, sum->left, tree->type), loop, context);
    return simp_node(remake(tree, PLUS, rest, c, tree->type), loop, context);
}

const RULE rules[] = {
    {"converted_operand", "(T)x - y -> x - y", converted_operand},
    {"equal_operands", "x - x -> 0", equal_operands},
    {"minus_constant", "x - C -> x + -C", minus_constant},
    {"from_zero", "0 - x -> -x", from_zero},
    {"minus_negation", "x - -y -> x + y", minus_negation},
    {"minus_sum_with_same_term", "a - (a + c) -> -c", minus_sum_with_same_term},
    {"like_terms", "(... x * C1 ...) - x * C2 -> ... x * (C1 - C2) ...", like_terms},
    {"common_factor", "x * c - y * c -> (x - y) * c", common_factor},
    {"common_scale", "(x * 2^a) - (y * 2^b) -> ((x * 2^(a - b)) - y) * 2^b", common_scale},
    {"two_subtractions", "(a - b) - c -> a - (b + c)", two_subtractions},
    {"minus_difference", "a - (b - c) -> (a + c) - b", minus_difference},
    {"from_minus_one", "-1 - x -> ~x", from_minus_one},
    {"minus_own_bits", "x - (x & M) -> x & ~M", minus_own_bits},
    {"constant_out_of_left", "(x + C) - y -> (x - y) + C", constant_out_of_left},
    {"constant_out_of_right", "x - (y + C) -> (x - y) + -C", constant_out_of_right},
};
const RULE_SET rule_set("MINUS", rules);

} // namespace

NODE* simp_MINUS(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    return is_word(tree->type) ? rule_set.run(tree, loop, context) : tree;
}
