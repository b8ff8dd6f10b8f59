// Comparisons of sums and differences, and of operands that share a term or are one another's complement.
#include "simp/relop_int.h"

#include <utility>

bool constant_offset(const NODE* sum, INT65& c) {
    if ((sum->op != PLUS && sum->op != MINUS) || sum->right->op != ICON) return false;
    if (!is_integer_like(sum->type) || sum->type->is_bool() || !is_integer_like(sum->left->type)) return false;
    c = sign_extend_by_type_size(sum->right->u.lval, sum->type);
    if (sum->op == MINUS) c = -c;
    return true;
}

namespace {

bool is_integer_operation(const NODE* tree, int op) {
    return tree->op == op && is_integer_like(tree->type) && !tree->type->is_bool() &&
           is_integer_like(tree->left->type) && is_integer_like(tree->right->type);
}

// --------------------------------------------------------------------------------------------------------- differences

// a - b == 0  ->  a == b       modulo 2^width; also of two pointers
NODE* equal_terms(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* difference = tree->left;
    if (!is_equality(tree->op) || !is_null(tree->right) || difference->op != MINUS) return nullptr;
    NODE *a = difference->left, *b = difference->right;
    bool pointers = a->type->is_ptr() && b->type->is_ptr();
    if (!pointers && !is_integer_operation(difference, MINUS)) return nullptr;
    if (!pointers) {
        a = coerce_to_type(a, difference->type);
        b = coerce_to_type(b, difference->type);
    }
    erase_node(difference);
    erase_tree(tree->right);
    return compare_again(tree, tree->op, a, b, loop, context);
}

// a - b < 0  ->  a < b         Relies on exact arithmetic.
NODE* ordered_terms(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* difference = tree->left;
    if (!is_signed_order(tree->op) || !is_zero_ICON(tree->right) || !is_integer_operation(difference, MINUS))
        return nullptr;
    TYPE* type = difference->type;
    if (!type->is_signed() || !result_is_exact(difference, loop, context)) return nullptr;
    NODE* a = coerce_to_type(difference->left, type);
    NODE* b = coerce_to_type(difference->right, type);
    erase_node(difference);
    erase_node(tree->right);
    return compare_again(tree, tree->op, a, b, loop, context);
}

// a + C == K  ->  a == K - C        modulo 2^width
NODE* move_offset(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CONSTANT_TEST test;
    INT65 c;
    if (!is_equality(tree->op) || !constant_offset(tree->left, c)) return nullptr;
    if (!is_constant_test(tree, test) || !test.same_width) return nullptr;
    NODE* a = unwrap_left(tree->left);
    erase_node(tree->right);
    return compare_again(tree, test.op, a, mk_ICON(test.k - c, test.type), loop, context);
}

// C - a == K  ->  a == C - K        modulo 2^width
NODE* move_negated(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CONSTANT_TEST test;
    NODE* difference = tree->left;
    if (!is_equality(tree->op) || !is_integer_operation(difference, MINUS) || difference->left->op != ICON)
        return nullptr;
    if (!is_constant_test(tree, test) || !test.same_width) return nullptr;
    INT65 k = difference->left->u.lval - test.k;
    NODE* a = coerce_to_type(difference->right, test.type);
    erase_node(difference->left);
    erase_node(difference);
    erase_node(tree->right);
    return compare_again(tree, test.op, a, mk_ICON(k, test.type), loop, context);
}

// C - x u<= K  ->  x - (C - K) u<= K        C - x u< K  ->  x - (C - K + 1) u< K        u> and u>= are the opposites
// Modulo 2^width, C - x is in 0 .. K if x is in C - K .. C.
NODE* reverse_range(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CONSTANT_TEST test;
    NODE* difference = tree->left;
    if (!is_unsigned_order(tree->op) || !is_integer_operation(difference, MINUS) || difference->left->op != ICON)
        return nullptr;
    if (!is_constant_test(tree, test) || !test.same_width) return nullptr;
    INT65 width_of_range = test.k & type_mask(test.type); // the last value in the range
    if (test.op == ULT || test.op == UGE) width_of_range = width_of_range - INT65(1);
    if (width_of_range.is_negative()) return nullptr;
    NODE* c = difference->left;
    c->u.lval = truncate_to_type(c->u.lval - width_of_range, test.type);
    c->type = test.type;
    remake(difference, MINUS, coerce_to_type(difference->right, test.type), c, test.type);
    tree->left = simp_node(difference, loop, context);
    return simp_node(tree, loop, context);
}

// x - lo u<= n  ->  v op K, or decided         where the values that x can have make one bound of the two
// With x in low .. high, the test asks for the intervals lo + j * 2^width .. lo + n + j * 2^width, of which at most two
// meet low .. high. One interval that lies inside low .. high needs both bounds: then the test stays, since no form is
// shorter. u< is u<= with n - 1; u> and u>= are the opposites.
NODE* one_sided_range(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    using WIDE = INT65::wide;
    CONSTANT_TEST test;
    INT65 offset;
    if (!is_unsigned_order(tree->op) || !constant_offset(tree->left, offset)) return nullptr;
    if (!is_constant_test(tree, test) || !test.same_width) return nullptr;
    NODE* x = tree->left->left;
    TYPE* type = x->type;
    if (type->size() > test.type->size()) return nullptr;
    bool inside = test.op == ULT || test.op == ULE;
    WIDE n = (test.k & type_mask(test.type)).to_wide();
    if (test.op == ULT || test.op == UGE) n--;
    VALUE_RANGE range = calculate_range_for_tree(x, loop, context);
    WIDE low = range.low.to_wide(), high = range.high.to_wide(), lo = -offset.to_wide();
    WIDE period = static_cast<WIDE>(1) << test.type->size();
    // the last interval that begins at or below `low`; the next one or two may meet the values as well
    WIDE distance = (low - lo) % period;
    WIDE first = low - (distance < 0 ? distance + period : distance);
    if (first + n < low) first += period;
    if (n < 0 || first > high) return decided(tree, !inside);
    WIDE last = first + n;
    if (first <= low && last >= high) return decided(tree, inside);
    int op;
    WIDE k;
    if (first + period <= high) { // a second interval: all but the gap between them
        if (first + period - last != 2) return nullptr;
        op = NEQ, k = last + 1;
    } else if (first <= low) {
        op = LE, k = last;
    } else if (last >= high) {
        op = GE, k = first;
    } else if (first == last) {
        op = EQ, k = first;
    } else {
        return nullptr;
    }
    if (!inside) op = boolean_inv[op];
    if (!type->is_signed()) op = as_unsigned(op);
    erase_node(tree->left->right);
    erase_node(tree->left);
    erase_node(tree->right);
    return compare_again(tree, op, x, mk_ICON(INT65::from_wide(k), promoted_type(type)), loop, context);
}

// a + C1 op b + C2  ->  a op b + (C2 - C1)       the operands exchanged if C1 is the larger
// For == modulo 2^width. Orderings rely on exact arithmetic: with constants of one sign, the larger one less the
// smaller lies between zero and the larger, so the new sum is exact as well.
NODE* join_offsets(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    INT65 c1, c2;
    NODE *left = tree->left, *right = tree->right;
    if (is_unsigned_order(tree->op) || !constant_offset(left, c1) || !constant_offset(right, c2)) return nullptr;
    TYPE* type = left->type;
    if (!equiv_mtypes(type, right->type) || combined_type(left, right)->size() != type->size()) return nullptr;
    bool exact = false;
    if (!is_equality(tree->op)) {
        if (!type->is_signed() || c1.is_negative() != c2.is_negative()) return nullptr;
        if (!result_is_exact(left, loop, context) || !result_is_exact(right, loop, context)) return nullptr;
        if (!value_fits_in_type(c2 - c1, type) || !value_fits_in_type(c1 - c2, type)) return nullptr;
        exact = ((left->flags & right->flags) & NODE_NO_WRAP) != 0;
    }
    auto magnitude = [](INT65 v) { return v.is_negative() ? -v : v; };
    int op = tree->op;
    if (magnitude(c1) > magnitude(c2)) {
        if (!tree_is_pure(left) && !tree_is_pure(right)) return nullptr;
        std::swap(left, right);
        std::swap(c1, c2);
        op = commute_inv[op];
    }
    NODE* a = unwrap_left(left);
    NODE* b = coerce_to_type(right->left, type);
    NODE* c = right->right;
    c->u.lval = truncate_to_type(c2 - c1, type);
    c->type = type;
    remake(right, PLUS, b, c, type);
    if (exact) right->flags |= NODE_NO_WRAP;
    return compare_again(tree, op, a, simp_node(right, loop, context), loop, context);
}

// ----------------------------------------------------------------------------------------- congruent and complementary

// x <= x  ->  1        x < x  ->  0
NODE* same_operands(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!trees_are_congruent(tree->left, tree->right) || !tree_is_pure(tree->left)) return nullptr;
    int op = as_signed(tree->op);
    return decided(tree, op == EQ || op == LE || op == GE);
}

