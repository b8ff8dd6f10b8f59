// Rules that PLUS and MINUS share: factors and like terms, and helpers of all arithmetic rules.
//
// What stops the rules from undoing each other: a product of a sum is never multiplied out but for a constant term,
// (x + C) * K, and the rules here make no sum with a constant term under a product. Like terms leave fewer nodes;
// common factors leave fewer products. Products of two 16-bit factors are one step of the target and stay.
#include "simp/arith.h"
#include "simp/fold.h"
#include "simp/ranges.h"

#include "ir/opt_expr.h"

namespace {

constexpr int max_spine = 8;        // sums looked at, down the left spine
constexpr int max_term_nodes = 24;  // larger terms are not compared
constexpr int max_purity_walk = 60; // nodes looked at before an operand counts as one with effects

bool is_product(const NODE* node, uint32_t width) { return is_modular_node(node, MULT, width); }
bool is_scaled(const NODE* node, uint32_t width) { return is_product(node, width) && node->right->op == ICON; }

// A constant, or a variable that both products read alike.
bool same_factor(const NODE* a, const NODE* b) {
    if (a->op != b->op) return false;
    if (a->op == ICON) return a->u.lval == b->u.lval;
    return a->op == NAME && a->u.sym == b->u.sym && a->type == b->type && !a->type->is_volatile();
}

// A term of a sum: base * factor + offset, with factor 1 for anything but a product by a constant or a negation. Of a
// constant the base is the constant itself. The offset is that of (x + C) * K and (C - x) * K, which are not multiplied
// out where the product C * K is larger than the type; counted modulo 2^width it is a constant like any other.
struct TERM {
    NODE* base;
    INT65 factor;
    bool product;
    INT65 offset;
};

TERM term_of(NODE* node, uint32_t width) {
    if (is_modular_node(node, UMINUS, width)) return {node->left, INT65(-1), false, 0};
    if (!is_scaled(node, width)) return {node, INT65(1), false, 0};
    NODE* x = node->left;
    INT65 factor = signed_value(node->right, node->type);
    if (is_modular_node(x, PLUS, width) && x->right->op == ICON)
        return {x->left, factor, true, signed_value(x->right, node->type) * factor};
    if (is_modular_node(x, MINUS, width) && x->left->op == ICON)
        return {x->right, -factor, true, signed_value(x->left, node->type) * factor};
    return {x, factor, true, 0};
}

bool same_base(const TERM& a, const TERM& b) {
    if (a.base->op == ICON || b.base->op == ICON) return a.base->op == b.base->op;
    return same_term(a.base, b.base);
}

// Merging two terms is worth while if they cancel, or if it saves a product that costs something.
bool worth_merging(NODE* a, const TERM& ta, NODE* b, const TERM& tb, INT65 sum, LOOP_RECORD* loop, CONTEXT* context) {
    if (ta.base->op == ICON || sum.is_zero()) return true;
    if (!ta.product && !tb.product) return false;
    return !(ta.product && tree_is_16x16_mpy(a, loop, context)) && !(tb.product && tree_is_16x16_mpy(b, loop, context));
}

// The sums from the top left operand down to the one that holds a like term. `links` are the places that hold them,
// topmost first; the last one holds the sum with the term on its right, or the term itself at the end of the spine.
struct SPINE {
    NODE** links[max_spine + 1];
    int count = 0;
    bool at_end = false;
    NODE* term = nullptr;
    bool negative = false; // the term is subtracted
};

// The first like term on the spine.
bool find_like_term(NODE* tree, const TERM& wanted, SPINE& spine) {
    uint32_t width = tree->type->size();
    NODE** link = &tree->left;
    for (; spine.count < max_spine; link = &(*link)->left) {
        NODE* node = *link;
        spine.links[spine.count++] = link;
        bool sum = is_sum(node, PLUS, width) || is_sum(node, MINUS, width);
        spine.at_end = !sum;
        spine.term = sum ? node->right : node;
        spine.negative = sum && node->op == MINUS;
        if (same_base(term_of(spine.term, width), wanted)) return true;
        if (!sum) return false;
    }
    return false;
}

// Puts base * factor, or the constant, in place of the term that was found; the sums above are simplified anew.
void replace_term(const SPINE& spine, NODE* term, bool cancelled, LOOP_RECORD* loop, CONTEXT* context) {
    int i = spine.count - 1;
    NODE** link = spine.links[i];
    if (spine.at_end) {
        erase_tree(*link);
        *link = term;
    } else if (cancelled) {
        NODE* sum = *link;
        TYPE* type = sum->type;
        if (term != nullptr) erase_tree(term);
        *link = coerce_to_type(take_left(sum), type);
    } else {
        NODE* sum = *link;
        erase_tree(sum->right);
        sum->right = term;
        clear_mark(sum);
        *link = simp_node(sum, loop, context);
    }
    while (--i >= 0) {
        clear_mark(*spine.links[i]);
        *spine.links[i] = simp_node(*spine.links[i], loop, context);
    }
}

} // namespace

