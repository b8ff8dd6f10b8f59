// ANDB: bitwise and.
//
// With a constant it is a mask: the mask goes down into the left operand, what the left operand cannot set is left out
// of it, and where all that can be set lies inside, the ANDB goes. Each rule below takes an ANDB away, moves it inward
// past an ORB, or makes a constant smaller; the mask constant itself is settled by masks.cpp.
#include "simp/fold.h"
#include "simp/logic.h"
#include "simp/ranges.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

namespace {

bool has_mask(const NODE* tree) { return tree->right->op == ICON; }

// A mask of the lowest bits, at least one.
bool is_low_mask(INT65 mask) { return !mask.is_zero() && (mask & (mask + INT65(1))).is_zero(); }

// (T)x & C -> x & C, for C within the smallest integer type: no conversion touches those bits
NODE* mask_of_conversion(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* conversion = tree->left;
    if (!has_mask(tree) || conversion->op != SCONV) return nullptr;
    INT65 mask = tree->right->u.lval;
    if (mask < INT65(1) || mask >= type_mask(tp->char_type())) return nullptr;
    for (TYPE* type : {conversion->type, conversion->left->type})
        if (!is_modular(type) || type->size() > tp->int_type()->size()) return nullptr;
    tree->left = take_left(conversion);
    return simp_node(tree, loop, context);
}

// x & x -> x
NODE* same_operands(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    return same_term(tree->left, tree->right) ? left_as_value(tree) : nullptr;
}

// x & mask of all that x has -> x
NODE* whole_mask(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!has_mask(tree) || !is_integer_like(tree->left->type)) return nullptr;
    TYPE* left = tree->left->type;
    INT65 needed = type_mask(tree->type);
    if (left->is_unsigned() && left->size() < tree->type->size()) needed = type_mask(left);
    return (needed & ~bits_of(tree->right, tree->type)).is_zero() ? left_as_value(tree) : nullptr;
}

// ((x & M) + C) & M -> (x & M) + (C & M), for M = -2^k: no carry comes from below, and the result has no lower bits
NODE* mask_of_aligned_sum(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* sum = tree->left;
    uint32_t width = tree->type->size();
    if (!has_mask(tree) || !is_modular_node(sum, PLUS, width) || sum->right->op != ICON) return nullptr;
    NODE* inner = sum->left;
    if (!is_modular_node(inner, ANDB, width) || !has_mask(inner)) return nullptr;
    INT65 mask = bits_of(tree->right, tree->type);
    INT65 below = ~mask & type_mask(tree->type);
    if (!is_low_mask(below) || bits_of(inner->right, inner->type) != mask) return nullptr;
    set_right_constant(sum, bits_of(sum->right, sum->type) & mask);
    tree->left = simp_node(sum, loop, context);
    return left_as_value(tree);
}

// The mask and what is below it. Where the left operand can set nothing outside the mask the ANDB goes, where it can
// set nothing inside the result is 0; else the mask drops to the bits that it is needed for.
//
// The left operand's bits outside the mask may change, so whatever it can set then counts for the choice of the mask's
// own don't-care bits. Unlike other rules this one may change the constant and let the tree stay. Among what goes down
// is (x + N) & M -> (x + (N & M)) & M, for a negative N and a low mask M: of a sum's constant only the bits up to the
// mask's highest stay.
NODE* settle_mask(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!has_mask(tree)) return nullptr;
    TYPE* type = tree->type;
    INT65 care = care_of_mask(tree->left, type), mask = bits_of(tree->right, type) & care;
    if (mask.is_zero()) return constant_after_effects(tree, 0, loop, context);
    if (mask_changes_subtree(tree->left, mask, false, loop, context)) {
        set_right_constant(tree, mask);
        return simp_node(tree, loop, context);
    }
    if ((care & ~mask).is_zero()) return left_as_value(tree);
    INT65 value = regular_mask(mask, care, type);
    if (tree->right->type != value_type(type) || bits_of(tree->right, type) != value) set_right_constant(tree, value);
    return nullptr;
}

// (a | C1) & C2 -> (a & C2) | (C1 & C2), if C1 & C2 is 0 or a is itself masked
NODE* mask_of_or_constant(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    TYPE* type = tree->type;
    if (!has_mask(tree) || !is_modular_node(inner, ORB, type->size()) || !has_mask(inner)) return nullptr;
    INT65 both = bits_of(inner->right, type) & bits_of(tree->right, type);
    bool masked = is_modular_node(inner->left, ANDB, type->size()) && has_mask(inner->left);
    if (!both.is_zero() && !masked) return nullptr;
    LS* scope = tree->scope;
    NODE* mask = tree->right;
    remake(tree, ORB, nullptr, inner->right, type);
    NODE* left = remake(inner, ANDB, inner->left, mask, type);
    set_right_constant(tree, both);
    tree->left = simp_node(left, loop, context);
    tree->scope = scope;
    return simp_node(tree, loop, context);
}

