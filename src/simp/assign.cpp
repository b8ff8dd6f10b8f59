// Assignments and assignment operators.
//
// Only what the target keeps of a value matters, so conversions and masks that touch no more than the rest go. A simple
// local variable is assigned with ASG, any other target prefers the assignment operators. Whatever moves across an
// assignment here moves only past what can neither change it nor see it.
#include "simp/fold.h"
#include "simp/logic.h"

#include "ir/opt_expr.h"
#include "ir/symbol.h"
#include "ir/types.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int max_walk = 16;         // links of a chain that one rule looks at
constexpr int max_lvalue_nodes = 60; // larger targets are left alone

// A variable of the function's own frame that fits a register.
bool is_simple_local(const NODE* lvalue) {
    if (lvalue->op != NAME || lvalue->u.sym == nullptr) return false;
    const SYMTAB* sym = lvalue->u.sym;
    bool automatic = sym->sclass == SC_AUTO || sym->sclass == SC_REGISTER || sym->sclass == SC_REGISTER2;
    return automatic && sym->level == 2 && sym->type->is_scalar() && !sym->type->is_volatile() &&
           !lvalue->type->is_volatile();
}

// Evaluating the lvalue's address reads at most a private variable, which an assignment through it cannot change.
bool has_steady_address(const NODE* lvalue) {
    while (lvalue->op == STDOT) lvalue = lvalue->left;
    if (lvalue->op == NAME) return true;
    if (lvalue->op != UMULT && lvalue->op != STREF) return false;
    const NODE* pointer = lvalue->left;
    return is_simple_local(pointer) && !pointer->u.sym->aliased();
}

TYPE* target_type(const NODE* assignment) { return assignment->left->type->normalized()->type_qualified(); }

// The bits of an integer value that the target keeps.
INT65 kept_bits(const NODE* lvalue) {
    if (is_field(lvalue)) return (INT65(1) << lvalue->right->mval->bit_size) - INT65(1);
    return type_mask(lvalue->type);
}

// The constant is a value of the field.
bool field_holds(const NODE* lvalue, const NODE* icon) {
    if (icon->op != ICON) return false;
    uint32_t width = lvalue->right->mval->bit_size;
    INT65 value = icon->u.lval;
    return value == (lvalue->type->is_signed() ? value.sign_extended(width) : value.zero_extended(width));
}

bool types_match(TYPE* a, TYPE* b) { return compatible_types(a, b, false); }

// ------------------------------------------------------------------------------------------ the value on the right

// int = wide value -> int = (int)value; a constant is cut to what the target holds
NODE* convert_value(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* lhs = tree->left;
    NODE* value = tree->right;
    TYPE* type = target_type(tree);
    if (!is_integer_like(type) || !is_integer_like(value->type)) return nullptr;
    TYPE* held = value_type(type);
    if (is_manifest_constant(value)) {
        if (types_match(value->type, held) && (!is_field(lhs) || field_holds(lhs, value))) return nullptr;
        tree->right = truncate_RHS_for_assignment(lhs, value, true);
    } else {
        if (types_match(value->type, held)) return nullptr;
        tree->right = simp_node(mk_SCONV(value, held), loop, context);
    }
    return tree;
}

// The conversion makes no difference to what the target keeps.
bool conversion_is_idle(const NODE* conversion, const NODE* lhs, TYPE* type) {
    TYPE* to = conversion->type;
    TYPE* from = conversion->left->type;
    if (to->is_fltpt() || from->is_fltpt()) return to->is_fltpt() && from->is_fltpt() && types_match(to, type);
    if (!is_integer_like(to) || !is_integer_like(from)) return false;
    if (type->is_bool() || to->is_bool()) return types_match(to, value_type(type)) && returns_1_or_0(conversion->left);
    if (types_match(to, value_type(type))) return true;
    if (!is_integer_like(lhs->type)) return false;
    return to->size() >= from->size() && from->size() >= type->size();
}

// int = (int)x -> int = x
NODE* drop_idle_conversion(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (tree->right->op != SCONV || !conversion_is_idle(tree->right, tree->left, target_type(tree))) return nullptr;
    tree->right = take_left(tree->right);
    return tree;
}

// int = x & C -> int = x, where C has all bits that the target keeps
NODE* drop_idle_mask(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE* mask = tree->right;
    TYPE* type = target_type(tree);
    if (mask->op != ANDB || mask->right->op != ICON || !is_modular(type) || !is_modular(mask->type)) return nullptr;
    if (!is_modular(mask->left->type)) return nullptr;
    if (!(kept_bits(tree->left) & ~bits_of(mask->right, mask->type)).is_zero()) return nullptr;
    tree->right = take_left(mask);
    return tree;
}

