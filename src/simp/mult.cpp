// Rules of MULT.
//
// The integer rules hold modulo 2^width unless they say otherwise. A constant factor stands on the right (folding and
// simp_assoc see to that), one to a product; over a sum with a constant term it is multiplied out, so that constant
// terms reach the top. No rule makes a shift to the left of a product: shifts become products (simp_shift), never the
// other way.
#include "simp/arith.h"
#include "simp/fold.h"
#include "simp/ranges.h"
#include "simp/rules.h"

#include "ir/fps.h"
#include "ir/opt_expr.h"
#include "ir/vars.h"

namespace {

// ----------------------------------------------------------------------------------------------------------- floats

constexpr int max_copied_nodes = 6; // of an operand that is evaluated twice

// The right operand is the constant `value`, or its negation.
bool is_float_constant(const NODE* tree, const simul_fval* value, bool negative = false) {
    const NODE* constant = tree->right;
    if (constant->op != FCON || !equiv_mtypes(constant->type, tree->type)) return false;
    if (!equiv_mtypes(tree->left->type, tree->type)) return false;
    simul_fval wanted = *value;
    if (negative) f_neg(value, &wanted);
    return f_eq(constant->u.fval, &wanted) != 0;
}

// x * 1.0 -> x
NODE* float_times_one(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    return is_float_constant(tree, &one) ? take_left(tree) : nullptr;
}

// x * -1.0 -> -x
NODE* float_times_minus_one(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_float_constant(tree, &one, true)) return nullptr;
    erase_tree(tree->right);
    return simp_node(remake(tree, UMINUS, tree->left, nullptr, tree->type), loop, context);
}

// x * 2.0 -> x + x
NODE* float_times_two(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_float_constant(tree, &two) || !tree_is_pure(tree->left, max_copied_nodes)) return nullptr;
    erase_tree(tree->right);
    return simp_node(remake(tree, PLUS, tree->left, copy_tree(tree->left), tree->type), loop, context);
}

const RULE float_rules[] = {
    {"times_one", "x * 1.0 -> x", float_times_one},
    {"times_minus_one", "x * -1.0 -> -x", float_times_minus_one},
    {"times_two", "x * 2.0 -> x + x", float_times_two},
};
const RULE_SET float_rule_set("MULT.float", float_rules);

// --------------------------------------------------------------------------------------------------------- integers

// The factor on the right if it is a constant other than -1, 0, 1.
bool has_plain_constant(const NODE* tree) {
    if (tree->right->op != ICON) return false;
    INT65 c = signed_value(tree->right, tree->type);
    return c > INT65(1) || c < INT65(-1);
}

// x^a * x^b -> x^(a + b), where a plain factor counts as x^1. Not of floats: powers are rounded once, products each
// time.
NODE* joined_powers(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* power = tree->left->op == EXPT ? tree->left : tree->right;
    if (power->op != EXPT) return nullptr;
    INT65 exponent;
    const NODE* base[2];
    int n = 0;
    for (const NODE* operand : {tree->left, tree->right}) {
        bool is_power = operand->op == EXPT;
        if (is_power && (operand->right->op != ICON || operand->right->u.lval.is_negative())) return nullptr;
        if (!alike(operand->type, tree->type)) return nullptr;
        base[n++] = is_power ? operand->left : operand;
        exponent += is_power ? operand->right->u.lval : INT65(1);
    }
    TYPE* type = power->right->type;
    if (!value_fits_in_type(exponent, type) || !alike(base[0]->type, tree->type) || !same_term(base[0], base[1]))
        return nullptr;
    NODE* x = copy_tree(base[0]);
    erase_tree(tree->left);
    erase_tree(tree->right);
    return simp_node(remake(tree, EXPT, x, mk_constant(exponent, type), tree->type), loop, context);
}

// -x * C -> x * -C
NODE* negated_operand(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* negation = tree->left;
    if (tree->right->op != ICON || !is_modular_node(negation, UMINUS, tree->type->size())) return nullptr;
    INT65 c = signed_value(tree->right, tree->type);
    bool exact = is_exact_mark(tree) && is_exact_mark(negation) && alike(negation->type, tree->type) &&
                 c != int_type_min(tree->type);
    erase_node(tree->right);
    remake(tree, MULT, negation->left, mk_constant(-c, tree->type), tree->type);
    set_mark(tree, exact);
    erase_node(negation);
    return simp_node(tree, loop, context);
}

