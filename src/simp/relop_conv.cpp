// Comparisons of converted values, of increments, and of saturating differences.
#include "simp/relop_int.h"

#include <cstring>

namespace {

NODE* operand_alone(NODE* conversion) {
    NODE* x = conversion->left;
    erase_node(conversion);
    return x;
}

bool is_integer_conversion(const NODE* tree) {
    return tree->op == SCONV && is_integer_like(tree->type) && !tree->type->is_bool() &&
           is_integer_like(tree->left->type) && tree->left->type->size() <= tree->type->size();
}

// In a comparison of the common type, a converted value has the bits of the operand, extended by the operand's own
// sign. (Not so where the conversion's type is narrower than the common one and of the other sign.)
bool extends_operand(const NODE* conversion, TYPE* common) {
    return conversion->type->size() == common->size() || type_keeps(conversion->type, conversion->left->type);
}

// ----------------------------------------------------------------------------------------- conversion against a
// constant

// (T)x op K  ->  x op K, or decided where K is no value of x
// Extension by its own sign keeps x apart from every other value, and keeps the unsigned order; the order by value is
// kept if the common type has all values of x.
NODE* constant_and_conversion(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CONSTANT_TEST test;
    if (!is_integer_conversion(tree->left) || !is_constant_test(tree, test)) return nullptr;
    if (!extends_operand(tree->left, test.common)) return nullptr;
    NODE* x = tree->left->left;
    TYPE* type = x->type;
    bool by_value = is_signed_order(tree->op);
    if (by_value && !type_keeps(test.common, type)) return nullptr;
    INT65 k = truncate_to_type(tree->right->u.lval, test.common);
    if (!by_value) k = type->is_signed() ? sign_extend_by_type_size(k, test.common) : k & type_mask(test.common);
    bool above = k > int_type_max(type), below = k < int_type_min(type);
    if (!above && !below) {
        x = operand_alone(tree->left);
        erase_node(tree->right);
        int op = type->is_signed() ? tree->op : as_unsigned(tree->op);
        return compare_again(tree, op, x, mk_ICON(k, promoted_type(type)), loop, context);
    }
    if (is_equality(tree->op)) return decided(tree, tree->op == NEQ);
    bool less = tree->op == LT || tree->op == LE || tree->op == ULT || tree->op == ULE;
    if (by_value || !type->is_signed()) return decided(tree, less == above);
    // The constant lies above the bits of all positive, and below those of all negative values.
    x = operand_alone(tree->left);
    erase_node(tree->right);
    return compare_again(tree, less ? GE : LT, x, mk_ICON(0, promoted_type(type)), loop, context);
}

// ----------------------------------------------------------------------------------------------- conversions on both
// sides

// Whether (T)x op y may become x op y: in the old and in the new common type both have their own values.
bool may_drop_widening(const NODE* conversion, NODE* y, TYPE* common) {
    TYPE* x = conversion->left->type;
    TYPE* narrow = combined_type_for_types(x, y->type);
    return is_integer_like(narrow) && type_keeps(conversion->type, x) && type_keeps(common, x) &&
           type_keeps(common, y->type) && type_keeps(narrow, x) && type_keeps(narrow, y->type);
}

// (T)x < y  ->  x u< y       x and y unsigned, x narrower than T
NODE* widened_unsigned(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_signed_order(tree->op)) return nullptr;
    TYPE* common = combined_type(tree->left, tree->right);
    for (NODE** side : {&tree->left, &tree->right}) {
        NODE* other = side == &tree->left ? tree->right : tree->left;
        NODE* conversion = *side;
        if (!is_integer_conversion(conversion) || !conversion->left->type->is_unsigned()) continue;
        if (!other->type->is_unsigned() && !(other->op == SCONV && other->left->type->is_unsigned())) continue;
        if (!may_drop_widening(conversion, other, common)) continue;
        *side = operand_alone(conversion);
        // While the other side's type is signed, the order by value stays.
        if (other->type->is_unsigned()) tree->op = as_unsigned(tree->op);
        return simp_node(tree, loop, context);
    }
    return nullptr;
}

// (T)x op (U)y  ->  x op y    of one type
NODE* both_converted(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE *a = tree->left, *b = tree->right;
    if (!is_integer_conversion(a) || !is_integer_conversion(b)) return nullptr;
    TYPE* type = a->left->type;
    if (!equiv_mtypes(type, b->left->type)) return nullptr;
    TYPE* common = combined_type(a, b);
    if (!extends_operand(a, common) || !extends_operand(b, common)) return nullptr;
    if (is_signed_order(tree->op) && !type_keeps(common, type)) return nullptr;
    int op = type->is_signed() ? tree->op : as_unsigned(tree->op);
    return compare_again(tree, op, operand_alone(a), operand_alone(b), loop, context);
}