bool is_test_of(const NODE* test, const NODE* x) {
    return test->op == EQ && is_null(test->right) && trees_are_congruent(test->left, x);
}

// (x == 0) == x  ->  0         a == !a  ->  0
NODE* complement(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!is_equality(tree->op)) return nullptr;
    const NODE *a = tree->left, *b = tree->right;
    bool tests = boolean_result[a->op] && boolean_result[b->op];
    if (!is_test_of(a, b) && !is_test_of(b, a) && !(tests && bools_are_congruent(a, b, true, false))) return nullptr;
    return decided(tree, tree->op == NEQ);
}

// The other term of a sum in which `x` is one; null if the tree is no such sum.
NODE** other_term(NODE* sum, const NODE* x) {
    if (sum->op != PLUS) return nullptr;
    if (trees_are_congruent(sum->left, x)) return &sum->right;
    return trees_are_congruent(sum->right, x) ? &sum->left : nullptr;
}

// Whether a term common to both sides can go: always for ==, in orderings only if the sum is exact.
bool may_cancel(const NODE* tree, NODE* sum, LOOP_RECORD* loop, CONTEXT* context) {
    if (is_equality(tree->op)) return is_integer_like(sum->type) || sum->type->is_ptr();
    return sum->type->is_signed() && result_is_exact(sum, loop, context);
}