// ((a & M1) | (b & M2)) & C -> (a & M1 & C) | (b & M2 & C)
NODE* mask_of_masked_or(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    TYPE* type = tree->type;
    if (!has_mask(tree) || !is_modular_node(inner, ORB, type->size())) return nullptr;
    for (const NODE* operand : {inner->left, inner->right})
        if (!is_modular_node(operand, ANDB, type->size()) || !has_mask(operand)) return nullptr;
    INT65 mask = bits_of(tree->right, type);
    for (NODE** operand : {&inner->left, &inner->right}) {
        set_right_constant(*operand, bits_of((*operand)->right, type) & mask);
        *operand = simp_node(*operand, loop, context);
    }
    clear_mark(inner);
    inner->type = inner->orig_type = type;
    if (inner->scope == nullptr) inner->scope = tree->scope;
    erase_node(tree->right);
    erase_node(tree);
    return simp_node(inner, loop, context);
}

// One end of an interval test: x >= C, x > C, x <= C, x < C.
struct BOUND {
    bool lower;
    INT65 value; // the outermost value inside
};

// The bound that a comparison of an unsigned x with a constant sets.
bool bound_of(const NODE* test, BOUND& bound) {
    if (test->right == nullptr || test->right->op != ICON || !is_integer_like(test->left->type)) return false;
    if (!test->left->type->is_unsigned()) return false;
    TYPE* type = combined_type(test->left, test->right);
    bool unsigned_op = test->op >= ULE && test->op <= UGT;
    INT65 value = unsigned_op ? bits_of(test->right, type) : icon_as(test->right, type);
    switch (test->op) {
    case GE:
    case UGE: bound = {true, value}; return true;
    case GT:
    case UGT: bound = {true, value + INT65(1)}; return true;
    case LE:
    case ULE: bound = {false, value}; return true;
    case LT:
    case ULT: bound = {false, value - INT65(1)}; return true;
    default: return false;
    }
}

// x >= lo & x <= hi -> x - lo u<= hi - lo, for an unsigned x, computed in its own type
NODE* interval_test(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    BOUND a, b;
    if (!bound_of(tree->left, a) || !bound_of(tree->right, b) || a.lower == b.lower) return nullptr;
    INT65 lo = a.lower ? a.value : b.value, hi = a.lower ? b.value : a.value;
    TYPE* type = tree->left->left->type;
    if (lo >= hi || lo < int_type_min(type) || hi > int_type_max(type)) return nullptr;
    if (!same_term(tree->left->left, tree->right->left)) return nullptr;
    NODE* x = tree->left->left;
    TYPE* result_type = tree->type;
    TYPE* own = value_type(type);
    TYPE* wide = promoted_type(type);
    NODE* test = tree->left;
    erase_node(test->right);
    erase_tree(tree->right);
    erase_node(tree);
    NODE* distance = simp_node(maketree(MINUS, x, mk_ICON(lo, wide), wide, x->scope), loop, context);
    distance = coerce_to_type(distance, own);
    test = remake(test, ULE, distance, mk_ICON(hi - lo, wide), tp->int_type());
    return coerce_to_type(simp_node(test, loop, context), result_type);
}

NODE* redundant_test(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE* result = simp_redundant_test(tree, andb_combo_map);
    return result != tree ? result : nullptr;
}

const RULE rules[] = {
    {"conversion", "(T)x & C -> x & C", mask_of_conversion},
    {"same", "x & x -> x", same_operands},
    {"whole", "x & all bits -> x", whole_mask},
    {"aligned_sum", "((x & M) + C) & M -> (x & M) + (C & M)", mask_of_aligned_sum},
    {"settle", "x & M -> x or 0, where x can set nothing outside or inside", settle_mask},
    {"or_constant", "(a | C1) & C2 -> (a & C2) | (C1 & C2)", mask_of_or_constant},
    {"masked_or", "((a & M1) | (b & M2)) & C -> (a & M1 & C) | (b & M2 & C)", mask_of_masked_or},
    {"interval", "x >= lo & x <= hi -> x - lo u<= hi - lo", interval_test},
    {"redundant_test", "x < y & x <= y -> x < y", redundant_test},
};

const RULE_SET rule_set("andb", rules);

} // namespace

NODE* simp_ANDB(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_modular(tree->type)) return tree;
    if (NODE* result = assoc_rules.try_rules(tree, loop, context)) return result;
    return rule_set.run(tree, loop, context);
}