const RULE value_rules[] = {
    {"convert", "x = wide -> x = (T)wide", convert_value},
};
const RULE idle_rules[] = {
    {"idle_conversion", "x = (T)y -> x = y", drop_idle_conversion},
    {"idle_mask", "x = y & C -> x = y", drop_idle_mask},
};

// ---------------------------------------------------------------------------------------------- nested assignments

// a = (b = 0) -> b = 0, a = 0
NODE* both_zero(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->right;
    TYPE* type = target_type(tree);
    if (inner->op != ASG || inner->right->op != ICON || !inner->right->u.lval.is_zero()) return nullptr;
    if (!is_integer_like(inner->type) || (!is_integer_like(type) && !type->is_fltpt())) return nullptr;
    LS* scope = tree->scope;
    tree->right = coerce_to_type(mk_ICON(0, tp->int_type()), type);
    NODE* second = simp_node(tree, loop, context);
    NODE* comma = maketree(COMMAOP, simp_node(inner, loop, context), second, second->type, scope);
    return simp_node(comma, loop, context);
}

// a = (b == 0) -> a = b ^ 1, for a and b that are 0 or 1
NODE* not_of_boolean(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* test = tree->right;
    if (test->op != EQ || test->right->op != ICON || !test->right->u.lval.is_zero()) return nullptr;
    if (!is_integer_like(test->left->type) || !returns_1_or_0(test->left) || !returns_1_or_0(tree->left))
        return nullptr;
    TYPE* type = promoted_type(test->left->type);
    erase_node(test->right);
    NODE* flipped = remake(test, XORB, test->left, mk_ICON(1, type), type);
    tree->right = simp_node(flipped, loop, context);
    return simp_node(tree, loop, context);
}

// x = x -> x
NODE* assigned_to_itself(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (tree->left->op != tree->right->op || !trees_are_congruent(tree->left, tree->right)) return nullptr;
    NODE* value = tree->right;
    erase_tree(tree->left);
    erase_node(tree);
    return value;
}

// a = (a = b) -> a = b
NODE* assigned_twice(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    NODE* inner = tree->right;
    if (inner->op != ASG || !has_steady_address(tree->left)) return nullptr;
    if (tree->left->op != inner->left->op || !trees_are_congruent(tree->left, inner->left)) return nullptr;
    // The address is found twice; nothing in between may change it.
    bool named = true;
    for (const NODE* node = tree->left; named && node->op != NAME; node = node->left) named = node->op == STDOT;
    if (!named && !tree_is_pure(inner->right)) return nullptr;
    erase_tree(tree->left);
    erase_node(tree);
    return inner;
}

// a = (b = c) -> b = (a = c), for a private variable a, so that the value comes from there. Finding b must not read a;
// nothing else can see a, so its assignment may come first.
NODE* value_from_local(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* inner = tree->right;
    if (inner->op != ASG || !is_simple_local(tree->left) || tree->left->u.sym->aliased()) return nullptr;
    NODE* a = tree->left;
    NODE* b = inner->left;
    if (is_field(b) || is_simple_local(b) || !types_match(target_type(tree), target_type(inner))) return nullptr;
    if (count_nodes_in_tree(b, max_lvalue_nodes) == max_lvalue_nodes || sym_appears_in_tree(a->u.sym, b))
        return nullptr;
    tree->left = b;
    inner->left = a;
    std::swap(tree->type, inner->type);
    std::swap(tree->orig_type, inner->orig_type);
    std::swap(tree->scope, inner->scope);
    tree->right = simp_node(inner, loop, context);
    return simp_node(tree, loop, context);
}

const RULE nested_rules[] = {
    {"both_zero", "a = (b = 0) -> b = 0, a = 0", both_zero},
    {"not", "a = (b == 0) -> a = b ^ 1", not_of_boolean},
};
const RULE last_rules[] = {
    {"itself", "x = x -> x", assigned_to_itself},
    {"twice", "a = (a = b) -> a = b", assigned_twice},
    {"from_local", "a = (b = c) -> b = (a = c)", value_from_local},
};

// ------------------------------------------------------------------------------------------- assignment operators

bool is_plain_operator(int op) {
    for (int asg : {PLUSASG, MINUSASG, MULTASG, ANDBASG, ORBASG, XORBASG, DIVASG, MODASG, SLLASG, SRLASG})
        if (op_of_opASG[asg] == op) return true;
    return false;
}

bool is_low_bits_operator(int op) {
    return op == PLUS || op == MINUS || op == MULT || op == ANDB || op == ORB || op == XORB;
}

// A read of the target, perhaps converted to another integer type: in a sum and its like the low bits are the same.
bool reads_target(const NODE* tree, const NODE* lhs) {
    if (tree->op == SCONV && is_modular(tree->type) && is_modular(tree->left->type) &&
        tree->type->size() >= tree->left->type->size())
        tree = tree->left;
    return tree->op == lhs->op && trees_are_congruent(tree, lhs);
}

