// Chains of one associative operator: PLUS, MULT, ANDB, ORB, XORB.
//
// A chain leans to the left. Terms that are leaves stand outside of those that are not, the constant outermost, so that
// constants meet. Every rule either brings a constant out, a larger term in, or takes nodes away. Walks along a chain
// are bounded: the rare chain beyond the bound keeps its shape. Floating operands only change sides.
#include "simp/fold.h"
#include "simp/logic.h"
#include "simp/ranges.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

#include <utility>

namespace {

constexpr int max_chain_walk = 8;   // links of a chain that one rule looks at
constexpr int max_purity_walk = 60; // nodes looked at before an operand counts as one with effects

bool is_constant_leaf(const NODE* tree) {
    return tree->op == ICON || tree->op == FCON || tree->op == SCON || is_address_of_object(tree);
}

bool is_bitwise(int op) { return op == ANDB || op == ORB || op == XORB; }

// A chain link of integers, or, for sums, of one pointer and integers of its width.
bool is_link(const NODE* node, int op, uint32_t width) {
    if (op == PLUS) return is_sum(node, op, width);
    return is_modular_node(node, op, width);
}

bool is_chain_top(const NODE* tree) { return is_link(tree, tree->op, tree->type->size()); }

// Beside a pointer an integer must have the pointer's width, so that the sum wraps where the pointer does.
bool fits_beside_pointer(const NODE* tree, TYPE* pointer) {
    return tree->type->is_ptr() || (is_modular(tree->type) && tree->type->size() == pointer->size());
}

// The type of a link after its operands changed: that of the pointer if it still holds one.
TYPE* link_type(const NODE* node, TYPE* top) {
    if (!top->is_ptr() || node->left->type->is_ptr() || node->right->type->is_ptr()) return top;
    return combined_type(node->left, node->right);
}

} // namespace

bool order_is_free(const NODE* a, const NODE* b) {
    if (is_constant_leaf(a) || is_constant_leaf(b)) return true;
    bool a_pure = tree_is_pure(a, max_purity_walk), b_pure = tree_is_pure(b, max_purity_walk);
    if (a_pure && b_pure) return true;
    const NODE* variable = a_pure && a->op == NAME ? a : b_pure && b->op == NAME ? b : nullptr;
    const NODE* effect = variable == a ? b : a;
    return variable != nullptr && count_nodes_in_tree(effect, max_purity_walk) < max_purity_walk &&
           !tree_modifies_lvalue_in_tree(effect, variable);
}

INT65 possible_ones(NODE* operand, TYPE* type) { return find_known_zeros(operand, type) & type_mask(type); }
INT65 certain_ones(NODE* operand, TYPE* type) { return find_known_ones(operand, type) & type_mask(type); }

NODE* left_as_value(NODE* tree) {
    TYPE* type = tree->type;
    LS* scope = tree->scope;
    NODE* value = coerce_to_type(take_left(tree), type);
    if (value->scope == nullptr) value->scope = scope;
    return value;
}

void set_right_constant(NODE* tree, INT65 value) {
    NODE* icon = tree->right;
    icon->type = icon->orig_type = tree->type->is_ptr() ? tp->ptr_int() : value_type(tree->type);
    icon->u.lval = truncate_to_type(value, icon->type);
    clear_mark(tree);
}

NODE* constant_after_effects(NODE* tree, INT65 value, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* icon = mk_ICON(value, value_type(tree->type));
    icon->scope = tree->scope;
    erase_tree(tree->right);
    return simp_node(remake(tree, COMMAOP, tree->left, icon, icon->type), loop, context);
}

namespace {

// ---------------------------------------------------------------------------------------------------------- order

// leaf op x -> x op leaf
NODE* leaf_to_the_right(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (commute_inv[tree->op] != tree->op || !is_leaf(tree->left) || is_leaf(tree->right)) return nullptr;
    if (!order_is_free(tree->left, tree->right)) return nullptr;
    std::swap(tree->left, tree->right);
    return simp_node(tree, loop, context);
}

// (T)x op y -> x op y, where the conversion only changes the sign and x has the type of the node
NODE* drop_sign_change(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_modular(tree->type)) return nullptr;
    bool dropped = false;
    for (NODE** operand : {&tree->left, &tree->right}) {
        NODE* conversion = *operand;
        if (conversion->op != SCONV || !is_modular(conversion->type)) continue;
        if (conversion->type->size() != tree->type->size() || !alike(conversion->left->type, tree->type)) continue;
        *operand = conversion->left;
        erase_node(conversion);
        dropped = true;
    }
    return dropped ? simp_node(tree, loop, context) : nullptr;
}

// ---------------------------------------------------------------------------------------------- terms of one chain