// ---------------------------------------------------------------------------------------------------------- helpers

TYPE* integer_type_of(TYPE* type) { return type->is_ptr() ? tp->ptr_int() : value_type(type); }

NODE* mk_constant(INT65 value, TYPE* type) { return mk_ICON(value, integer_type_of(type)); }

INT65 signed_value(const NODE* icon, TYPE* type) { return sign_extend_by_type_size(icon->u.lval, type); }

bool may_swap(const NODE* a, const NODE* b) {
    return tree_is_pure(b, max_purity_walk) || tree_is_pure(a, max_purity_walk);
}

bool same_term(const NODE* a, const NODE* b) {
    if (a->op != b->op && commute_inv[a->op & 255] != b->op) return false;
    // Trees of different sizes differ; finding that out by comparing operands in every order is costly in chains.
    int nodes = count_nodes_in_tree(a, max_term_nodes);
    return nodes < max_term_nodes && count_nodes_in_tree(b, max_term_nodes) == nodes && trees_are_congruent(a, b);
}

NODE* take_left(NODE* tree) {
    NODE* value = tree->left;
    if (tree->right != nullptr) erase_tree(tree->right);
    erase_node(tree);
    return value;
}

// ------------------------------------------------------------------------------------------------------------ rules

// Two products of one factor cost a product more than one. Equal terms are left to like_terms. A variable as the factor
// is read once instead of twice, so nothing may change it in between.
NODE* common_factor(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* a = tree->left;
    NODE* b = tree->right;
    uint32_t width = tree->type->size();
    if (!is_modular(tree->type) || !is_product(a, width) || !is_product(b, width)) return nullptr;
    if (!same_factor(a->right, b->right) || same_term(a->left, b->left)) return nullptr;
    if (a->right->op != ICON && !(tree_is_pure(a->left) && tree_is_pure(b->left))) return nullptr;
    if (tree_is_16x16_mpy(a, loop, context) || tree_is_16x16_mpy(b, loop, context)) return nullptr;
    NODE* factor = a->right;
    NODE* x = a->left;
    erase_node(a);
    erase_node(b->right);
    NODE* sum = simp_node(remake(b, tree->op, x, b->left, tree->type), loop, context);
    return simp_node(remake(tree, MULT, sum, factor, tree->type), loop, context);
}

// The pointer at the left end of the sums cancels against one that is subtracted: what is left is a sum of integers.
static bool retype_as_integers(const SPINE& spine, TYPE* type) {
    for (int i = 0; i + 1 < spine.count; i++)
        if (!(*spine.links[i])->type->is_ptr()) return false;
    for (int i = 0; i + 1 < spine.count; i++) (*spine.links[i])->type = (*spine.links[i])->orig_type = type;
    return true;
}

// The term on the right joins the first like one among the terms on the left. What is merged this way:
//     (x - y) + y -> x,  (x + y) - x -> y,  x * C + x -> x * (C + 1),  (a + x * 3) - x * 5 -> a + x * -2,
//     (C - x) + K and (x + C - y) + K, the constants,
//     (x + C1) * K1 + (x + C2) * K2 -> x * (K1 + K2) + C, where C1 * K1 had been too large to multiply out, and so
//     (C - x) * K + x, with x as x * 1. The result is never (x * f + C) * g: that would be multiplied out again.
NODE* like_terms(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = tree->type;
    uint32_t width = type->size();
    if (!is_sum(tree, tree->op, width)) return nullptr;
    TERM b = term_of(tree->right, width);
    SPINE spine;
    if (!find_like_term(tree, b, spine)) return nullptr;
    TERM a = term_of(spine.term, width);
    bool constants = a.base->op == ICON;
    INT65 left = constants ? signed_value(a.base, type) : a.factor;
    INT65 right = constants ? signed_value(b.base, type) : b.factor;
    if (tree->op == MINUS) right = -right;
    // In a subtraction the term that stays is the negation of what the two add up to.
    INT65 sum = sign_extend_by_type_size(spine.negative ? left - right : left + right, type);
    if (!worth_merging(spine.term, a, tree->right, b, sum, loop, context)) return nullptr;
    INT65 offset = (spine.negative ? -a.offset : a.offset) + (tree->op == MINUS ? -b.offset : b.offset);
    bool cancelled = sum.is_zero();
    if (a.base->type->is_ptr() && spine.at_end && !(cancelled && is_modular(type) && retype_as_integers(spine, type)))
        return nullptr;
    NODE* term = nullptr;
    if (constants || (cancelled && spine.at_end))
        term = mk_constant(sum, type);
    else if (!cancelled)
        term =
            simp_node(maketree(MULT, copy_tree(a.base), mk_constant(sum, type), integer_type_of(type)), loop, context);
    replace_term(spine, term, cancelled, loop, context);
    NODE* result = coerce_to_type(take_left(tree), type);
    if (sign_extend_by_type_size(offset, type).is_zero()) return result;
    LS* scope = result->scope;
    return simp_node(maketree(PLUS, result, mk_constant(offset, type), type, scope), loop, context);
}