// x op (T)(y & M)  ->  x op y & M        M leaves no sign
// The masked value is the same in either type. Its own type must hold the values of x, too: an x that may be negative
// is compared in a signed one.
NODE* masked_conversion(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (is_unsigned_order(tree->op)) return nullptr;
    TYPE* common = combined_type(tree->left, tree->right);
    for (NODE** side : {&tree->right, &tree->left}) {
        NODE* conversion = *side;
        NODE* other = side == &tree->left ? tree->right : tree->left;
        if (!is_integer_conversion(conversion) || conversion->left->op != ANDB) continue;
        const NODE* masked = conversion->left;
        if (masked->right->op != ICON || masked->type->is_bool()) continue;
        INT65 mask = masked->right->u.lval & type_mask(masked->type);
        if (mask > int_type_max(masked->type) || mask > int_type_max(conversion->type)) continue;
        TYPE* narrow = combined_type_for_types(masked->type, other->type);
        if (!is_integer_like(narrow) || mask > int_type_max(narrow) || mask > int_type_max(common)) continue;
        if (!value_fits_in_type(other, common, loop, context) || !value_fits_in_type(other, narrow, loop, context))
            continue;
        *side = operand_alone(conversion);
        if (!is_equality(tree->op) && !narrow->is_signed()) tree->op = as_unsigned(tree->op);
        return simp_node(tree, loop, context);
    }
    return nullptr;
}

// -----------------------------------------------------------------------------------------------------------
// increments

// The stepped variable of x++ or x--, an integer that is no bit-field.
bool is_increment(const NODE* tree) {
    if (tree->op != PLUSPLUS && tree->op != MINMIN) return false;
    const NODE* x = tree->left;
    if (x->op == DDNODE || tree->right->op != ICON || !equiv_mtypes(x->type, tree->type)) return false;
    if ((x->op == STDOT || x->op == STREF) && (x->right->mval == nullptr || x->right->mval->is_bitfield)) return false;
    return is_integer_like(tree->type) && !tree->type->is_bool();
}

// x++ == K  ->  (x += s) == K + s        modulo the width of x
// x++ <  K  ->  (x += 1) <= K,  x++ >= K  ->  (x += 1) > K,  x-- <= K  ->  (x -= 1) < K,  x-- > K  ->  (x -= 1) >= K
// Orderings rely on exact arithmetic, so on the mark of the step. Pointers carry no mark, and nothing bounds an
// address: p + 1 may be 0 where p u< K is false. So orderings of stepped pointers stay.
NODE* step_first(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CONSTANT_TEST test;
    NODE* step = tree->left;
    if (!is_increment(step) || !is_constant_test(tree, test) || !type_keeps(test.common, test.type)) return nullptr;
    bool up = step->op == PLUSPLUS;
    // A narrower variable is stepped in int and then cut.
    bool exact =
        (step->flags & NODE_NO_WRAP) != 0 && test.type->is_signed() && test.type->size() >= tp->int_type()->size();
    INT65 s = step->right->u.lval, k = test.k;
    if (k < int_type_min(test.type) || k > int_type_max(test.type)) return nullptr;
    int op = tree->op;
    if (is_equality(op)) {
        k = truncate_to_type(up ? k + s : k - s, test.type);
    } else {
        if (!exact || s != INT65(1)) return nullptr;
        if (up && op == LT)
            op = LE;
        else if (up && op == GE)
            op = GT;
        else if (!up && op == LE)
            op = LT;
        else if (!up && op == GT)
            op = GE;
        else
            return nullptr;
    }
    uint8_t mark = step->flags & NODE_NO_WRAP;
    remake(step, up ? PLUSASG : MINUSASG, step->left, step->right, step->type);
    step->flags |= mark;
    erase_node(tree->right);
    return compare_again(tree, op, simp_node(step, loop, context), mk_ICON(k, promoted_type(test.type)), loop, context);
}

// ------------------------------------------------------------------------------------------------- saturating
// differences

bool is_builtin(const NODE* tree, const char* name) {
    return tree->op == ICALL && strcmp(tree->u.name, name) == 0 && tree->left->op == COMMA &&
           arg_list_count(tree->left) == 2;
}