// Moves the term `tree->right` below the `count` links under the top; the right operands of those move one link out.
NODE* move_term_in(NODE* tree, int count, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* links[max_chain_walk + 1];
    NODE* term = tree->right;
    NODE* above = tree;
    for (int i = 0; i < count; i++) {
        links[i] = above->left;
        above->right = above->left->right;
        above = above->left;
    }
    above->right = term;
    TYPE* top = tree->type;
    for (int i = count - 1; i >= 0; i--) {
        NODE* link = links[i];
        clear_mark(link);
        link->type = link->orig_type = link_type(link, top);
        NODE* done = simp_node(link, loop, context);
        (i > 0 ? links[i - 1] : tree)->left = done;
    }
    clear_mark(tree);
    return simp_node(tree, loop, context);
}

// (a op leaf) op x -> (a op x) op leaf
// (a op C) op x    -> (a op x) op C, also with an integer a and a pointer x
NODE* leaf_outward(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_chain_top(tree) || tree->right->op == ICON) return nullptr;
    TYPE* top = tree->type;
    uint32_t width = top->size();
    NODE* link = tree->left;
    if (!is_link(link, tree->op, width) || (top->is_ptr() && !fits_beside_pointer(tree->right, top))) return nullptr;
    bool constant_on_top = link->right->op == ICON;
    if (top->is_ptr() && !link->type->is_ptr() && !constant_on_top) return nullptr;
    if (top->is_ptr() && !fits_beside_pointer(link->left, top)) return nullptr;
    int count = 0;
    if (!is_leaf(tree->right))
        for (; is_link(link, tree->op, width) && is_leaf(link->right); link = link->left) {
            bool passes = !top->is_ptr() || (link->type->is_ptr() && fits_beside_pointer(link->left, top) &&
                                             fits_beside_pointer(link->right, top));
            if (!passes || !order_is_free(link->right, tree->right)) break;
            if (++count > max_chain_walk) break;
        }
    if (count > max_chain_walk || count == 0) count = constant_on_top ? 1 : 0;
    return count > 0 ? move_term_in(tree, count, loop, context) : nullptr;
}

// a op (b op c) -> (a op b) op c. The whole right chain is put on top of the left one, in one step.
NODE* lean_left(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_chain_top(tree) || tree->type->is_ptr()) return nullptr;
    int op = tree->op;
    uint32_t width = tree->type->size();
    NODE* links[max_chain_walk];
    int count = 0;
    NODE* node = tree->right;
    for (; is_link(node, op, width) && !node->type->is_ptr(); node = node->left) {
        if (count == max_chain_walk) return nullptr;
        links[count++] = node;
    }
    if (count == 0) return nullptr;
    TYPE* type = tree->type;
    NODE* top = tree->right;
    if (top->scope == nullptr) top->scope = tree->scope;
    // The old top becomes the lowest link: its left operand stays, its right one is the first term of the right chain.
    NODE* lowest = simp_node(remake(tree, op, tree->left, node, type), loop, context);
    // Each link is taken up again: its term may be like one of the chain that is now below it.
    for (int i = count - 1; i >= 0; i--) {
        NODE* link = links[i];
        link->left = lowest;
        link->type = link->orig_type = type;
        clear_mark(link);
        lowest = simp_node(link, loop, context);
    }
    return lowest;
}

// p + (i + C) -> (p + i) + C and i + (j + p) -> (i + j) + p, for a pointer p and integers of its width
NODE* lean_left_pointer(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op != PLUS || !tree->type->is_ptr() || !is_chain_top(tree)) return nullptr;
    NODE* chain = tree->right;
    TYPE* type = tree->type;
    if (!is_link(chain, PLUS, type->size())) return nullptr;
    if (!chain->type->is_ptr() && chain->right->op != ICON) return nullptr;
    for (const NODE* operand : {tree->left, chain->left, chain->right})
        if (!fits_beside_pointer(operand, type)) return nullptr;
    int depth = 0; // each link of the chain is one more step
    for (const NODE* link = chain; link->op == PLUS; link = link->left)
        if (++depth > max_chain_walk) return nullptr;
    LS* scope = tree->scope;
    NODE* inner = remake(tree, PLUS, tree->left, chain->left, type);
    inner->type = inner->orig_type = link_type(inner, type);
    inner = simp_node(inner, loop, context);
    remake(chain, PLUS, inner, chain->right, type);
    if (chain->scope == nullptr) chain->scope = scope;
    return simp_node(chain, loop, context);
}

// ------------------------------------------------------------------------------------------------------ constants

