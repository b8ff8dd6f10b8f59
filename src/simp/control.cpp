// Values of which only the truth counts: simp_for_control, make_boolean, and the logical operators.
#include "simp/fold.h"
#include "simp/ranges.h"
#include "simp/rules.h"
#include "simp/simp_int.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

namespace {

bool is_power_of_2(INT65 v) { return power_of_2(v) >= 0; }

NODE* int_constant(int value, LS* scope) {
    NODE* icon = mk_ICON(value, tp->int_type());
    icon->scope = scope;
    return icon;
}

// The right operand alone; the node and its left operand go.
NODE* keep_right(NODE* tree) {
    NODE* kept = tree->right;
    erase_tree(tree->left);
    erase_node(tree);
    return kept;
}

// -------------------------------------------------------------------------------------------- rules of control values

// x != 0  ->  x, unless x is wider than int
NODE* test_of_zero(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (tree->op != NEQ || !is_zero_ICON(tree->right)) return nullptr;
    if (combined_type(tree->left, tree->right)->size() > tree->type->size()) return nullptr;
    return take_left(tree);
}

// (T)x  ->  x, where no bit is lost; a pointer made of a constant or of a pointer  ->  that
NODE* conversion(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE* operand = tree->left;
    if (tree->op == SCONV) {
        if (!tree->type->is_integral() || !is_integer_like(operand->type) || tree->type->size() < operand->type->size())
            return nullptr;
    } else if (tree->op == PCONV || tree->op == ISP2CHAR) {
        if (operand->op != ICON && !operand->type->is_ptr()) return nullptr;
    } else
        return nullptr;
    return take_left(tree);
}

bool contains_address_of_object(const NODE* pointer) {
    while (pointer->op == PLUS || pointer->op == MINUS) pointer = pointer->left;
    return pointer->op == SCON || (pointer->op == UAND && pointer_is_an_adcon(pointer));
}

// &object + i  ->  1
NODE* address(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!tree->type->is_ptr() || !contains_address_of_object(tree)) return nullptr;
    return simp_subst_icon(tree, 1, tp->int_type());
}

bool may_have_known_bits(const NODE* tree) {
    switch (tree->op) {
    case ANDB:
    case ORB:
    case XORB:
    case MULT:
    case SLL:
    case SRL:
    case QUEST:
    case SCONV:
    case ASG:
    case ORBASG:
    case ANDBASG: return true;
    default: return false;
    }
}

// x | C  ->  1        (effects stay)
NODE* known_one(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!may_have_known_bits(tree) || !is_integer_like(tree->type)) return nullptr;
    if (find_known_ones(tree, tree->type).is_zero()) return nullptr;
    return simp_subst_icon(tree, 1, tp->int_type());
}

// (x << 4) & 7  ->  0
NODE* known_zero(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!may_have_known_bits(tree) || !is_integer_like(tree->type)) return nullptr;
    if (!find_known_zeros(tree, tree->type).is_zero()) return nullptr;
    return simp_subst_icon(tree, 0, tp->int_type());
}

// x % 2^n  ->  x & (2^n - 1)
NODE* remainder_of_power(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op != MOD || tree->right->op != ICON || !tree->type->is_integral()) return nullptr;
    if (power_of_2(tree->right->u.lval) <= 0) return nullptr;
    NODE* x = coerce_to_type(tree->left, tree->type);
    NODE* mask = mk_ICON(tree->right->u.lval - 1, tree->type);
    erase_node(tree->right);
    return simp_node(remake(tree, ANDB, x, mask, tree->type), loop, context);
}

// (x >> n) & 1  ->  x & (1 << n)
NODE* one_bit(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op != ANDB || tree->right->op != ICON || tree->right->u.lval != INT65(1)) return nullptr;
    NODE* shift = tree->left;
    if (shift->op != SRL || shift->right->op != ICON || !shift->type->is_integral()) return nullptr;
    INT65 n = shift->right->u.lval;
    if (n.is_negative() || n >= INT65(shift->type->size()) || shift->type->size() > tree->type->size()) return nullptr;
    TYPE* type = shift->type;
    NODE* x = coerce_to_type(shift->left, type);
    NODE* bit = mk_ICON(INT65(1) << n.low, type);
    erase_node(shift->right);
    erase_node(shift);
    erase_node(tree->right);
    return simp_node(remake(tree, ANDB, x, bit, type), loop, context);
}

