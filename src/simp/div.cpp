// Rules of DIV.
//
// Integer quotients are cut towards zero, and nothing about them holds modulo 2^width: a rule that divides a factor or
// a term out needs the mathematical value of the dividend, so it asks result_is_exact. Signs move outward: (-x) / y and
// x / -C are -(x / y) and -(x / C). A division by zero may vanish with its quotient; none is made.
#include "simp/arith.h"
#include "simp/fold.h"
#include "simp/ranges.h"
#include "simp/rules.h"

#include "ir/fps.h"
#include "ir/opt_expr.h"
#include "ir/vars.h"

namespace {

bool is_signed_quotient(const NODE* tree) { return tree->type->is_signed(); }

// The product is exact, and each of its factors goes into it unchanged.
bool is_exact_product(NODE* node, LOOP_RECORD* loop, CONTEXT* context) {
    return node->op == MULT && alike(node->left->type, node->type) && alike(node->right->type, node->type) &&
           result_is_exact(node, loop, context);
}

bool is_exact_negation(NODE* node, LOOP_RECORD* loop, CONTEXT* context) {
    return node->op == UMINUS && alike(node->left->type, node->type) && result_is_exact(node, loop, context);
}

// ----------------------------------------------------------------------------------------------------------- floats

// x / C -> x * (1 / C). Where results must be those of the source, only if 1 / C is exact: the product is then the
// quotient, rounded once.
NODE* reciprocal(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* divisor = tree->right;
    if (divisor->op != FCON || tree->left->op == FCON || !tree->type->is_fltpt()) return nullptr;
    if (!equiv_mtypes(divisor->type, tree->type) || !equiv_mtypes(tree->left->type, tree->type)) return nullptr;
    uint8_t kept = fp_error;
    fp_error = 0;
    simul_fval inverse, product;
    f_div(&one, divisor->u.fval, &inverse);
    truncate_fval_to_target(&inverse, tree->type);
    f_mul(&inverse, divisor->u.fval, &product);
    bool good = fp_error == 0 && !f_is_nan(&inverse) && (strict_fp == 0 || f_eq(&product, &one));
    fp_error = kept;
    if (!good) return nullptr;
    NODE* factor = new_node(FCON, divisor->type);
    factor->u.fval = new simul_fval(inverse);
    erase_node(divisor);
    return simp_node(remake(tree, MULT, tree->left, factor, tree->type), loop, context);
}

const RULE float_rules[] = {
    {"reciprocal", "x / C -> x * (1 / C)", reciprocal},
};
const RULE_SET float_rule_set("DIV.float", float_rules);

// --------------------------------------------------------------------------------------------------------- integers

// The operands take the type of the quotient, so that the rules need not look at conversions.
NODE* operand_types(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (alike(tree->left->type, tree->type) && alike(tree->right->type, tree->type)) return nullptr;
    tree->left = coerce_to_type(tree->left, tree->type);
    tree->right = coerce_to_type(tree->right, tree->type);
    if (!alike(tree->left->type, tree->type) || !alike(tree->right->type, tree->type)) return tree;
    return simp_DIV(tree, 0, loop, context);
}

// x / x -> 1
NODE* equal_operands(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!trees_are_congruent(tree->left, tree->right)) return nullptr;
    NODE* result = mk_constant(1, tree->type);
    result->scope = tree->scope;
    erase_tree(tree);
    return result;
}

// 0 / x -> 0
NODE* zero_divided(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!is_zero_ICON(tree->left)) return nullptr;
    return simp_subst_icon(tree, 0, tree->type);
}

// -C, where it is the negation of a positive constant of the type
bool is_negative_constant(const NODE* node, TYPE* type) {
    return node->op == ICON && node->u.lval.is_negative() && node->u.lval != int_type_min(type);
}

// -(left / right) in place of `tree`
NODE* negated_quotient(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = tree->type;
    LS* scope = tree->scope;
    NODE* quotient = simp_DIV(tree, 0, loop, context);
    return simp_node(maketree(UMINUS, quotient, nullptr, type, scope), loop, context);
}

// x / -C -> -(x / C),  -C / x -> -(C / x)
NODE* negative_constant(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_signed_quotient(tree)) return nullptr;
    for (NODE* operand : {tree->right, tree->left}) {
        if (!is_negative_constant(operand, tree->type) || operand->u.lval == INT65(-1)) continue;
        set_ICON(operand, -operand->u.lval, tree->type);
        return negated_quotient(tree, loop, context);
    }
    return nullptr;
}

// -x / y -> -(x / y),  x / -y -> -(x / y),  -x / -y -> x / y
// Relies on exact arithmetic of -x and -y: the smallest value is its own negation.
NODE* negated_operand(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_signed_quotient(tree)) return nullptr;
    auto is_sum = [](const NODE* node) { return node->op == PLUS || node->op == MINUS; };
    bool left = !is_sum(tree->right) && is_exact_negation(tree->left, loop, context);
    bool right = !is_sum(tree->left) && is_exact_negation(tree->right, loop, context);
    if (!left && !right) return nullptr;
    if (left) tree->left = take_left(tree->left);
    if (right) tree->right = take_left(tree->right);
    return left != right ? negated_quotient(tree, loop, context) : simp_DIV(tree, 0, loop, context);
}