// x + 0, x | 0, x ^ 0 -> x;  x & 0 -> (x, 0)
NODE* neutral_constant(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->right->op != ICON || tree->op == MULT || !is_word(tree->type)) return nullptr;
    if (!bits_of(tree->right, tree->type).is_zero()) return nullptr;
    return tree->op == ANDB ? constant_after_effects(tree, 0, loop, context) : left_as_value(tree);
}

// b & 1 -> b;  b | 1 -> (b, 1), for b that is 0 or 1
NODE* one_of_boolean(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if ((tree->op != ANDB && tree->op != ORB) || tree->right->op != ICON || tree->right->u.lval != INT65(1))
        return nullptr;
    if (!is_modular(tree->type) || !returns_1_or_0(tree->left)) return nullptr;
    return tree->op == ANDB ? left_as_value(tree) : constant_after_effects(tree, 1, loop, context);
}

INT65 joined(int op, INT65 a, INT65 b) {
    switch (op) {
    case PLUS: return a + b;
    case MULT: return a * b;
    case ANDB: return a & b;
    case ORB: return a | b;
    default: return a ^ b;
    }
}

// (x op C1) op C2 -> x op (C1 op C2). Both exact, and the new constant as well: the result is exact, too.
NODE* join_constants(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (tree->right->op != ICON || !is_chain_top(tree) || !is_link(inner, tree->op, tree->type->size())) return nullptr;
    if (inner->right->op != ICON || (tree->type->is_ptr() && !fits_beside_pointer(inner->left, tree->type)))
        return nullptr;
    INT65 value = joined(tree->op, inner->right->u.lval, tree->right->u.lval);
    bool exact = is_exact_mark(tree) && is_exact_mark(inner) && tree->type->is_signed() && inner->type->is_signed();
    if (exact) { // an unsigned constant counts as what the operator makes of it
        INT65 first = signed_value(inner->right, inner->type), second = signed_value(tree->right, tree->type);
        exact = value_fits_in_type(joined(tree->op, first, second), tree->type);
    }
    tree->left = inner->left;
    erase_node(inner->right);
    erase_node(inner);
    set_right_constant(tree, value);
    set_mark(tree, exact);
    return simp_node(tree, loop, context);
}

// --------------------------------------------------------------------------------------------- bitwise operations

// (wide)x op C -> (wide)(x op C), for an unsigned x of at most int's width and a C that sets no bit above it
NODE* narrow_operation(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = tree->type;
    uint32_t int_width = tp->int_type()->size();
    if (!is_bitwise(tree->op) || tree->right->op != ICON || !is_modular(type) || type->size() <= int_width)
        return nullptr;
    NODE* x = tree->left;
    if (x->op == SCONV && alike(x->type, type)) x = x->left;
    if (!is_integer_like(x->type) || !x->type->is_unsigned() || x->type->size() > int_width) return nullptr;
    TYPE* narrow = promoted_type(x->type);
    INT65 value = bits_of(tree->right, type);
    if (tree->op == ANDB)
        value = value & type_mask(x->type);
    else if (value > int_type_max(narrow)) // the sign of the narrow result would spread
        return nullptr;
    if (x != tree->left) erase_node(tree->left);
    LS* scope = tree->scope;
    tree->left = x;
    remake(tree, tree->op, x, tree->right, narrow);
    set_right_constant(tree, value);
    NODE* result = coerce_to_type(simp_node(tree, loop, context), type);
    if (result->scope == nullptr) result->scope = scope;
    return result;
}

// (x >> C1) op (y >> C2) -> ((x >> (C1 - C)) op (y >> (C2 - C))) >> C, with C the smaller count
NODE* common_right_shift(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* a = tree->left;
    NODE* b = tree->right;
    TYPE* type = tree->type;
    if (!is_bitwise(tree->op) || a->op != SRL || b->op != SRL || !is_modular(type)) return nullptr;
    for (const NODE* shift : {a, b}) {
        if (shift->right->op != ICON || !alike(shift->type, type) || !alike(shift->left->type, type)) return nullptr;
        if (shift->right->u.lval < INT65(1) || shift->right->u.lval >= INT65(type->size())) return nullptr;
    }
    INT65 count = std::min(a->right->u.lval, b->right->u.lval);
    auto reduce = [&](NODE* shift) -> NODE* {
        if (shift->right->u.lval == count) return left_as_value(shift);
        shift->right->u.lval -= count;
        return simp_node(shift, loop, context);
    };
    NODE* icon = mk_ICON(count, tp->int_type());
    LS* scope = tree->scope;
    a = reduce(a);
    b = reduce(b);
    NODE* inner = simp_node(remake(tree, tree->op, a, b, type), loop, context);
    return simp_node(maketree(SRL, inner, icon, type, scope), loop, context);
}