// x >> (w - 1)  ->  x & (1 << (w - 1))       w: width of x
NODE* sign_bit(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op != SRL || tree->right->op != ICON || !tree->type->is_integral()) return nullptr;
    uint32_t top = tree->type->size() - 1;
    if (tree->right->u.lval != INT65(top) || tree->left->type->size() != tree->type->size()) return nullptr;
    NODE* x = coerce_to_type(tree->left, tree->type);
    NODE* bit = mk_ICON(INT65(1) << top, tree->type);
    erase_node(tree->right);
    return simp_node(remake(tree, ANDB, x, bit, tree->type), loop, context);
}

// (x ^ C) & P  ->  (x & P) ^ P       P a power of two that C holds
NODE* inverted_bit(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op != ANDB || tree->right->op != ICON || tree->left->op != XORB) return nullptr;
    NODE *xorb = tree->left, *p = tree->right, *c = xorb->right;
    if (c->op != ICON || !is_power_of_2(p->u.lval) || (c->u.lval & p->u.lval).is_zero()) return nullptr;
    if (!equiv_mtypes(xorb->type, tree->type)) return nullptr;
    TYPE* type = tree->type;
    c->u.lval = p->u.lval;
    c->type = c->orig_type = p->type;
    NODE* masked = simp_node(remake(tree, ANDB, coerce_to_type(xorb->left, type), p, type), loop, context);
    return remake(xorb, XORB, masked, c, type);
}

// x ^ P  ->  x == 0       P a power of two, the only bit that x may have
NODE* inverted_boolean(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->op != XORB || tree->right->op != ICON || !is_power_of_2(tree->right->u.lval)) return nullptr;
    if (find_known_zeros(tree->left, tree->type) != tree->right->u.lval) return nullptr;
    tree->right->u.lval = INT65();
    NODE* x = tree->left;
    tree->right->type = x->type->is_integral() ? x->type->type_qualified() : tree->type;
    return simp_node(remake(tree, EQ, x, tree->right, tp->int_type()), loop, context);
}

bool is_int_sized(const NODE* tree) { return tree->type->is_int() || tree->type->is_uint(); }

// -x, |x|  ->  x
NODE* sign_change(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if ((tree->op != UMINUS && tree->op != ABS) || !is_int_sized(tree)) return nullptr;
    if (tree->left->type->size() > tree->type->size()) return nullptr;
    return take_left(tree);
}

// a - b, a ^ b  ->  a != b
NODE* difference(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if ((tree->op != MINUS && tree->op != XORB) || !is_int_sized(tree)) return nullptr;
    NODE *a = tree->left, *b = tree->right;
    bool pointers = a->type->is_ptr() && b->type->is_ptr();
    if (!pointers) {
        if (!is_integer_like(a->type) || !is_integer_like(b->type)) return nullptr;
        a = coerce_to_type(a, tree->type);
        b = coerce_to_type(b, tree->type);
    }
    return simp_node(remake(tree, NEQ, a, b, tp->int_type()), loop, context);
}

// What the lvalue holds after the value was stored in it.
INT65 value_in_lvalue(const NODE* lvalue, INT65 value) {
    if (lvalue->op == STDOT || lvalue->op == STREF)
        if (const fkMDATA* member = lvalue->right->mval; member != nullptr && member->is_bitfield)
            return lvalue->type->is_signed() ? value.sign_extended(member->bit_size)
                                             : value.zero_extended(member->bit_size);
    return truncate_to_type(value, lvalue->type);
}

// x++  ->  (x += 1) != 1        x--  ->  (x -= 1) != -1
NODE* increment(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if ((tree->op != PLUSPLUS && tree->op != MINMIN) || !is_integer_like(tree->type)) return nullptr;
    if (!is_int_sized(tree) || tree->left->op == DDNODE) return nullptr;
    if (tree->right->op != ICON || tree->right->u.lval != INT65(1)) return nullptr;
    bool up = tree->op == PLUSPLUS;
    INT65 after_zero = value_in_lvalue(tree->left, up ? INT65(1) : INT65(-1));
    TYPE* type = tree->type->type_qualified();
    LS* scope = tree->scope;
    NODE* step = simp_node(remake(tree, up ? PLUSASG : MINUSASG, tree->left, tree->right, type), loop, context);
    return simp_node(maketree(NEQ, step, mk_ICON(after_zero, type), tp->int_type(), scope), loop, context);
}

