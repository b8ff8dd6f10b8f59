// ORB and XORB: bitwise or, bitwise exclusive or.
//
// A constant sinks the same way in both: a bit that the other operand cannot have makes ^ an |, one that it certainly
// has makes ^ an & or leaves the | idle. An ORB's constant hides bits of the left operand, which the mask rules use. Of
// a mask and an exclusive or the mask stands outside, of two constants of one kind there is one.
#include "simp/fold.h"
#include "simp/logic.h"
#include "simp/ranges.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

namespace {

bool has_constant(const NODE* tree) { return tree->right->op == ICON; }

// The operator applied to a constant, in the type of the outer node.
bool is_with_constant(const NODE* node, int op, const NODE* outer) {
    return is_modular_node(node, op, outer->type->size()) && has_constant(node);
}

// x | x -> x
NODE* or_same(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    return same_term(tree->left, tree->right) ? left_as_value(tree) : nullptr;
}

// x | all ones -> (x, all ones)
NODE* or_all_ones(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!has_constant(tree) || bits_of(tree->right, tree->type) != type_mask(tree->type)) return nullptr;
    return constant_after_effects(tree, INT65(-1), loop, context);
}

// x | C -> x | C', without the bits that x has anyway; all ones, if x has all others
NODE* or_known_ones(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!has_constant(tree)) return nullptr;
    INT65 value = bits_of(tree->right, tree->type), known = certain_ones(tree->left, tree->type);
    if ((value | known) == type_mask(tree->type)) {
        set_right_constant(tree, INT65(-1));
    } else {
        if ((value & known).is_zero()) return nullptr;
        set_right_constant(tree, value & ~known);
    }
    return simp_node(tree, loop, context);
}

// x | C -> x' | C: what the constant hides of the left operand need not be right. If that gives x bits of the constant,
// the constant shrinks in turn.
NODE* or_hides_bits(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!has_constant(tree)) return nullptr;
    INT65 visible = ~bits_of(tree->right, tree->type) & type_mask(tree->type);
    return mask_changes_subtree(tree->left, visible, true, loop, context) ? simp_node(tree, loop, context) : nullptr;
}

// (x ^ C1) | C2 -> x ^ (C1 | C2), where x has none of C2
NODE* or_of_xor(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (!has_constant(tree) || !is_with_constant(inner, XORB, tree)) return nullptr;
    INT65 value = bits_of(tree->right, tree->type);
    if (!(possible_ones(inner->left, inner->type) & value).is_zero()) return nullptr;
    set_right_constant(inner, bits_of(inner->right, inner->type) | value);
    tree->left = simp_node(inner, loop, context);
    return left_as_value(tree);
}

// ((x | C1) & C2) | C3 -> (x | C1 | C3) & (C2 | C3)
NODE* or_of_masked_or(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* mask = tree->left;
    if (!has_constant(tree) || !is_with_constant(mask, ANDB, tree) || !is_with_constant(mask->left, ORB, tree))
        return nullptr;
    NODE* inner = mask->left;
    TYPE* type = tree->type;
    INT65 value = bits_of(tree->right, type);
    set_right_constant(inner, bits_of(inner->right, type) | value);
    inner->type = inner->orig_type = type;
    INT65 new_mask = bits_of(mask->right, type) | value;
    erase_node(mask->right);
    erase_node(mask);
    remake(tree, ANDB, simp_node(inner, loop, context), tree->right, type);
    set_right_constant(tree, new_mask);
    return simp_node(tree, loop, context);
}

