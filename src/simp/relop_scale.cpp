// Comparisons of products, quotients and shifted values with a constant.
#include "simp/relop_int.h"

#include <algorithm>

namespace {

using WIDE = INT65::wide;

// C of x * C, x / C or x >> C; false if there is none, or the operation's operands are not compared at its own width.
struct SCALED_TEST : CONSTANT_TEST {
    INT65 c;
};
bool is_scaled_test(const NODE* tree, int op, SCALED_TEST& test) {
    const NODE* scaled = tree->left;
    if (scaled->op != op || scaled->right->op != ICON || !is_integer_like(scaled->left->type)) return false;
    if (!is_constant_test(tree, test) || !test.same_width) return false;
    test.c = truncate_to_type(scaled->right->u.lval, test.type);
    return true;
}

// Takes the operation away and compares what it worked on with another constant.
NODE* compare_operand(NODE* tree, int op, INT65 k, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = tree->left->type;
    NODE* x = unwrap_left(tree->left);
    erase_node(tree->right);
    return compare_again(tree, op, x, mk_ICON(k, type), loop, context);
}

bool in_type(WIDE v, TYPE* type) { return v >= int_type_min(type).to_wide() && v <= int_type_max(type).to_wide(); }

WIDE floor_quotient(WIDE a, WIDE b) { // b > 0
    WIDE q = a / b;
    return a % b < 0 ? q - 1 : q;
}

// ------------------------------------------------------------------------------------------------------------ products

// x * C op 0  ->  x op 0        C < 0: x op' 0, operator mirrored
// Orderings and even factors rely on exact arithmetic. An odd factor keeps zero apart from all else even if it wraps.
NODE* product_and_zero(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    SCALED_TEST test;
    if (!is_scaled_test(tree, MULT, test) || !test.k.is_zero() || test.c.is_zero()) return nullptr;
    if (!test.compares_values()) return nullptr;
    bool odd = is_equality(test.op) && !(test.c & INT65(1)).is_zero();
    if (!odd && !result_is_exact(test.x, loop, context)) return nullptr;
    return compare_operand(tree, test.c.is_negative() ? commute_inv[test.op] : test.op, 0, loop, context);
}

// A quotient or shift without remainder: x / C op K  ->  x op K * C
NODE* multiply_out(NODE* tree, const CONSTANT_TEST& test, WIDE c, LOOP_RECORD* loop, CONTEXT* context) {
    if (!test.type->is_signed() || !test.compares_values()) return nullptr;
    const NODE* x = test.x->left;
    if ((x->op != MULT && x->op != SLL) || !compatible_types(x->type, test.type, false)) return nullptr;
    WIDE k;
    if (__builtin_mul_overflow(test.k.to_wide(), c, &k)) return nullptr;
    if (!in_type(k, test.type)) return nullptr;
    return compare_operand(tree, test.op, INT65::from_wide(k), loop, context);
}

// x / C op K  ->  x op K * C       C > 0 divides x
NODE* exact_quotient(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    SCALED_TEST test;
    if (!is_scaled_test(tree, DIV, test) || test.c <= INT65(0)) return nullptr;
    if (!integer_DIV_is_exact(test.x, loop, context)) return nullptr;
    return multiply_out(tree, test, test.c.to_wide(), loop, context);
}

// x >> C op K  ->  x op K << C     2^C divides x
NODE* exact_shift(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    SCALED_TEST test;
    if (!is_scaled_test(tree, SRL, test) || test.c <= INT65(0) || test.c >= INT65(test.type->size())) return nullptr;
    WIDE factor = static_cast<WIDE>(1) << test.c.low;
    if (!constant_divides_expr(INT65::from_wide(factor), test.type, test.x->left, loop)) return nullptr;
    return multiply_out(tree, test, factor, loop, context);
}

// x * C op K  ->  x op K / C       C divides K. Relies on exact arithmetic.
NODE* common_factor(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    SCALED_TEST test;
    if (!is_scaled_test(tree, MULT, test) || test.k.is_zero() || test.c.is_zero() || test.c == INT65(1)) return nullptr;
    if (!test.compares_values() || !(test.k % test.c).is_zero()) return nullptr;
    INT65 k = test.k / test.c;
    if (!in_type(k.to_wide(), test.type) || !result_is_exact(test.x, loop, context)) return nullptr;
    return compare_operand(tree, test.c.is_negative() ? commute_inv[test.op] : test.op, k, loop, context);
}

// x * -C == K  ->  x * C == -K     Both sides modulo 2^width; the new product may wrap where the old one did not.
NODE* negative_factor(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    SCALED_TEST test;
    if (!is_scaled_test(tree, MULT, test) || !is_equality(test.op) || !test.type->is_signed()) return nullptr;
    INT65 low = int_type_min(test.type);
    if (test.c >= INT65(0) || test.c == INT65(-1) || test.c == low || test.k == low) return nullptr;
    NODE* product = test.x;
    product->right->u.lval = -test.c;
    product->right->type = test.type;
    product->flags = static_cast<uint8_t>(product->flags & ~NODE_NO_WRAP);
    erase_node(tree->right);
    return compare_again(tree, test.op, simp_node(product, loop, context), mk_ICON(-test.k, test.type), loop, context);
}

// x * C >= K  ->  x >= ceil(K / C)      x * C <= K  ->  x <= floor(K / C)      > and < likewise
// x * -C op K is x * C op' -K. Relies on exact arithmetic.
NODE* divide_bound(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    SCALED_TEST test;
    if (!is_scaled_test(tree, MULT, test) || is_equality(test.op) || !test.compares_values()) return nullptr;
    WIDE c = test.c.to_wide(), k = test.k.to_wide();
    int op = as_signed(test.op);
    if (c < 0) c = -c, k = -k, op = commute_inv[op];
    if (c < 2 || !result_is_exact(test.x, loop, context)) return nullptr;
    bool lower_bound = op == GE || op == GT;
    if (op == GT) k++;
    if (op == LT) k--;
    k = lower_bound ? -floor_quotient(-k, c) : floor_quotient(k, c);
    if (!in_type(k, test.type)) return nullptr;
    op = lower_bound ? GE : LE;
    if (!test.type->is_signed()) op = as_unsigned(op);
    return compare_operand(tree, op, INT65::from_wide(k), loop, context);
}

// ----------------------------------------------------------------------------------------------------------- quotients

// The bound K of q op K becomes `bound` of x >= bound or x < bound, where q is x divided by c.
NODE* scale_bound(NODE* tree, const CONSTANT_TEST& test, WIDE c, LOOP_RECORD* loop, CONTEXT* context) {
    int op = as_signed(test.op);
    WIDE k = test.k.to_wide();
    if (op == GT || op == LE) k++;
    WIDE bound;
    if (__builtin_mul_overflow(k, c, &bound) || !in_type(bound, test.type)) return nullptr;
    op = op == GT || op == GE ? GE : LT;
    if (!test.type->is_signed()) op = as_unsigned(op);
    return compare_operand(tree, op, INT65::from_wide(bound), loop, context);
}

// x / C >= K  ->  x >= K * C          x / C > K  ->  x >= (K + 1) * C        < and <= are the opposites
// Division rounds toward zero, so 0 is also the quotient of negative values: then K must be positive.
NODE* quotient_and_bound(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    SCALED_TEST test;
    if (!is_scaled_test(tree, DIV, test) || is_equality(test.op) || !test.compares_values()) return nullptr;
    if (test.c < INT65(1) || test.k.is_negative()) return nullptr;
    bool at_zero = test.k.is_zero() && (test.op == GE || test.op == LT);
    if (at_zero && !tree_is_non_negative(test.x->left, loop, context)) return nullptr;
    if (!value_fits_in_type(test.x->left, test.type) && at_zero) return nullptr;
    return scale_bound(tree, test, test.c.to_wide(), loop, context);
}

// x >> C >= K  ->  x >= K << C        x >> C > K  ->  x >= (K + 1) << C      < and <= are the opposites
NODE* shift_and_bound(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    SCALED_TEST test;
    if (!is_scaled_test(tree, SRL, test) || is_equality(test.op) || !test.compares_values()) return nullptr;
    if (test.c < INT65(1) || test.c >= INT65(test.type->size())) return nullptr;
    return scale_bound(tree, test, static_cast<WIDE>(1) << test.c.low, loop, context);
}

// A sum with a constant has the value of unbounded integers.
bool offset_is_exact(NODE* sum, INT65 c, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = sum->type;
    if ((sum->flags & NODE_NO_WRAP) != 0 && type->is_signed()) return true;
    VALUE_RANGE x = calculate_range_for_tree(sum->left, loop, context);
    return in_type(x.low.to_wide() + c.to_wide(), type) && in_type(x.high.to_wide() + c.to_wide(), type);
}

// The order in which a comparison of two operands of one type compares their values.
bool compares_values_of(int op, TYPE* type) {
    return is_equality(op) || (type->is_signed() ? is_signed_order(op) : is_unsigned_order(op));
}

// (x / C) * C with a positive C: x without the remainder. Also x & -C with C a power of two.
bool is_rounded(const NODE* tree) {
    if (!is_integer_like(tree->type) || tree->type->is_bool() || tree->right == nullptr || tree->right->op != ICON)
        return false;
    if (tree->op == ANDB) {
        INT65 rest = ~tree->right->u.lval & type_mask(tree->type);
        return !rest.is_zero() && rest <= int_type_max(tree->type) && power_of_2(rest + INT65(1)) >= 0 &&
               equiv_mtypes(tree->left->type, tree->type);
    }
    if (tree->op != MULT || tree->left->op != DIV) return false;
    const NODE* quotient = tree->left;
    return quotient->right->op == ICON && quotient->right->u.lval == tree->right->u.lval &&
           tree->right->u.lval > INT65(0) && equiv_mtypes(quotient->type, tree->type) &&
           equiv_mtypes(quotient->left->type, tree->type);
}

// Turns the rounded value into what rounding takes away: x % C, or x & C - 1.
NODE* rounded_off(NODE* rounded, LOOP_RECORD* loop, CONTEXT* context) {
    if (rounded->op == ANDB) {
        NODE* mask = rounded->right;
        mask->u.lval = truncate_to_type(~mask->u.lval, rounded->type);
        mask->type = rounded->type;
        return simp_node(rounded, loop, context);
    }
    NODE* quotient = rounded->left;
    TYPE* type = rounded->type;
    erase_node(rounded->right);
    erase_node(rounded);
    return simp_node(remake(quotient, MOD, quotient->left, quotient->right, type), loop, context);
}

// (x / C) * C op x + D  ->  x % C op' -D          operator mirrored; D may be 0
// The left side is x - x % C exactly. For == modulo 2^width; orderings need the exact x + D.
NODE* rounded_and_itself(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    bool on_left = is_rounded(tree->left);
    if (!on_left && !is_rounded(tree->right)) return nullptr;
    NODE* rounded = on_left ? tree->left : tree->right;
    NODE* other = on_left ? tree->right : tree->left;
    TYPE* type = rounded->type;
    int op = on_left ? tree->op : commute_inv[tree->op];
    const NODE* x = rounded->op == ANDB ? rounded->left : rounded->left->left;
    if (!equiv_mtypes(other->type, type) || !compares_values_of(op, type)) return nullptr;
    INT65 d;
    bool is_sum = constant_offset(other, d) && equiv_mtypes(other->left->type, type);
    if (!is_sum) d = INT65(0);
    if (!trees_are_congruent(x, is_sum ? other->left : other) || !tree_is_pure(x)) return nullptr;
    if (!is_equality(op)) {
        if (is_sum && !offset_is_exact(other, d, loop, context)) return nullptr;
        if (d > INT65(0) && !type->is_signed()) return decided(tree, op == ULT || op == ULE);
        if (!in_type(-d.to_wide(), type)) return nullptr;
    }
    erase_tree(other);
    return compare_again(tree, commute_inv[op], rounded_off(rounded, loop, context), mk_ICON(-d, type), loop, context);
}

// The largest x for which (x + d) / c is at least x + above, where the quotient is rounded down or toward zero. The
// quotient less x never grows with x, so there is one; the answer for rounding down is corrected by trial. False if
// that does not lead there.
bool last_not_above_quotient(WIDE d, WIDE c, WIDE above, bool round_down, WIDE& x) {
    auto holds = [&](WIDE v) {
        WIDE q = round_down ? floor_quotient(v + d, c) : (v + d) / c;
        return q >= v + above;
    };
    x = floor_quotient(d - above * c, c - 1);
    for (int trial = 0; trial < 4; trial++) {
        if (!holds(x))
            x--;
        else if (holds(x + 1))
            x++;
        else
            return true;
    }
    return false;
}

// (x + D) / C op x  ->  x op' K          C > 1; also (x + D) >> n and x / C. Needs the exact x + D.
// The difference of the two sides never grows with x: (x + D) / C >= x up to some x, > x up to another.
NODE* quotient_and_itself(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    bool on_left = tree->left->op == DIV || tree->left->op == SRL;
    NODE* quotient = on_left ? tree->left : tree->right;
    NODE* x = on_left ? tree->right : tree->left;
    if ((quotient->op != DIV && quotient->op != SRL) || quotient->right->op != ICON) return nullptr;
    TYPE* type = quotient->type;
    NODE* dividend = quotient->left;
    int op = on_left ? tree->op : commute_inv[tree->op];
    if (!is_integer_like(type) || type->is_bool() || !equiv_mtypes(x->type, type) ||
        !equiv_mtypes(dividend->type, type) || !compares_values_of(op, type))
        return nullptr;
    INT65 d, c = quotient->right->u.lval;
    bool is_sum = constant_offset(dividend, d) && equiv_mtypes(dividend->left->type, type);
    if (!is_sum) d = INT65(0);
    if (quotient->op == SRL) {
        if (c < INT65(1) || c >= INT65(type->size() - 1)) return nullptr;
        c = INT65(1) << c.low;
    }
    if (c < INT65(2) || c > int_type_max(type)) return nullptr;
    if (!trees_are_congruent(is_sum ? dividend->left : dividend, x) || !tree_is_pure(x)) return nullptr;
    if (is_sum && !offset_is_exact(dividend, d, loop, context)) return nullptr;
    WIDE at_least, above;
    bool down = quotient->op == SRL;
    if (!last_not_above_quotient(d.to_wide(), c.to_wide(), 0, down, at_least) ||
        !last_not_above_quotient(d.to_wide(), c.to_wide(), 1, down, above))
        return nullptr;
    WIDE k;
    switch (as_signed(op)) {
    case EQ:
    case NEQ: // equal from above + 1 to at_least
        if (at_least > std::max(above + 1, int_type_min(type).to_wide())) return nullptr;
        k = at_least;
        break;
    case GE: k = at_least, op = LE; break;
    case LT: k = at_least, op = GT; break;
    case GT: k = above, op = LE; break;
    default: k = above, op = GT; break;
    }
    if (!in_type(k, type)) {
        bool too_large = k > int_type_max(type).to_wide();
        return decided(tree, is_equality(op) ? op == NEQ : (op == LE) == too_large);
    }
    if (!type->is_signed()) op = as_unsigned(op);
    erase_tree(quotient);
    return compare_again(tree, op, x, mk_ICON(INT65::from_wide(k), type), loop, context);
}

const RULE scale_rules[] = {
    {"product_and_zero", "x * C < 0 -> x < 0", product_and_zero},
    {"exact_quotient", "x / C op K -> x op K * C, C divides x", exact_quotient},
    {"exact_shift", "x >> C op K -> x op K << C, 2^C divides x", exact_shift},
    {"common_factor", "x * C op K -> x op K / C, C divides K", common_factor},
    {"negative_factor", "x * -C == K -> x * C == -K", negative_factor},
    {"divide_bound", "x * C >= K -> x >= ceil(K / C)", divide_bound},
};
const RULE quotient_rules[] = {
    {"quotient_and_bound", "x / C >= K -> x >= K * C", quotient_and_bound},
    {"shift_and_bound", "x >> C >= K -> x >= K << C", shift_and_bound},
    {"rounded_and_itself", "(x / C) * C < x + D -> x % C > -D", rounded_and_itself},
    {"quotient_and_itself", "(x + D) / C < x -> x > K", quotient_and_itself},
};

} // namespace

const RULE_SET relop_scale("relop_scale", scale_rules);
const RULE_SET relop_quotient("relop_quotient", quotient_rules);