// _ssub(a, b) op 0  ->  a op b           saturation keeps the sign of the difference
NODE* saturated_difference(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* call = tree->left;
    if (is_unsigned_order(tree->op) || !is_zero_ICON(tree->right) || !is_builtin(call, "_ssub")) return nullptr;
    TYPE* type = call->type;
    NODE *a = arg_list_lookup(call->left, 0), *b = arg_list_lookup(call->left, 1);
    if (!type->is_signed() || !is_integer_like(a->type) || !is_integer_like(b->type)) return nullptr;
    if (a->op == ACONV || a->op == ARGREF || b->op == ACONV || b->op == ARGREF) return nullptr;
    NODE* list = call->left;
    a = coerce_to_type(a, type);
    b = coerce_to_type(b, type);
    erase_node(list);
    erase_node(call);
    erase_node(tree->right);
    return compare_again(tree, tree->op, a, b, loop, context);
}

// (short)_ssub2(a, b) op 0  ->  _ssub2(a, b):short op 0
NODE* low_half_difference(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* conversion = tree->left;
    if (conversion->op != SCONV || !is_zero_ICON(tree->right) || !is_builtin(conversion->left, "_ssub2"))
        return nullptr;
    TYPE* short_type = tp->short_type()->normalized();
    if (!compatible_types(conversion->type, short_type, false) || !conversion->left->type->is_int()) return nullptr;
    tree->left = operand_alone(conversion);
    tree->left->type = tree->left->orig_type = short_type;
    return simp_node(tree, loop, context);
}

// _ssub2(a, b) << 16 op 0  ->  _ssub2(a, b):short op 0       also as a product
NODE* shifted_difference(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* scaled = tree->left;
    if (is_unsigned_order(tree->op) || !is_zero_ICON(tree->right)) return nullptr;
    if ((scaled->op != MULT && scaled->op != SLL) || scaled->right->op != ICON) return nullptr;
    if (scaled->right->u.lval != INT65(scaled->op == SLL ? 16 : 65536)) return nullptr;
    if (!is_builtin(scaled->left, "_ssub2") || !scaled->left->type->is_int() || !scaled->type->is_int()) return nullptr;
    NODE* call = scaled->left;
    erase_node(scaled->right);
    erase_node(scaled);
    call->type = call->orig_type = tp->short_type()->normalized();
    tree->left = call;
    return simp_node(tree, loop, context);
}

// p++ == &object  ->  (p += s) == &object + s        modulo the width of an address
NODE* step_pointer_first(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE *step = tree->left, *end = tree->right;
    if (!is_equality(tree->op) || (step->op != PLUSPLUS && step->op != MINMIN) || !step->type->is_ptr()) return nullptr;
    if (step->left->op == DDNODE || step->right->op != ICON || !equiv_mtypes(step->left->type, step->type))
        return nullptr;
    if (!end->type->is_ptr() || !pointer_is_an_adcon(end) || !tree_is_pure(end)) return nullptr;
    bool up = step->op == PLUSPLUS;
    INT65 s = sign_extend_by_type_size(step->right->u.lval, step->right->type);
    NODE* distance = mk_ICON(up ? s : -s, tp->ptr_int());
    end = simp_node(maketree(PLUS, end, distance, end->type, end->scope), loop, context);
    remake(step, up ? PLUSASG : MINUSASG, step->left, step->right, step->type);
    return compare_again(tree, tree->op, simp_node(step, loop, context), end, loop, context);
}

const RULE constant_conversion_rules[] = {
    {"constant_and_conversion", "(T)x op K -> x op K", constant_and_conversion},
};
const RULE increment_rules[] = {
    {"step_first", "x++ == K -> (x += 1) == K + 1", step_first},
    {"step_pointer_first", "p++ == &a -> (p += 1) == &a + 1", step_pointer_first},
};
const RULE conversion_rules[] = {
    {"widened_unsigned", "(T)x < y -> x u< y, both unsigned", widened_unsigned},
    {"both_converted", "(T)x op (T)y -> x op y", both_converted},
    {"masked_conversion", "x < (T)(y & M) -> x < y & M", masked_conversion},
};
const RULE saturation_rules[] = {
    {"saturated_difference", "_ssub(a, b) op 0 -> a op b", saturated_difference},
    {"low_half_difference", "(short)_ssub2(a, b) op 0 -> _ssub2(a, b):short op 0", low_half_difference},
    {"shifted_difference", "_ssub2(a, b) << 16 op 0 -> _ssub2(a, b):short op 0", shifted_difference},
};

} // namespace

const RULE_SET relop_constant_conversion("relop_constant_conversion", constant_conversion_rules);
const RULE_SET relop_increment("relop_increment", increment_rules);
const RULE_SET relop_conversion("relop_conversion", conversion_rules);
const RULE_SET relop_saturation("relop_saturation", saturation_rules);
