// Rules of PLUS. All hold modulo 2^width, for signed and unsigned alike.
//
// The constant of a sum moves to its top right, subtractions stand below additions of constants, and negations vanish.
// Of products in a chain the one with the larger constant stands further out, so that equal factors meet.
#include "simp/arith.h"
#include "simp/fold.h"
#include "simp/rules.h"

#include "ir/opt_expr.h"

namespace {

bool is_scaled(const NODE* node, uint32_t width) {
    return is_modular_node(node, MULT, width) && node->right->op == ICON;
}

// -(x * C) + y -> x * -C + y, and the same on the right
NODE* negated_product(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    for (NODE** operand : {&tree->left, &tree->right}) {
        NODE* negation = *operand;
        if (!is_modular_node(negation, UMINUS, width) || !is_scaled(negation->left, width)) continue;
        NODE* product = negation->left;
        TYPE* type = negation->type;
        INT65 c = signed_value(product->right, type);
        bool exact =
            is_exact_mark(negation) && is_exact_mark(product) && alike(product->type, type) && c != int_type_min(type);
        erase_node(product->right);
        remake(product, MULT, product->left, mk_constant(-c, type), type);
        set_mark(product, exact);
        erase_node(negation);
        *operand = simp_node(product, loop, context);
        return simp_node(tree, loop, context);
    }
    return nullptr;
}

// x * C1 + y * C2 -> y * C2 + x * C1, where C2 is the greater
NODE* order_of_products(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    if (!is_scaled(tree->left, width) || !is_scaled(tree->right, width)) return nullptr;
    TYPE* type = tree->type;
    if (signed_value(tree->left->right, type) >= signed_value(tree->right->right, type)) return nullptr;
    if (!may_swap(tree->left, tree->right)) return nullptr;
    std::swap(tree->left, tree->right);
    return simp_node(tree, loop, context);
}

constexpr int max_ordered = 6; // terms of a chain whose products are put in order

// The chain has no more sums down its left spine than that.
bool is_short_chain(const NODE* chain, uint32_t width) {
    for (int i = 0; i < max_ordered; i++, chain = chain->left)
        if (!is_sum(chain, PLUS, width)) return true;
    return false;
}

// (a + x * C1) + y * C2 -> (a + y * C2) + x * C1, where C1 is the greater. Long chains keep their order: it would cost
// the square of their length.
NODE* order_of_products_in_chain(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    NODE* chain = tree->left;
    if (!is_scaled(tree->right, width) || !is_sum(chain, PLUS, width) || !is_scaled(chain->right, width))
        return nullptr;
    if (signed_value(chain->right->right, chain->right->type) <= signed_value(tree->right->right, tree->right->type))
        return nullptr;
    if (!is_short_chain(chain, width) || !may_swap(chain->right, tree->right)) return nullptr;
    std::swap(chain->right, tree->right);
    clear_mark(chain);
    clear_mark(tree);
    tree->left = simp_node(chain, loop, context);
    return simp_node(tree, loop, context);
}

// (a + x * c) + y * c -> a + (x + y) * c
NODE* common_factor_in_chain(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    NODE* chain = tree->left;
    if (!is_sum(chain, PLUS, width) || !is_modular_node(chain->right, MULT, width) ||
        !is_modular_node(tree->right, MULT, width))
        return nullptr;
    // The two products stand in a sum of their own while they are tried.
    TYPE* type = integer_type_of(tree->type);
    NODE* pair = maketree(PLUS, chain->right, tree->right, type, tree->scope);
    NODE* product = common_factor(pair, loop, context);
    if (product == nullptr) {
        erase_node(pair);
        return nullptr;
    }
    NODE* rest = chain->left;
    erase_node(chain);
    return simp_node(remake(tree, PLUS, rest, product, tree->type), loop, context);
}

// -x + y -> y - x,  y + -x -> y - x
NODE* added_negation(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    NODE* x = tree->right;
    NODE* y = tree->left;
    if (!is_modular_node(x, UMINUS, width)) {
        std::swap(x, y);
        if (!is_modular_node(x, UMINUS, width) || !may_swap(x, y)) return nullptr;
    }
    if (!is_sum(tree, PLUS, width)) return nullptr;
    bool exact = is_exact_mark(tree) && is_exact_mark(x) && alike(x->type, tree->type);
    remake(tree, MINUS, y, x->left, tree->type);
    set_mark(tree, exact);
    erase_node(x);
    return simp_node(tree, loop, context);
}

// (C - x) + y -> (y - x) + C,  y + (C - x) -> (y - x) + C
NODE* added_to_difference(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    if (!is_sum(tree, PLUS, width)) return nullptr;
    auto is_from_constant = [&](const NODE* n) { return is_modular_node(n, MINUS, width) && n->left->op == ICON; };
    NODE* difference = tree->right;
    NODE* y = tree->left;
    if (!is_from_constant(difference)) {
        std::swap(difference, y);
        if (!is_from_constant(difference) || y->op == ICON || !may_swap(difference->right, y)) return nullptr;
    }
    if (y->op == ICON || y->type->is_ptr() != tree->type->is_ptr()) return nullptr;
    NODE* c = mk_constant(difference->left->u.lval, tree->type);
    erase_node(difference->left);
    NODE* rest = simp_node(remake(difference, MINUS, y, difference->right, tree->type), loop, context);
    return simp_node(remake(tree, PLUS, rest, c, tree->type), loop, context);
}

// p + (int)i -> p + i for an integer i at least as wide as a pointer: the sum takes its low bits anyway
NODE* converted_index(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!tree->type->is_ptr()) return nullptr;
    for (NODE** operand : {&tree->left, &tree->right}) {
        NODE* index = *operand;
        uint32_t width = tree->type->size();
        if (!is_modular_node(index, SCONV, width) || index->left->type->size() < width) continue;
        *operand = take_left(index);
        return simp_node(tree, loop, context);
    }
    return nullptr;
}