// The value of x = x op y may become that of x op= y: both compute alike, and nothing moves past what could change it.
bool may_become_operator(const NODE* lhs, const NODE* value) {
    if (!is_plain_operator(value->op) || value->right == nullptr) return false;
    if (is_integer_like(lhs->type) && !is_modular(lhs->type)) return false; // bool: other than the low bits count
    if (lhs->type->is_enum()) return false;
    if (is_low_bits_operator(value->op) && is_modular(lhs->type) && value->type->size() < lhs->type->size())
        return false;
    if (value->type->is_fltpt() && !lhs->type->is_fltpt()) return false;
    if (lhs->op == DDNODE || lhs->type->is_volatile()) return false;
    if (lhs->type->is_ptr()) return value->type->is_ptr();
    return true;
}

// Counting a simple local up or down: it stays ASG, the form that the passes over loops look for.
bool is_plain_step(const NODE* lhs, const NODE* value) {
    if (!is_simple_local(lhs) || (value->op != PLUS && value->op != MINUS)) return false;
    const NODE* step = value->right;
    bool steady = step->op == ICON || (step->op == NAME && step->u.sym != nullptr && symbol_is_immutable(step->u.sym));
    return steady && (is_integer_like(lhs->type) || lhs->type->is_ptr());
}

// Takes a conversion of the target off, if the operator computes in the type that the assignment operator will have. In
// another type it is not exact for being so in this one.
void bare_target(NODE*& operand, const NODE* other, const NODE* lhs, NODE* value) {
    TYPE* own = combined_type_for_types(lhs->type, other->type);
    bool low_bits =
        is_low_bits_operator(value->op) && is_modular(value->type) && value->type->size() >= lhs->type->size();
    if (opcode_is_shift(value->op)) own = promoted_type(lhs->type);
    if (!equiv_mtypes(own, value->type)) clear_mark(value);
    if (operand->op == SCONV &&
        (low_bits || (equiv_mtypes(own, value->type) && equiv_mtypes(operand->type, value->type))))
        operand = take_left(operand);
}

// x op= (T)y -> x op= y and x op= y & C -> x op= y, where the target keeps none of what they change, and the operation
// gets no wider
void drop_idle_on_right(NODE* tree) {
    if (!is_low_bits_operator(op_of_opASG[tree->op]) || !is_modular(target_type(tree))) return;
    TYPE* type = target_type(tree);
    for (;;) {
        NODE* value = tree->right;
        if (value->op == ICON && type->size() <= tp->int_type()->size()) {
            // A constant of a narrow target counts by its value there.
            TYPE* promoted = promoted_type(type);
            INT65 held = truncate_to_type(truncate_to_type(value->u.lval, value_type(type)), promoted);
            if (value->type != promoted || value->u.lval != held) clear_mark(tree);
            value->u.lval = held;
            value->type = value->orig_type = promoted;
            return;
        }
        if (value->left == nullptr || !is_modular(value->type) || !is_integer_like(value->left->type)) return;
        uint32_t word = std::max(type->size(), tp->int_type()->size());
        if (value->left->type->size() > word) return;
        if (value->op == SCONV) {
            bool idle = types_match(value->type, value_type(type)) ||
                        (value->type->size() >= value->left->type->size() && value->left->type->size() >= type->size());
            bool changes_sign = value->type->size() == value->left->type->size() && type->size() == value->type->size();
            if (!idle || changes_sign) return;
        } else if (value->op != ANDB || value->right->op != ICON ||
                   !(kept_bits(tree->left) & ~bits_of(value->right, value->type)).is_zero()) {
            return;
        }
        TYPE* before = combined_type(tree->left, value);
        bool same_value = value->op == SCONV && value->left->type->size() < value->type->size() &&
                          (value->left->type->is_unsigned() || value->type->is_signed());
        tree->right = take_left(value);
        if (!same_value || !equiv_mtypes(before, combined_type(tree->left, tree->right))) clear_mark(tree);
    }
}

// Integers of int's width but of different signs: the operation is the target's.
void convert_right(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    TYPE* type = value_type(target_type(tree));
    TYPE* right = tree->right->type;
    uint32_t word = tp->int_type()->size();
    if (!is_low_bits_operator(op_of_opASG[tree->op]) || !is_modular(type) || !is_modular(right)) return;
    if (type->size() != word || right->size() != word || types_match(type, right)) return;
    tree->right = simp_node(mk_SCONV(tree->right, type), loop, context);
    clear_mark(tree);
}