// An arm of a choice as a control value of the choice's type. Gives whether it became another tree; a conversion that
// only came back does not count.
bool simp_arm(NODE*& arm, TYPE* type, LOOP_RECORD* loop, CONTEXT* context) {
    const NODE* old = arm;
    bool was_conversion = arm->op == SCONV;
    arm = coerce_to_type(simp_for_control(arm, loop, context), type);
    return arm != old && !(was_conversion && arm->op == SCONV);
}

// c ? a : b with both arms as control values
NODE* choice(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    static int depth = 0; // of choices in arms of choices
    constexpr int max_depth = 8;
    NODE* arms = tree->right;
    if (tree->op != QUEST || depth >= max_depth || !is_int_sized(tree)) return nullptr;
    if (arms->left == nullptr || arms->right == nullptr) return nullptr;
    depth++;
    bool changed = simp_arm(arms->left, tree->type, loop, context);
    changed |= simp_arm(arms->right, tree->type, loop, context);
    depth--;
    return changed ? simp_node(tree, loop, context) : nullptr;
}

const RULE control_rules[] = {
    {"not_zero", "x != 0 -> x", test_of_zero},
    {"conversion", "(T)x -> x", conversion},
    {"address", "&object + i -> 1", address},
    {"known_one", "x | C -> 1", known_one},
    {"known_zero", "no bit may be set -> 0", known_zero},
    {"remainder", "x % 2^n -> x & (2^n - 1)", remainder_of_power},
    {"one_bit", "(x >> n) & 1 -> x & (1 << n)", one_bit},
    {"sign_bit", "x >> (w - 1) -> x & (1 << (w - 1))", sign_bit},
    {"inverted_bit", "(x ^ C) & P -> (x & P) ^ P", inverted_bit},
    {"inverted_boolean", "x ^ P -> x == 0", inverted_boolean},
    {"sign_change", "-x, |x| -> x", sign_change},
    {"difference", "a - b, a ^ b -> a != b", difference},
    {"increment", "x++ -> (x += 1) != 1", increment},
    {"choice", "c ? a : b -> the same of control values", choice},
};
const RULE_SET control_set("control", control_rules);

} // namespace

NODE* simp_for_control(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    constexpr int max_steps = 60;
    for (int step = 0; step < max_steps && tree->left != nullptr; step++) {
        NODE* next = control_set.try_rules(tree, loop, context);
        if (next == nullptr) break;
        tree = next;
    }
    return tree;
}

// ---------------------------------------------------------------------------------------------------- 0 or 1

namespace {

// The value of a logical operator is an int.
NODE* int_boolean(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    return coerce_to_type(make_boolean(tree, loop, context), tp->int_type());
}

// A tree that stands for zero of the type, to compare with.
NODE* zero_of(TYPE* type) {
    type = type->type_qualified();
    if (type->is_fltpt()) {
        NODE* zero = new_node(FCON, type);
        zero->mk_fcon("0.0");
        return zero;
    }
    return coerce_to_type(mk_ICON(0, is_integer_like(type) ? type : tp->int_type()), type);
}

NODE* compare_with_zero(int op, NODE* tree) {
    LS* scope = tree->scope;
    return maketree(op, tree, zero_of(tree->type), tp->int_type(), scope);
}

} // namespace

NODE* make_boolean(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    const NODE* constant = tree->op == SCONV ? tree->left : tree;
    if (constant->op == ICON) {
        INT65 value = truncate_to_type(constant->u.lval, is_integer_like(tree->type) ? tree->type : constant->type);
        NODE* result = int_constant(!value.is_zero(), tree->scope);
        erase_tree(tree);
        return result;
    }
    if (returns_1_or_0(tree)) return tree;
    return simp_node(compare_with_zero(NEQ, tree), loop, context);
}

NODE* invert_boolean_tree(NODE* tree) {
    if (tree->op == EQ && is_zero_ICON(tree->right) && returns_1_or_0(tree->left))
        return coerce_to_type(take_left(tree), tp->int_type());
    if (tree_is_trivially_invertible(tree)) {
        tree->op = boolean_inv[tree->op];
        return tree;
    }
    return compare_with_zero(EQ, tree);
}

NODE* simp_EXCLAIM(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    return simp_node(invert_boolean_tree(take_left(tree)), loop, context);
}

bool find_or_make_safe_for_ANDB(NODE*& tree, bool may_make) {
    if (returns_1_or_0(tree)) return true;
    if (!may_make) return false;
    tree = make_boolean(tree);
    return true;
}

// ----------------------------------------------------------------------------------- what may be evaluated always