// (x * y) / (z * y) -> x / z, and what it comes to for single factors and constants
// Relies on exact arithmetic of the products.
NODE* common_factors(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_signed_quotient(tree) || !cancel_common_simple_factors(tree->left, tree->right)) return nullptr;
    return simp_DIV(tree, 0, loop, context);
}

const RULE integer_rules[] = {
    {"operand_types", "x / y -> (T)x / (T)y", operand_types},
    {"equal_operands", "x / x -> 1", equal_operands},
    {"zero_divided", "0 / x -> 0", zero_divided},
    {"negative_constant", "x / -C -> -(x / C)", negative_constant},
    {"negated_operand", "-x / y -> -(x / y)", negated_operand},
    {"common_factors", "(x * y) / (z * y) -> x / z", common_factors},
};
const RULE_SET integer_rule_set("DIV", integer_rules);

// ------------------------------------------------------------------------------------------------------ by constant

// x / 1 -> x
NODE* by_one(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (divisor_of(tree) != INT65(1)) return nullptr;
    TYPE* type = tree->type;
    return coerce_to_type(take_left(tree), type);
}

// x / -1 -> x * -1
NODE* by_minus_one(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (divisor_of(tree) != INT65(-1)) return nullptr;
    return simp_node(remake(tree, MULT, tree->left, tree->right, tree->type), loop, context);
}

// (T)x / C -> 0, where C is above all that the type of x holds
NODE* narrow_dividend(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    const NODE* conversion = tree->left;
    if (conversion->op != SCONV || !is_modular(conversion->left->type)) return nullptr;
    TYPE* narrow = conversion->left->type;
    if (narrow->size() >= tree->type->size() || (narrow->is_signed() && !tree->type->is_signed())) return nullptr;
    INT65 d = divisor_of(tree);
    if (d.is_negative()) d = -d;
    if (d <= int_type_max(narrow) || d <= -int_type_min(narrow)) return nullptr;
    return simp_subst_icon(tree, 0, tree->type);
}

// (x + C) / d -> x / d + C / d, where d divides x, and also C unless the sum is not negative.
// Relies on exact arithmetic of x + C.
NODE* sum_divided(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* sum = tree->left;
    if (sum->op != PLUS || sum->right->op != ICON || !alike(sum->left->type, sum->type)) return nullptr;
    TYPE* type = tree->type;
    INT65 d = divisor_of(tree), c = truncate_to_type(sum->right->u.lval, type);
    if (d <= INT65(1) || !result_is_exact(sum, loop, context)) return nullptr;
    if (!(max_ICON_factor(sum->left, loop, context) % d).is_zero()) return nullptr;
    bool divides = (c % d).is_zero();
    if (!divides && (c.is_negative() || !tree_is_non_negative(sum, loop, context))) return nullptr;
    erase_node(sum->right);
    NODE* x = simp_DIV(remake(sum, DIV, sum->left, tree->right, type), 1, loop, context);
    return simp_node(remake(tree, PLUS, x, mk_constant(c / d, type), type), loop, context);
}

// (x * C) / d -> (x * (C / g)) / (d / g), where g divides both.
// Relies on exact arithmetic of x * C. The smaller multiple is exact as well, so the product keeps its mark.
NODE* product_divided(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* product = tree->left;
    INT65 d = divisor_of(tree);
    if (d <= INT65(1) || product->op != MULT || product->right->op != ICON) return nullptr;
    INT65 c = truncate_to_type(product->right->u.lval, tree->type);
    INT65 g = long_gcd(c, d);
    if (c.is_zero() || g <= INT65(1) || !is_exact_product(product, loop, context)) return nullptr;
    set_ICON(product->right, c / g, tree->type);
    tree->left = simp_node(product, loop, context);
    set_ICON(tree->right, d / g, tree->type);
    return simp_node(tree, loop, context);
}

// x / 2^n -> x >> n,  x / -2^n -> -(x >> n), the dividend being a multiple of 2^n, or not negative
NODE* shifted_dividend(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = tree->type;
    INT65 d = divisor_of(tree);
    bool negative = d.is_negative();
    int n = power_of_2(negative ? -d : d);
    if (n < 1) return nullptr;
    erase_node(tree->right);
    LS* scope = tree->scope;
    NODE* shift = simp_node(remake(tree, SRL, tree->left, mk_ICON(INT65(n), tp->int_type()), type), loop, context);
    return negative ? simp_node(maketree(UMINUS, shift, nullptr, type, scope), loop, context) : shift;
}

NODE* by_power_of_2(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    INT65 d = divisor_of(tree);
    if (power_of_2(d.is_negative() ? -d : d) < 1) return nullptr;
    bool fits = tree->type->is_unsigned() || tree_is_non_negative(tree->left, loop, context) ||
                integer_DIV_is_exact(tree, loop, context);
    return fits ? shifted_dividend(tree, loop, context) : nullptr;
}