// (x * C) * K -> x * (C * K),  (T)(x * C) * K -> x * (C * K) where T is as wide as x * C. The product of an exact
// product is exact if the new constant is no larger than the type: the value is the same.
NODE* joined_constants(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    if (tree->right->op != ICON) return nullptr;
    bool converted = is_modular_node(tree->left, SCONV, width);
    NODE* inner = converted ? tree->left->left : tree->left;
    if (!is_modular_node(inner, MULT, width) || inner->right->op != ICON) return nullptr;
    int overflow = 0;
    INT65 c = long_multiply(signed_value(inner->right, tree->type), signed_value(tree->right, tree->type), &overflow);
    bool fits = overflow == 0 && value_fits_in_type(c, tree->type);
    bool exact = fits && !converted && is_exact_mark(tree) && is_exact_mark(inner) && alike(inner->type, tree->type);
    if (overflow != 0) c = inner->right->u.lval * tree->right->u.lval; // the low bits are right all the same
    erase_node(tree->right);
    if (converted) erase_node(tree->left);
    remake(tree, MULT, take_left(inner), mk_constant(c, tree->type), tree->type);
    set_mark(tree, exact);
    return simp_node(tree, loop, context);
}

// (T)(x * C) * K -> (T)x * (C * K), where T is wider than x * C.
// Relies on exact arithmetic of x * C: what its width cuts off would come back.
NODE* constant_out_of_conversion(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    NODE* conversion = tree->left;
    if (!has_plain_constant(tree) || !is_modular_node(conversion, SCONV, width)) return nullptr;
    NODE* inner = conversion->left;
    if (inner->type->size() >= width || !is_modular_node(inner, MULT, inner->type->size())) return nullptr;
    if (inner->right->op != ICON || !alike(inner->left->type, inner->type)) return nullptr;
    if (!result_is_exact(inner, loop, context)) return nullptr;
    INT65 c = truncate_to_type(inner->right->u.lval, inner->type) * tree->right->u.lval;
    erase_node(tree->right);
    conversion->left = take_left(inner);
    NODE* x = simp_node(conversion, loop, context);
    return simp_node(remake(tree, MULT, x, mk_constant(c, tree->type), tree->type), loop, context);
}

// (x / C) * K -> x * (K / C) or x / (C / K), where C divides x and one constant the other
NODE* quotient_times_constant(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* quotient = tree->left;
    if (tree->right->op != ICON || quotient->op != DIV || quotient->right->op != ICON) return nullptr;
    if (!alike(quotient->type, tree->type) || !alike(quotient->left->type, quotient->type)) return nullptr;
    INT65 c = truncate_to_type(quotient->right->u.lval, tree->type);
    INT65 k = truncate_to_type(tree->right->u.lval, tree->type);
    if (c <= INT65(1) || k < INT65(1)) return nullptr;
    bool multiplies = (k % c).is_zero();
    if (!multiplies && !(c % k).is_zero()) return nullptr;
    if (!(max_ICON_factor(quotient->left, loop, context) % c).is_zero()) return nullptr;
    erase_node(tree->right);
    TYPE* type = tree->type;
    NODE* x = take_left(quotient);
    if (multiplies) return simp_node(remake(tree, MULT, x, mk_constant(k / c, type), type), loop, context);
    return simp_DIV(remake(tree, DIV, x, mk_constant(c / k, type), type), 1, loop, context);
}

// a * b -> a & b, where both are 0 or 1
NODE* product_of_booleans(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!returns_1_or_0(tree->left) || !returns_1_or_0(tree->right)) return nullptr;
    return simp_node(remake(tree, ANDB, tree->left, tree->right, tree->type), loop, context);
}

// x * 0 -> 0
NODE* times_zero(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (tree->right->op != ICON || !signed_value(tree->right, tree->type).is_zero()) return nullptr;
    return simp_subst_icon(tree, 0, tree->type);
}

// x * 1 -> x
NODE* times_one(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (tree->right->op != ICON || signed_value(tree->right, tree->type) != INT65(1)) return nullptr;
    TYPE* type = tree->type;
    return coerce_to_type(take_left(tree), type);
}

// x * -1 -> -x
NODE* times_minus_one(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->right->op != ICON || signed_value(tree->right, tree->type) != INT65(-1)) return nullptr;
    bool exact = is_exact_mark(tree);
    erase_node(tree->right);
    remake(tree, UMINUS, tree->left, nullptr, tree->type);
    set_mark(tree, exact);
    return simp_node(tree, loop, context);
}