namespace {

// Whether `whole` evaluates a tree congruent to `part` whenever it is evaluated. Looks a few levels deep.
bool always_evaluates(const NODE* whole, const NODE* part, int depth = 6) {
    if (whole == nullptr || depth == 0) return false;
    if (whole->op == part->op && trees_are_congruent(part, whole)) return true;
    if (whole->op == UAND) return false; // the address alone reads nothing
    if (always_evaluates(whole->left, part, depth - 1)) return true;
    bool only_left = whole->op == ANDAND || whole->op == OROR || whole->op == QUEST;
    return !only_left && always_evaluates(whole->right, part, depth - 1);
}

// A read of bits that lie within a named object.
bool reads_inside_object(const NODE* read) {
    INT65 offset; // 16-bit units
    const NODE* pointer = read->left;
    while (pointer->op == PLUS && pointer->right->op == ICON) {
        offset += pointer->right->u.lval;
        pointer = pointer->left;
    }
    if (pointer->op == PCONV && pointer->left->op == UAND) pointer = pointer->left;
    if (pointer->op != UAND || pointer->left->op != NAME || !pointer_is_an_adcon(pointer)) return false;
    TYPE* accessed = read->op == UMULT ? read->type : read->left->type->type_pointed_to();
    INT65 end = offset * INT65(16) + INT65(accessed->size());
    return accessed->size() != 0 && !offset.is_negative() && end <= INT65(pointer->left->type->size());
}

constexpr int too_high = 666;

int height_of_NAME(const NODE* name) {
    const SYMTAB* sym = name->u.sym;
    bool scalar = name->type->is_scalar();
    return scalar && (sym->level == 0 || !sym->aliased()) ? 1 : 5;
}

// What evaluating the right side of && or || costs; `too_high` for what is never evaluated ahead of its test.
int andor_andor_height(const NODE* tree) {
    switch (tree->op) {
    case ICON:
    case FCON:
    case SCON: return 0;
    case NAME: return height_of_NAME(tree);
    case UAND: return 1;
    case STDOT: {
        const fkMDATA* member = tree->right->mval;
        if (member != nullptr && member->is_bitfield) return too_high;
        return 1 + andor_andor_height(tree->left);
    }
    case UMULT:
    case STREF:
    case PLUS:
    case MINUS:
    case MULT:
    case UMINUS:
    case ABS:
    case NOTB:
    case ANDB:
    case ORB:
    case XORB:
    case SLL:
    case SRL:
    case SCONV:
    case PCONV: break;
    default: return too_high;
    }
    int height = 1 + andor_andor_height(tree->left);
    if (tree->right != nullptr && tree->op != STREF && height < too_high) height += andor_andor_height(tree->right);
    return height;
}

} // namespace

bool rhs_may_need_guard_in_lhs(const NODE* rhs, const NODE* lhs) {
    switch (rhs->op) {
    case NAME:
    case ICON:
    case FCON:
    case SCON:
    case FIELD: return false;
    case QUEST:
    case ANDAND:
    case OROR:
    case CALL:
    case UCALL: return true;
    case UAND: return rhs->left->op != NAME;
    case UMULT:
        if (rhs->right != nullptr) return true;
        [[fallthrough]];
    case STREF:
        if (!reads_inside_object(rhs) && !always_evaluates(lhs, rhs)) return true;
        break;
    case DIV:
    case MOD:
        if ((rhs->right->op != ICON || rhs->right->u.lval.is_zero() || rhs->right->u.lval == INT65(-1)) &&
            !always_evaluates(lhs, rhs))
            return true;
        break;
    default: break;
    }
    return (rhs->left != nullptr && rhs_may_need_guard_in_lhs(rhs->left, lhs)) ||
           (rhs->right != nullptr && rhs_may_need_guard_in_lhs(rhs->right, lhs));
}