// (T)(x + C) + K -> (T)(x + (C + K)), where T is as wide as x + C
NODE* constant_into_conversion(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    NODE* conversion = tree->left;
    if (tree->right->op != ICON || !is_modular(tree->type) || !is_modular_node(conversion, SCONV, width))
        return nullptr;
    NODE* sum = conversion->left;
    if (!is_modular_node(sum, PLUS, width) || sum->right->op != ICON) return nullptr;
    INT65 c = sum->right->u.lval + tree->right->u.lval;
    erase_node(sum->right);
    remake(sum, PLUS, sum->left, mk_constant(c, sum->type), sum->type);
    TYPE* type = tree->type;
    conversion->left = simp_node(sum, loop, context);
    erase_node(tree->right);
    erase_node(tree);
    conversion->type = conversion->orig_type = type;
    return simp_node(conversion, loop, context);
}

// (T*)C + K -> (T*)(C + K)
NODE* constant_into_pointer(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* pointer = tree->left;
    if (!tree->type->is_ptr() || tree->right->op != ICON || (pointer->op != PCONV && pointer->op != ISP2CHAR))
        return nullptr;
    if (pointer->left->op != ICON) return nullptr;
    INT65 address = pointer->left->u.lval + tree->right->u.lval;
    erase_node(pointer->left);
    erase_node(tree->right);
    erase_node(pointer);
    return simp_node(remake(tree, PCONV, mk_constant(address, tree->type), nullptr, tree->type), loop, context);
}

// (x | M) - M -> x & ~M, where the subtraction is the addition of -M by now
NODE* bits_taken_away(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    NODE* bits = tree->left;
    if (tree->right->op != ICON || !is_modular_node(tree, PLUS, width) || !is_modular_node(bits, ORB, width))
        return nullptr;
    if (bits->right->op != ICON) return nullptr;
    INT65 mask = signed_value(bits->right, tree->type);
    if (!sign_extend_by_type_size(mask + tree->right->u.lval, tree->type).is_zero()) return nullptr;
    NODE* x = take_left(bits);
    erase_node(tree->right);
    return simp_node(remake(tree, ANDB, x, mk_constant(~mask, tree->type), tree->type), loop, context);
}

// ~x + C -> (C - 1) - x
NODE* added_to_complement(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    NODE* complement = tree->left;
    if (tree->right->op != ICON || !is_modular_node(tree, PLUS, width)) return nullptr;
    if (!is_modular_node(complement, XORB, width) || complement->right->op != ICON) return nullptr;
    if (signed_value(complement->right, tree->type) != INT65(-1)) return nullptr;
    INT65 c = tree->right->u.lval - INT65(1);
    erase_node(tree->right);
    NODE* x = take_left(complement);
    return simp_node(remake(tree, MINUS, mk_constant(c, tree->type), x, tree->type), loop, context);
}

const RULE rules[] = {
    {"negated_product", "-(x * C) + y -> x * -C + y", negated_product},
    {"order_of_products", "x * C1 + y * C2 -> y * C2 + x * C1 if C2 > C1", order_of_products},
    {"common_factor", "x * c + y * c -> (x + y) * c", common_factor},
    {"order_of_products_in_chain", "(a + x * C1) + y * C2 -> (a + y * C2) + x * C1 if C1 > C2",
     order_of_products_in_chain},
    {"common_factor_in_chain", "(a + x * c) + y * c -> a + (x + y) * c", common_factor_in_chain},
    {"like_terms", "(... x * C1 ...) + x * C2 -> ... x * (C1 + C2) ...", like_terms},
    {"added_negation", "y + -x -> y - x", added_negation},
    {"added_to_difference", "(C - x) + y -> (y - x) + C", added_to_difference},
    {"converted_index", "p + (int)i -> p + i", converted_index},
    {"constant_into_conversion", "(T)(x + C) + K -> (T)(x + (C + K))", constant_into_conversion},
    {"constant_into_pointer", "(T*)C + K -> (T*)(C + K)", constant_into_pointer},
    {"added_to_complement", "~x + C -> (C - 1) - x", added_to_complement},
    {"bits_taken_away", "(x | M) + -M -> x & ~M", bits_taken_away},
};
const RULE_SET rule_set("PLUS", rules);

} // namespace

NODE* simp_PLUS(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_word(tree->type)) return tree;
    tree = simp_assoc(tree, loop, context);
    return tree->op == PLUS ? rule_set.run(tree, loop, context) : tree;
}