// ((x & C1) | y) | (x & C2) -> (x & (C1 | C2)) | y
NODE* or_joins_masks(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    NODE* last = tree->right;
    if (!is_modular_node(inner, ORB, tree->type->size()) || !is_with_constant(last, ANDB, tree)) return nullptr;
    for (NODE** operand : {&inner->left, &inner->right}) {
        NODE* mask = *operand;
        if (!is_with_constant(mask, ANDB, tree) || !same_term(mask->left, last->left)) continue;
        NODE* other = operand == &inner->left ? inner->right : inner->left;
        if (!order_is_free(last->left, other)) continue;
        set_right_constant(mask, bits_of(mask->right, mask->type) | bits_of(last->right, mask->type));
        *operand = simp_node(mask, loop, context);
        clear_mark(inner);
        tree->left = simp_node(inner, loop, context);
        return left_as_value(tree);
    }
    return nullptr;
}

NODE* or_redundant_test(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE* result = simp_redundant_test(tree, ORB_combo_map);
    return result != tree ? result : nullptr;
}

const RULE or_rules[] = {
    {"same", "x | x -> x", or_same},
    {"all_ones", "x | all ones -> (x, all ones)", or_all_ones},
    {"known_ones", "x | C -> x | C', without what x has", or_known_ones},
    {"hides", "x | C -> x' | C, with x' right where C has zeros", or_hides_bits},
    {"xor", "(x ^ C1) | C2 -> x ^ (C1 | C2)", or_of_xor},
    {"masked_or", "((x | C1) & C2) | C3 -> (x | C1 | C3) & (C2 | C3)", or_of_masked_or},
    {"join_masks", "((x & C1) | y) | (x & C2) -> (x & (C1 | C2)) | y", or_joins_masks},
    {"redundant_test", "x < y | x == y -> x <= y", or_redundant_test},
};

// x ^ x -> 0
NODE* xor_same(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!same_term(tree->left, tree->right)) return nullptr;
    NODE* zero = mk_ICON(0, value_type(tree->type));
    zero->scope = tree->scope;
    erase_tree(tree);
    return zero;
}

// x ^ C -> x | C, where x has none of C;  x ^ C -> x & ~C, where x has all of C
NODE* xor_known_bits(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!has_constant(tree)) return nullptr;
    INT65 value = bits_of(tree->right, tree->type);
    if ((possible_ones(tree->left, tree->type) & value).is_zero()) {
        tree->op = ORB;
    } else {
        if (!(value & ~certain_ones(tree->left, tree->type)).is_zero()) return nullptr;
        tree->op = ANDB;
        set_right_constant(tree, ~value & type_mask(tree->type));
    }
    return simp_node(tree, loop, context);
}

// (x & M) ^ C -> (x ^ C) & M, for C within M;  (x | M) ^ C -> (x ^ C) | M, for C outside M
NODE* xor_moves_inward(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    TYPE* type = tree->type;
    if (!has_constant(tree)) return nullptr;
    int op = inner->op;
    if ((op != ANDB && op != ORB) || !is_with_constant(inner, op, tree)) return nullptr;
    INT65 value = bits_of(tree->right, type), mask = bits_of(inner->right, type);
    if (!(op == ANDB ? value & ~mask : value & mask).is_zero()) return nullptr;
    NODE* constant = inner->right;
    NODE* moved = remake(inner, XORB, inner->left, tree->right, type);
    set_right_constant(moved, value);
    remake(tree, op, simp_node(moved, loop, context), constant, type);
    return simp_node(tree, loop, context);
}

const RULE xor_rules[] = {
    {"same", "x ^ x -> 0", xor_same},
    {"known_bits", "x ^ C -> x | C or x & ~C", xor_known_bits},
    {"inward", "(x & M) ^ C -> (x ^ C) & M;  (x | M) ^ C -> (x ^ C) | M", xor_moves_inward},
};

const RULE_SET or_set("orb", or_rules), xor_set("xorb", xor_rules);

} // namespace

NODE* simp_ORB(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_modular(tree->type)) return tree;
    if (NODE* result = assoc_rules.try_rules(tree, loop, context)) return result;
    return or_set.run(tree, loop, context);
}

NODE* simp_XORB(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_modular(tree->type)) return tree;
    if (NODE* result = assoc_rules.try_rules(tree, loop, context)) return result;
    return xor_set.run(tree, loop, context);
}