namespace {

// a || b  ->  (a | b) != 0
NODE* join_OROR(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = combined_type(tree->left, tree->right);
    NODE* a = coerce_to_type(tree->left, type);
    NODE* b = coerce_to_type(tree->right, type);
    return int_boolean(simp_node(remake(tree, ORB, a, b, type), loop, context), loop, context);
}

// x & 8 && y & 2  ->  ((x & 8) >> 2) & (y & 2)       each operand 0 or one power of two
NODE* join_ANDAND(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = combined_type(tree->left, tree->right);
    int bit[2];
    for (int i = 0; i < 2; i++) {
        NODE* operand = i == 0 ? tree->left : tree->right;
        bit[i] = power_of_2(find_known_zeros(operand, operand->type));
        // the sign bit of a signed operand is no power of two of its value
        if (bit[i] < 0 || (operand->type->is_signed() && bit[i] == static_cast<int>(operand->type->size()) - 1))
            return nullptr;
    }
    forget_exactness(tree->right);
    tree->right = simp_tree(tree->right, loop, context);
    NODE* operand[2] = {coerce_to_type(tree->left, type), coerce_to_type(tree->right, type)};
    int low = bit[0] < bit[1] ? bit[0] : bit[1];
    for (int i = 0; i < 2; i++)
        if (bit[i] > low)
            operand[i] =
                simp_node(maketree(SRL, operand[i], mk_ICON(bit[i] - low, tp->int_type()), type), loop, context);
    NODE* result = simp_node(remake(tree, ANDB, operand[0], operand[1], type), loop, context);
    return low == 0 ? coerce_to_type(result, tp->int_type()) : int_boolean(result, loop, context);
}

bool is_integer_value(const NODE* tree) { return is_integer_like(tree->type) && !boolean_result[tree->op & 255]; }

NODE* without_branch(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE *a = tree->left, *b = tree->right;
    if (!is_integer_value(a) || !is_integer_value(b)) return nullptr;
    constexpr int highest = 9;
    if (andor_andor_height(b) > highest || !tree_is_pure(a) || !tree_is_pure(b)) return nullptr;
    if (rhs_may_need_guard_in_lhs(b, a)) return nullptr;
    if (tree->op == ANDAND) {
        if (power_of_2(find_known_zeros(a, a->type)) < 0) return nullptr;
        NODE* result = join_ANDAND(tree, loop, context);
        return result;
    }
    forget_exactness(b);
    tree->right = simp_tree(b, loop, context); // some rules find less now
    return join_OROR(tree, loop, context);
}

} // namespace

NODE* simp_ANDOR_ANDOR(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* result = without_branch(tree, loop, context);
    return result != nullptr ? result : tree;
}

// ------------------------------------------------------------------------------------------------------- && and ||

namespace {

// The operands of && and || are control values already.

// 0 && b  ->  0        1 && b  ->  b != 0
NODE* and_left_constant(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->left->op != ICON) return nullptr;
    if (!tree->left->u.lval.is_zero()) return int_boolean(keep_right(tree), loop, context);
    LS* scope = tree->scope;
    erase_tree(tree);
    return int_constant(0, scope);
}

// a && 0  ->  a, 0     a && 1  ->  a != 0
NODE* and_right_constant(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->right->op != ICON) return nullptr;
    if (!tree->right->u.lval.is_zero()) return int_boolean(take_left(tree), loop, context);
    tree->right->type = tp->int_type();
    return simp_node(remake(tree, COMMAOP, tree->left, tree->right, tp->int_type()), loop, context);
}

// a && a, a || a  ->  a != 0
NODE* same_operands(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!trees_are_congruent(tree->left, tree->right)) return nullptr;
    return int_boolean(take_left(tree), loop, context);
}

bool is_test_for_zero(const NODE* tree) { return tree->op == EQ && is_zero_ICON(tree->right); }

// (a == 0) op (b == 0)  ->  (a opposite b) == 0
NODE* pull_out_negation(NODE* tree, int opposite, LOOP_RECORD* loop, CONTEXT* context) {
    LS* scope = tree->scope;
    NODE* a = take_left(tree->left);
    NODE* b = take_left(tree->right);
    NODE* inner = simp_node(remake(tree, opposite, a, b, tp->int_type()), loop, context);
    return simp_node(maketree(EQ, inner, mk_ICON(0, tp->int_type()), tp->int_type(), scope), loop, context);
}

// a == 0 && b == 0  ->  (a || b) == 0
NODE* neither(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_test_for_zero(tree->left) || !is_test_for_zero(tree->right)) return nullptr;
    return pull_out_negation(tree, OROR, loop, context);
}

const RULE andand_rules[] = {
    {"left_constant", "0 && b -> 0;  1 && b -> b != 0", and_left_constant},
    {"right_constant", "a && 0 -> (a, 0);  a && 1 -> a != 0", and_right_constant},
    {"same", "a && a -> a != 0", same_operands},
    {"neither", "a == 0 && b == 0 -> (a || b) == 0", neither},
    {"without_branch", "a && b -> a & b", without_branch},
};
const RULE_SET andand_set("and", andand_rules);