// (a & m) op (b & m) -> (a op b) & m, for | and ^; m may stand on either side
NODE* common_mask(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op != ORB && tree->op != XORB) return nullptr;
    NODE* x = tree->left;
    NODE* y = tree->right;
    TYPE* type = tree->type;
    uint32_t width = type->size();
    if (!is_modular(type) || !is_modular_node(x, ANDB, width) || !is_modular_node(y, ANDB, width)) return nullptr;
    if (!same_term(x->right, y->right)) {
        NODE* mask = x->left;
        if (!same_term(mask, y->left) || !order_is_free(mask, x->right) || !order_is_free(mask, y->right))
            return nullptr;
        std::swap(x->left, x->right);
        std::swap(y->left, y->right);
    } else if (!order_is_free(x->right, y->left))
        return nullptr;
    NODE* mask = y->right;
    erase_tree(x->right);
    LS* scope = tree->scope;
    NODE* inner = simp_node(remake(x, tree->op, x->left, y->left, type), loop, context);
    erase_node(y);
    NODE* result = remake(tree, ANDB, inner, mask, type);
    result->scope = scope;
    return simp_node(result, loop, context);
}

} // namespace

// The exponent of x * 2^k or x << k, -1 for anything else.
static int scale_of(const NODE* tree, TYPE* type) {
    if ((tree->op != MULT && tree->op != SLL) || tree->right->op != ICON || !alike(tree->type, type)) return -1;
    if (!is_modular(tree->left->type)) return -1;
    INT65 value = tree->right->u.lval;
    if (tree->op == MULT) return value > INT65(1) ? power_of_2(value) : -1;
    if (value < INT65(1) || value >= INT65(type->size()) || !alike(tree->left->type, type)) return -1;
    return static_cast<int>(value.low);
}

// (x * 2^a) op (y * 2^b) -> ((x * 2^(a - b)) op y) * 2^b, with b the smaller exponent; the same with shifts. Products
// of two 16-bit factors are one step of the target and stay.
NODE* common_scale(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = tree->type;
    if ((tree->op != PLUS && tree->op != MINUS && !is_bitwise(tree->op)) || !is_modular(type)) return nullptr;
    int a = scale_of(tree->left, type), b = scale_of(tree->right, type);
    if (a < 1 || b < 1) return nullptr;
    if (tree_is_16x16_mpy(tree->left, loop, context) || tree_is_16x16_mpy(tree->right, loop, context)) return nullptr;
    NODE* small = a < b ? tree->left : tree->right;
    NODE* large = a < b ? tree->right : tree->left;
    int common = std::min(a, b), rest = std::max(a, b) - common;
    int outer_op = small->op;
    NODE* factor = small->right;
    NODE* bare = small->left;
    erase_node(small);
    if (rest == 0) {
        large = left_as_value(large);
    } else {
        INT65 value = large->op == MULT ? INT65(1) << static_cast<unsigned>(rest) : INT65(rest);
        clear_mark(large);
        large->right->u.lval = truncate_to_type(value, large->right->type);
        large = simp_node(large, loop, context);
    }
    bare = coerce_to_type(bare, type);
    LS* scope = tree->scope;
    NODE* inner = remake(tree, tree->op, a < b ? bare : large, a < b ? large : bare, type);
    return simp_node(maketree(outer_op, simp_node(inner, loop, context), factor, type, scope), loop, context);
}

namespace {

const RULE rules[] = {
    {"leaf_right", "leaf op x -> x op leaf", leaf_to_the_right},
    {"sign_change", "(T)x op y -> x op y", drop_sign_change},
    {"leaf_outward", "(a op leaf) op x -> (a op x) op leaf", leaf_outward},
    {"neutral", "x + 0 -> x;  x & 0 -> (x, 0)", neutral_constant},
    {"boolean", "b & 1 -> b;  b | 1 -> (b, 1)", one_of_boolean},
    {"lean_left", "a op (b op c) -> (a op b) op c", lean_left},
    {"lean_left_pointer", "p + (i + C) -> (p + i) + C", lean_left_pointer},
    {"join_constants", "(x op C1) op C2 -> x op (C1 op C2)", join_constants},
    {"narrow", "(wide)x op C -> (wide)(x op C)", narrow_operation},
    {"common_right_shift", "(x >> C1) op (y >> C2) -> ((x >> C1 - C) op (y >> C2 - C)) >> C", common_right_shift},
    {"common_scale", "(x * 2^a) op (y * 2^b) -> ((x * 2^(a - b)) op y) * 2^b", common_scale},
    {"common_mask", "(a & m) op (b & m) -> (a op b) & m", common_mask},
};

} // namespace

const RULE_SET assoc_rules("assoc", rules);

NODE* simp_assoc(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) { return assoc_rules.run(tree, loop, context); }