TYPE* term_type(TYPE* sum) { return sum->is_ptr() ? tp->ptr_int() : sum; }

// x op x + y  ->  0 op y            For == modulo 2^width; orderings rely on exact arithmetic.
NODE* cancel_term(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (is_unsigned_order(tree->op)) return nullptr;
    bool sum_on_left = true;
    NODE** y = other_term(tree->left, tree->right);
    if (y == nullptr) {
        sum_on_left = false;
        y = other_term(tree->right, tree->left);
    }
    if (y == nullptr || (*y)->type->is_ptr()) return nullptr;
    NODE* sum = sum_on_left ? tree->left : tree->right;
    NODE* x = sum_on_left ? tree->right : tree->left;
    TYPE* type = sum->type;
    bool widths = x->type->size() == type->size() && combined_type(sum, x)->size() == type->size();
    if (!widths || !tree_is_pure(x) || !may_cancel(tree, sum, loop, context)) return nullptr;
    NODE* rest = *y;
    *y = nullptr;
    erase_tree(sum);
    erase_tree(x);
    rest = coerce_to_type(rest, term_type(type));
    int op = sum_on_left ? tree->op : commute_inv[tree->op];
    return compare_again(tree, op, rest, mk_ICON(0, term_type(type)), loop, context);
}

// x + y op x + z  ->  y op z        For == modulo 2^width; orderings rely on exact arithmetic.
NODE* cancel_terms(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE *left = tree->left, *right = tree->right;
    if (is_unsigned_order(tree->op) || left->op != PLUS || right->op != PLUS) return nullptr;
    TYPE* type = left->type;
    if (!equiv_mtypes(type, right->type) || combined_type(left, right)->size() != type->size()) return nullptr;
    NODE** y = &left->right;
    NODE* x = left->left;
    NODE** z = other_term(right, x);
    if (z == nullptr) {
        y = &left->left;
        x = left->right;
        z = other_term(right, x);
    }
    if (z == nullptr || (*y)->type->is_ptr() || (*z)->type->is_ptr() || !tree_is_pure(x)) return nullptr;
    if (!may_cancel(tree, left, loop, context) || !may_cancel(tree, right, loop, context)) return nullptr;
    NODE* a = *y;
    NODE* b = *z;
    *y = *z = nullptr;
    erase_tree(left);
    erase_tree(right);
    a = coerce_to_type(a, term_type(type));
    b = coerce_to_type(b, term_type(type));
    return compare_again(tree, tree->op, a, b, loop, context);
}

const RULE offset_rules[] = {
    {"equal_terms", "a - b == 0 -> a == b", equal_terms},
    {"ordered_terms", "a - b < 0 -> a < b", ordered_terms},
    {"move_offset", "a + C == K -> a == K - C", move_offset},
    {"move_negated", "C - a == K -> a == C - K", move_negated},
    {"reverse_range", "C - x u<= K -> x - (C - K) u<= K", reverse_range},
    {"one_sided_range", "x - lo u<= n -> x <= lo + n, x not below lo", one_sided_range},
    {"join_offsets", "a + C1 op b + C2 -> a op b + (C2 - C1)", join_offsets},
};
const RULE congruent_rules[] = {
    {"same_operands", "x <= x -> 1", same_operands},
    {"complement", "(x == 0) == x -> 0", complement},
    {"cancel_term", "x op x + y -> 0 op y", cancel_term},
    {"cancel_terms", "x + y op x + z -> y op z", cancel_terms},
};

} // namespace

const RULE_SET relop_offset("relop_offset", offset_rules);
const RULE_SET relop_congruent("relop_congruent", congruent_rules);