// 1 || b  ->  1        0 || b  ->  b != 0
NODE* or_left_constant(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->left->op != ICON) return nullptr;
    if (tree->left->u.lval.is_zero()) return int_boolean(keep_right(tree), loop, context);
    LS* scope = tree->scope;
    erase_tree(tree);
    return int_constant(1, scope);
}

// a || 1  ->  a, 1     a || 0  ->  a != 0
NODE* or_right_constant(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree->right->op != ICON) return nullptr;
    if (tree->right->u.lval.is_zero()) return int_boolean(take_left(tree), loop, context);
    tree->right->type = tp->int_type();
    tree->right->u.lval = INT65(1);
    return simp_node(remake(tree, COMMAOP, tree->left, tree->right, tp->int_type()), loop, context);
}

// x == C1 || x == C2  ->  (x & ~bit) == (C1 & ~bit)       C1 and C2 differ in one bit
NODE* one_bit_apart(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE *first = tree->left, *second = tree->right;
    if (first->op != EQ || second->op != EQ || first->right->op != ICON || second->right->op != ICON) return nullptr;
    TYPE* type = first->left->type->type_qualified();
    if (!type->is_integral() || !equiv_mtypes(type, combined_type(first->left, first->right)) ||
        !equiv_mtypes(type, combined_type(second->left, second->right)))
        return nullptr;
    INT65 c1 = first->right->u.lval, c2 = second->right->u.lval;
    if (!value_fits_in_type(c1, type) || !value_fits_in_type(c2, type)) return nullptr;
    INT65 bit = (c1 ^ c2) & type_mask(type);
    if (!is_power_of_2(bit) || !trees_are_congruent(first->left, second->left)) return nullptr;
    LS* scope = tree->scope;
    NODE* x = take_left(first);
    erase_tree(second);
    erase_node(tree);
    NODE* masked = simp_node(maketree(ANDB, x, mk_ICON(~bit, type), type, scope), loop, context);
    return simp_node(maketree(EQ, masked, mk_ICON(c1 & ~bit, type), tp->int_type(), scope), loop, context);
}

// x == 0 || x u> K  ->  x - 1 u>= K
NODE* zero_or_above(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE *first = tree->left, *second = tree->right;
    if (!is_test_for_zero(first) || second->op != UGT || second->right->op != ICON) return nullptr;
    TYPE* type = combined_type(second->left, second->right);
    if (!type->is_unsigned() || !first->left->type->is_unsigned() || !trees_are_congruent(first->left, second->left))
        return nullptr;
    LS* scope = tree->scope;
    NODE* bound = mk_ICON(second->right->u.lval, type);
    NODE* x = coerce_to_type(take_left(first), type);
    erase_tree(second);
    erase_node(tree);
    NODE* less_one = simp_node(maketree(MINUS, x, mk_ICON(1, type), type, scope), loop, context);
    return simp_node(maketree(UGE, less_one, bound, tp->int_type(), scope), loop, context);
}

// a == 0 || b == 0  ->  (a && b) == 0        a, b: 0 or 1
NODE* not_both(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (!is_test_for_zero(tree->left) || !is_test_for_zero(tree->right)) return nullptr;
    if (!returns_1_or_0(tree->left->left) || !returns_1_or_0(tree->right->left)) return nullptr;
    return pull_out_negation(tree, ANDAND, loop, context);
}

const RULE oror_rules[] = {
    {"left_constant", "1 || b -> 1;  0 || b -> b != 0", or_left_constant},
    {"right_constant", "a || 1 -> (a, 1);  a || 0 -> a != 0", or_right_constant},
    {"same", "a || a -> a != 0", same_operands},
    {"one_bit_apart", "x == C1 || x == C2 -> (x & ~bit) == (C1 & ~bit)", one_bit_apart},
    {"zero_or_above", "x == 0 || x u> K -> x - 1 u>= K", zero_or_above},
    {"without_branch", "a || b -> (a | b) != 0", without_branch},
    {"not_both", "a == 0 || b == 0 -> (a && b) == 0", not_both},
};
const RULE_SET oror_set("or", oror_rules);

} // namespace

NODE* simp_ANDAND(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    tree->left = simp_for_control(tree->left, loop, context);
    tree->right = simp_for_control(tree->right, loop, context);
    return andand_set.run(tree, loop, context);
}

NODE* simp_OROR(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    tree->left = simp_for_control(tree->left, loop, context);
    tree->right = simp_for_control(tree->right, loop, context);
    return oror_set.run(tree, loop, context);
}