NODE* make_operator(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* lhs = tree->left;
    if (!may_become_operator(lhs, tree->right)) return nullptr;
    if (is_plain_step(lhs, tree->right)) return nullptr;
    NODE* value = tree->right = bubble_term_to_top(lhs, tree->right);
    bool on_left = reads_target(value->left, lhs);
    bool on_right = !on_left && commute_inv[value->op] == value->op && reads_target(value->right, lhs);
    if (!on_left && !on_right) return nullptr;
    // The target is read after the other operand, which therefore must leave it and the way to it alone.
    const NODE* other = on_left ? value->right : value->left;
    bool harmless = tree_is_pure(other) || (lhs->op == NAME && order_is_free(other, lhs));
    if (on_left && !harmless) return nullptr;
    bare_target(on_left ? value->left : value->right, other, lhs, value);
    tree = ASG_to_opASG(tree);
    if (tree->op == ASG) return nullptr;
    drop_idle_on_right(tree);
    convert_right(tree, loop, context);
    return tree;
}

} // namespace

// t stands somewhere in a chain of one operator: a op t op b -> a op b op t;  (x + t) - y -> (x - y) + t
NODE* bubble_term_to_top(NODE* lhs, NODE* rhs) {
    if (rhs->right == nullptr || !is_modular(rhs->type) || rhs->left == nullptr) return rhs;
    int op = rhs->op;
    uint32_t width = rhs->type->size();
    if (op != PLUS && op != MINUS && op != ANDB && op != ORB && op != XORB) return rhs;
    if (!is_modular_node(rhs, op, width) || reads_target(rhs->left, lhs) || reads_target(rhs->right, lhs)) return rhs;
    if (op == MINUS) {
        NODE* inner = rhs->left;
        if (inner->op != PLUS || inner->type->size() != width || !tree_is_pure(rhs)) return rhs;
        inner = rhs->left = bubble_term_to_top(lhs, inner);
        if (!is_modular_node(inner, PLUS, width)) return rhs;
        if (!reads_target(inner->right, lhs)) {
            if (!reads_target(inner->left, lhs)) return rhs;
            std::swap(inner->left, inner->right);
        }
        NODE* term = inner->right;
        inner = simp_node(remake(inner, MINUS, inner->left, rhs->right, rhs->type));
        return remake(rhs, PLUS, inner, term, rhs->type);
    }
    NODE* links[max_walk];
    int count = 0;
    for (NODE* link = rhs->left; count < max_walk && is_modular_node(link, op, width); link = link->left) {
        links[count++] = link;
        NODE** term = reads_target(link->right, lhs)  ? &link->right
                      : reads_target(link->left, lhs) ? &link->left
                                                      : nullptr;
        if (term == nullptr) continue;
        if (!tree_is_pure(rhs)) return rhs;
        std::swap(*term, rhs->right);
        clear_mark(rhs);
        while (count-- > 0) {
            clear_mark(links[count]);
            (count > 0 ? links[count - 1] : rhs)->left = simp_node(links[count]);
        }
        return rhs;
    }
    return rhs;
}

namespace {

const RULE_SET asg_value("asg_value", value_rules), asg_idle("asg_idle", idle_rules), asg_nested("asg", nested_rules),
    asg_last("asg_late", last_rules);

} // namespace

NODE* simp_ASG(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if (tree_is_arg_prolog(tree) || tree->left->type == nullptr || tree->right->type == nullptr) return tree;
    // These change the value in place; what is left of it may have another idle conversion or mask.
    asg_value.try_rules(tree, loop, context);
    while (asg_idle.try_rules(tree, loop, context) != nullptr) {}
    if (tree->right->op == COMMAOP) return simp_node(tree, loop, context); // an effect to be hoisted
    if (NODE* result = asg_nested.try_rules(tree, loop, context)) return result;
    if (NODE* result = make_operator(tree, loop, context)) return result;
    return asg_last.run(tree, loop, context);
}

NODE* simp_opASG(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    drop_idle_on_right(tree);
    convert_right(tree, loop, context);
    NODE* lhs = tree->left;
    if (lhs->op == DDNODE || !tree_is_pure(lhs, max_lvalue_nodes)) return tree;
    // As an assignment the target is read before the right side: that must leave it, and the way to it, alone.
    if (!tree_is_pure(tree->right) && !(lhs->op == NAME && order_is_free(tree->right, lhs))) return tree;
    tree = opASG_to_ASG(tree);
    if (tree->op != ASG) return tree;
    auto conversion = [&](NODE* node) { return node->op == SCONV ? simp_node(node, loop, context) : node; };
    NODE*& value =
        tree->right->op == SCONV && is_plain_operator(tree->right->left->op) ? tree->right->left : tree->right;
    value->left = conversion(value->left);
    value->right = conversion(value->right);
    value = simp_node(value, loop, context);
    if (&value != &tree->right) tree->right = simp_node(tree->right, loop, context);
    if (tree->right->op == COMMAOP) return simp_node(tree, loop, context); // an effect to be hoisted
    return simp_ASG(tree, loop, context);
}
