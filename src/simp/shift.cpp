// Rules of SLL and SRL.
//
// The left operand is converted to the node's type; the type's sign says what a right shift fills with. Shifts to the
// left become products where these are exact, so that the rules of products apply; none becomes a shift again.
#include "simp/arith.h"
#include "simp/fold.h"
#include "simp/ranges.h"
#include "simp/rules.h"

#include "ir/opt_expr.h"
#include "ir/vars.h"

#include <bit>
#include <cstring>

namespace {

bool is_modular_shift(const NODE* node, int op, uint32_t width) {
    return is_modular_node(node, op, width) && node->right->op == ICON && node->right->u.lval >= INT65(1) &&
           node->right->u.lval < INT65(width);
}

uint32_t count_of(const NODE* shift) { return shift->right->u.lval.low; }

NODE* mk_shift(int op, NODE* x, uint32_t count, TYPE* type) {
    return maketree(op, x, mk_ICON(INT65(count), tp->int_type()), type);
}

void set_count(NODE* shift, INT65 count) {
    erase_node(shift->right);
    shift->right = mk_ICON(count, tp->int_type());
}

bool is_bitwise(int op) { return op == ANDB || op == ORB || op == XORB; }

// x >> 0, x << 0 -> x
NODE* no_shift(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!tree->right->u.lval.is_zero()) return nullptr;
    TYPE* type = tree->type;
    return coerce_to_type(take_left(tree), type);
}

// x << n -> 0, x >> n -> 0 for an unsigned x, x >> (width - 1) for a signed one, where n is the width or more
NODE* count_beyond_width(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    if (tree->right->u.lval < INT65(width)) return nullptr;
    if (tree->op == SLL || !tree->type->is_signed()) return simp_subst_icon(tree, 0, tree->type);
    set_count(tree, INT65(width - 1));
    return simp_node(tree, loop, context);
}

// (x >> a) >> b -> x >> (a + b),  (x << a) << b -> x << (a + b). The inner shift says what fills from the left:
// zeros, which a signed outer shift copies, or copies of the sign, but then the outer one must not fill with zeros.
NODE* two_shifts(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (inner->op != tree->op || !is_modular_shift(inner, tree->op, tree->type->size())) return nullptr;
    if (tree->op == SRL && inner->type->is_signed() && !tree->type->is_signed()) return nullptr;
    TYPE* type = tree->type;
    set_count(inner, inner->right->u.lval + tree->right->u.lval);
    return coerce_to_type(simp_node(take_left(tree), loop, context), type);
}

// (x * C) << n -> x * (C << n)
NODE* shifted_product(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* product = tree->left;
    if (tree->op != SLL || !is_modular_node(product, MULT, tree->type->size()) || product->right->op != ICON)
        return nullptr;
    INT65 c = product->right->u.lval << count_of(tree);
    erase_node(tree->right);
    return simp_node(remake(tree, MULT, take_left(product), mk_constant(c, tree->type), tree->type), loop, context);
}

// x << n -> x * 2^n, where that cannot overflow; or of a right shift, which then joins with the left one
NODE* shift_to_product(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op != SLL || mini_mult != 0) return nullptr;
    TYPE* type = tree->type;
    if (tree->right->u.lval >= INT65(type->size() - (type->is_signed() ? 1 : 0))) return nullptr;
    const NODE* operand = tree->left->op == SCONV ? tree->left->left : tree->left;
    bool of_right_shift = operand->op == SRL && is_modular_node(tree->left, tree->left->op, type->size());
    NODE* factor = mk_constant(INT65(1) << count_of(tree), type);
    NODE* product = maketree(MULT, tree->left, factor, type, tree->scope);
    if (!of_right_shift && expr_product_may_overflow(product, loop, context)) {
        erase_node(product);
        erase_node(factor);
        return nullptr;
    }
    erase_node(tree->right);
    erase_node(tree);
    return simp_node(product, loop, context);
}

// (x op C) >> n -> (x >> n) op (C >> n)
NODE* constant_out_of_right_shift(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (tree->op != SRL || !is_bitwise(inner->op) || inner->right->op != ICON) return nullptr;
    if (!is_modular_node(inner, inner->op, tree->type->size())) return nullptr;
    TYPE* type = tree->type;
    int op = inner->op;
    NODE* c = mk_constant(truncate_to_type(inner->right->u.lval, type) >> count_of(tree), type);
    tree->left = coerce_to_type(take_left(inner), type);
    NODE* shifted = simp_node(tree, loop, context);
    return simp_node(maketree(op, shifted, c, type, shifted->scope), loop, context);
}

// (x * C) >> n -> (x * (C / 2^k)) >> (n - k), for the greatest k up to n of which 2^k divides C.
// Relies on exact arithmetic of x * C: bits cut off on top would come down.
NODE* product_shifted_right(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* product = tree->left;
    if (tree->op != SRL || !tree->type->is_signed() || !alike(product->type, tree->type)) return nullptr;
    if (!is_modular_node(product, MULT, tree->type->size()) || product->right->op != ICON) return nullptr;
    INT65 c = truncate_to_type(product->right->u.lval, product->type);
    if (c <= INT65(0) || (c & INT65(1)) == INT65(1) || !result_is_exact(product, loop, context)) return nullptr;
    uint32_t k = std::min<uint32_t>(static_cast<uint32_t>(std::countr_zero(c.bits64())), count_of(tree));
    // A smaller multiple of x is exact, too: the mark of the product stays.
    erase_node(product->right);
    product->right = mk_constant(c >> k, product->type);
    tree->left = simp_node(product, loop, context);
    set_count(tree, tree->right->u.lval - INT65(k));
    return simp_node(tree, loop, context);
}