const RULE constant_rules[] = {
    {"by_one", "x / 1 -> x", by_one},
    {"by_minus_one", "x / -1 -> x * -1", by_minus_one},
    {"narrow_dividend", "(T)x / C -> 0", narrow_dividend},
    {"sum_divided", "(x + C) / d -> x / d + C / d", sum_divided},
    {"product_divided", "(x * C) / d -> x * (C / d)", product_divided},
    {"by_power_of_2", "x / 2^n -> x >> n", by_power_of_2},
};
const RULE_SET constant_rule_set("DIV.constant", constant_rules);

// The same where the dividend is a multiple of the divisor.
const RULE exact_rules[] = {
    {"product_divided", "(x * C) / d -> x * (C / d)", product_divided},
    {"shifted_dividend", "x / 2^n -> x >> n", shifted_dividend},
};
const RULE_SET exact_rule_set("DIV.exact", exact_rules);

bool has_operands_of_its_type(const NODE* tree) {
    return is_modular(tree->type) && alike(tree->left->type, tree->type) && alike(tree->right->type, tree->type);
}

// The constant of x * C, or of C itself; 0 if there is none.
INT65 constant_of(const NODE* tree) {
    const NODE* c = tree->op == MULT ? tree->right : tree;
    return c->op == ICON ? truncate_to_type(c->u.lval, tree->type) : INT65(0);
}

void set_constant(NODE*& tree, INT65 value) {
    NODE* c = tree->op == MULT ? tree->right : tree;
    set_ICON(c, value, tree->type);
    tree = simp_node(tree);
}

// Takes one operand of a product, or all of any other tree, away as a factor.
void take_factor(NODE*& tree, bool left) {
    if (tree->op != MULT) {
        NODE* unit = mk_constant(1, tree->type);
        erase_tree(tree);
        tree = unit;
        return;
    }
    NODE* rest = left ? tree->right : tree->left;
    erase_tree(left ? tree->left : tree->right);
    erase_node(tree);
    tree = rest;
}

void cancel_constants(NODE*& a, NODE*& b) {
    INT65 ca = constant_of(a), cb = constant_of(b), g = long_gcd(ca, cb);
    set_constant(a, ca / g);
    set_constant(b, cb / g);
}

// A factor that both have: which operand of each, if they are products.
bool find_equal_factor(const NODE* a, const NODE* b, bool& a_left, bool& b_left) {
    for (bool in_a : {true, false})
        for (bool in_b : {true, false}) {
            const NODE* x = a->op != MULT ? a : in_a ? a->left : a->right;
            const NODE* y = b->op != MULT ? b : in_b ? b->left : b->right;
            if (x->op == ICON || !same_term(x, y)) continue;
            a_left = in_a;
            b_left = in_b;
            return true;
        }
    return false;
}

} // namespace

// Only the operands of the top products are looked at: what stays of one is an operand, so it is a value of the type.
// A factor from further down would leave a product that need not be exact: of (x * -1) * y = -2^31 it might be 2^31.
// That what is taken away is not zero is implied by its being a factor of the divisor.
bool cancel_common_simple_factors(NODE*& left, NODE*& right) {
    if (left->op != MULT && right->op != MULT) return false;
    if (!alike(left->type, right->type) || !left->type->is_signed()) return false;
    bool constants = long_gcd(constant_of(left), constant_of(right)) > INT65(1) && !constant_of(left).is_zero() &&
                     !constant_of(right).is_zero();
    bool in_left = false, in_right = false;
    if (!constants && !find_equal_factor(left, right, in_left, in_right)) return false;
    for (NODE* side : {left, right})
        if (side->op == MULT && !is_exact_product(side, nullptr, nullptr)) return false;
    if (constants) {
        cancel_constants(left, right);
    } else {
        take_factor(left, in_left);
        take_factor(right, in_right);
    }
    return true;
}

NODE* simp_DIV_by_ICON(NODE* tree, int exact, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->right->op != ICON || tree->left->op == ICON || !has_operands_of_its_type(tree)) return tree;
    if (divisor_of(tree).is_zero()) return tree;
    if (exact != 0)
        if (NODE* result = exact_rule_set.try_rules(tree, loop, context)) return result;
    return constant_rule_set.run(tree, loop, context);
}

NODE* simp_DIV(NODE* tree, int exact, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->type->is_fltpt()) return float_rule_set.run(tree, loop, context);
    if (!is_modular(tree->type) || !is_modular(tree->left->type) || !is_modular(tree->right->type)) return tree;
    if (tree->right->op == ICON) {
        if (tree->left->op == ICON) return fold_node(tree);
        if (divisor_of(tree).is_zero()) return tree; // a later stage tells the user
    }
    if (exact != 0 && tree->right->op == ICON && has_operands_of_its_type(tree))
        if (NODE* result = exact_rule_set.try_rules(tree, loop, context)) return result;
    if (NODE* result = integer_rule_set.try_rules(tree, loop, context)) return result;
    return simp_DIV_by_ICON(tree, exact, loop, context);
}