// The product of two constants, if a term of the type can be written with it.
bool constant_fits(INT65 c, INT65 k, TYPE* type, INT65& product) {
    int overflow = 0;
    product = long_multiply(c, k, &overflow);
    return overflow == 0 && product <= type_mask(type) && product >= -(type_mask(type) >> 1) - INT65(1);
}

// (x + C) * K -> x * K + C * K
NODE* constant_over_sum(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* sum = tree->left;
    if (!has_plain_constant(tree) || !is_modular_node(sum, PLUS, tree->type->size()) || sum->right->op != ICON)
        return nullptr;
    TYPE* type = tree->type;
    INT65 constant;
    if (!constant_fits(signed_value(sum->right, type), signed_value(tree->right, type), type, constant)) return nullptr;
    erase_node(sum->right);
    NODE* product = simp_node(remake(sum, MULT, sum->left, tree->right, type), loop, context);
    return simp_node(remake(tree, PLUS, product, mk_constant(constant, type), type), loop, context);
}

// (C - x) * K -> C * K - x * K, and x * -K + C * K for a negative K
NODE* constant_over_difference(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* difference = tree->left;
    if (!has_plain_constant(tree) || !is_modular_node(difference, MINUS, tree->type->size())) return nullptr;
    if (difference->left->op != ICON) return nullptr;
    TYPE* type = tree->type;
    INT65 k = signed_value(tree->right, type), constant;
    if (!constant_fits(signed_value(difference->left, type), k, type, constant)) return nullptr;
    NODE* x = difference->right;
    erase_node(difference->left);
    erase_node(tree->right);
    bool adds = k.is_negative();
    NODE* product = simp_node(remake(difference, MULT, x, mk_constant(adds ? -k : k, type), type), loop, context);
    NODE* c = mk_constant(constant, type);
    remake(tree, adds ? PLUS : MINUS, adds ? product : c, adds ? c : product, type);
    return simp_node(tree, loop, context);
}

// (x >> n) * 2^k -> one shift by the difference and a mask
NODE* shift_times_power_of_2(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    uint32_t width = tree->type->size();
    NODE* shift = tree->left;
    if (tree->right->op != ICON || !is_modular_node(shift, SRL, width) || shift->right->op != ICON) return nullptr;
    INT65 n = shift->right->u.lval;
    int k = power_of_2(tree->right->u.lval & type_mask(tree->type));
    if (k < 1 || n < INT65(1) || n >= INT65(width)) return nullptr;
    TYPE* type = tree->type;
    take_left(tree);
    return masked_shift_pair(shift, static_cast<uint32_t>(k), type, loop, context);
}

const RULE integer_rules[] = {
    {"joined_powers", "x^a * x^b -> x^(a + b)", joined_powers},
    {"negated_operand", "-x * C -> x * -C", negated_operand},
    {"joined_constants", "(x * C) * K -> x * (C * K)", joined_constants},
    {"constant_out_of_conversion", "(T)(x * C) * K -> (T)x * (C * K)", constant_out_of_conversion},
    {"quotient_times_constant", "(x / C) * K -> x * (K / C)", quotient_times_constant},
    {"times_zero", "x * 0 -> 0", times_zero},
    {"times_one", "x * 1 -> x", times_one},
    {"times_minus_one", "x * -1 -> -x", times_minus_one},
    {"product_of_booleans", "a * b -> a & b", product_of_booleans},
    {"constant_over_sum", "(x + C) * K -> x * K + C * K", constant_over_sum},
    {"constant_over_difference", "(C - x) * K -> C * K - x * K", constant_over_difference},
    {"shift_times_power_of_2", "(x >> n) * 2^k -> (x >> (n - k)) & M", shift_times_power_of_2},
};
const RULE_SET integer_rule_set("MULT", integer_rules);

} // namespace

bool tree_is_16x16_mpy(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op != MULT || !is_modular(tree->type)) return false;
    if (!is_modular(tree->left->type) || !is_modular(tree->right->type)) return false;
    TYPE* narrow = tp->short_type();
    return combined_type(tree->left, tree->right)->size() >= 32 &&
           value_fits_in_type(tree->right, narrow, loop, context) &&
           value_fits_in_type(tree->left, narrow, loop, context);
}

NODE* simp_MULT(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->type->is_fltpt()) return float_rule_set.run(tree, loop, context);
    if (!is_modular(tree->type)) return tree;
    tree = simp_assoc(tree, loop, context);
    if (tree->op != MULT || !is_modular_node(tree, MULT, tree->type->size())) return tree;
    return integer_rule_set.run(tree, loop, context);
}