// (x << k) >> n, (x * 2^k) >> n -> (x << (k - n)) & M or (x >> (n - k)) & M, unsigned
NODE* left_then_right_shift(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = tree->type;
    uint32_t width = type->size();
    NODE* inner = tree->left;
    if (tree->op != SRL || !type->is_unsigned() || inner->right == nullptr || inner->right->op != ICON) return nullptr;
    int k = -1;
    if (is_modular_shift(inner, SLL, width))
        k = static_cast<int>(count_of(inner));
    else if (is_modular_node(inner, MULT, width))
        k = power_of_2(inner->right->u.lval & type_mask(type));
    if (k < 1) return nullptr;
    uint32_t up = static_cast<uint32_t>(k), down = count_of(tree);
    INT65 mask = ((type_mask(type) << up) & type_mask(type)) >> down;
    NODE* x = coerce_to_type(take_left(inner), type);
    erase_node(tree->right);
    if (up > down) x = simp_node(mk_shift(SLL, x, up - down, type), loop, context);
    if (up < down) x = simp_node(mk_shift(SRL, x, down - up, type), loop, context);
    return simp_node(remake(tree, ANDB, x, mk_constant(mask, type), type), loop, context);
}

// (int)_sshl(y >> a, C) >> n -> y >> (a - C + n), for C up to a. The saturating shift never saturates: y >> a has
// a + 1 equal bits on top.
NODE* saturating_shift(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* call = tree->left->op == SCONV ? tree->left->left : tree->left;
    if (tree->op != SRL || call->op != ICALL || strcmp(call->u.name, "_sshl") != 0) return nullptr;
    TYPE* type = tp->int_type();
    if (!alike(tree->type, type) || !alike(tree->left->type, type) || !alike(call->type, type)) return nullptr;
    NODE* arguments = call->left;
    if (arguments == nullptr || arguments->op != COMMA || arguments->right->op != ICON) return nullptr;
    NODE* inner = arguments->left;
    if (!alike(inner->type, type) || !is_modular_shift(inner, SRL, type->size())) return nullptr;
    INT65 c = arguments->right->u.lval;
    if (c.is_negative() || c > inner->right->u.lval) return nullptr;
    set_count(tree, inner->right->u.lval - c + tree->right->u.lval);
    NODE* y = coerce_to_type(copy_tree(inner->left), type);
    erase_tree(tree->left);
    tree->left = y;
    return simp_node(tree, loop, context);
}

// (x >> a) << b -> (x >> (a - b)) & (-1 << b) or (x << (b - a)) & (-1 << b)
NODE* right_then_left_shift(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    if (tree->op != SLL || !is_modular_shift(inner, SRL, tree->type->size())) return nullptr;
    uint32_t b = count_of(tree);
    TYPE* type = tree->type;
    take_left(tree);
    return masked_shift_pair(inner, b, type, loop, context);
}

// (x op C) << n -> (x << n) op (C << n)
NODE* constant_out_of_left_shift(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->left;
    int op = inner->op;
    if (tree->op != SLL || (!is_bitwise(op) && op != PLUS && op != MINUS) || inner->right->op != ICON) return nullptr;
    if (!is_modular_node(inner, op, tree->type->size())) return nullptr;
    TYPE* type = tree->type;
    NODE* c = mk_constant(inner->right->u.lval << count_of(tree), type);
    tree->left = coerce_to_type(take_left(inner), type);
    NODE* shifted = simp_node(tree, loop, context);
    return simp_node(maketree(op, shifted, c, type, shifted->scope), loop, context);
}

// All of them take a count of 0 or more, those behind the second one from 1 to the width less 1.
const RULE rules[] = {
    {"no_shift", "x >> 0 -> x", no_shift},
    {"count_beyond_width", "x << n -> 0", count_beyond_width},
    {"two_shifts", "(x >> a) >> b -> x >> (a + b)", two_shifts},
    {"shifted_product", "(x * C) << n -> x * (C << n)", shifted_product},
    {"shift_to_product", "x << n -> x * 2^n", shift_to_product},
    {"constant_out_of_right_shift", "(x & C) >> n -> (x >> n) & (C >> n)", constant_out_of_right_shift},
    {"product_shifted_right", "(x * C) >> n -> (x * (C >> k)) >> (n - k)", product_shifted_right},
    {"left_then_right_shift", "(x << k) >> n -> (x << (k - n)) & M", left_then_right_shift},
    {"saturating_shift", "_sshl(y >> a, C) >> n -> y >> (a - C + n)", saturating_shift},
    {"right_then_left_shift", "(x >> a) << b -> (x >> (a - b)) & M", right_then_left_shift},
    {"constant_out_of_left_shift", "(x + C) << n -> (x << n) + (C << n)", constant_out_of_left_shift},
};
const RULE_SET rule_set("SHIFT", rules);

} // namespace

NODE* masked_shift_pair(NODE* shifted, uint32_t k, TYPE* type, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t n = count_of(shifted);
    NODE* x;
    if (n > k) {
        // What fills from the left stays the same, so the shift keeps its sign.
        set_count(shifted, INT65(n - k));
        x = coerce_to_type(simp_node(shifted, loop, context), type);
    } else {
        x = coerce_to_type(take_left(shifted), type);
        if (n < k) x = simp_node(mk_shift(SLL, x, k - n, type), loop, context);
    }
    return simp_node(maketree(ANDB, x, mk_constant(type_mask(type) << k, type), type, x->scope), loop, context);
}

NODE* simp_shift(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->right->op != ICON || tree->right->u.lval.is_negative()) return tree;
    if (!is_modular(tree->type) || !is_modular(tree->left->type)) return tree;
    return rule_set.run(tree, loop, context);
}
