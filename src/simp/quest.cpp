// c ? a : b, that is QUEST(c, COLON(a, b)).
#include "simp/fold.h"
#include "simp/ranges.h"
#include "simp/rules.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

#include <cstring>

bool (*target_has_builtin)(const char* name) = nullptr;

namespace {

// The parts of the choice in work.
struct CHOICE {
    NODE*& condition;
    NODE*& a;
    NODE*& b;
    explicit CHOICE(NODE* tree) : condition(tree->left), a(tree->right->left), b(tree->right->right) {}
};

// Erases the two nodes of the choice itself; its three operands must be in use elsewhere or erased.
void erase_choice(NODE* tree) {
    erase_node(tree->right);
    erase_node(tree);
}

bool is_icon(const NODE* tree, int value) { return tree->op == ICON && tree->u.lval == INT65(value); }

// 1 ? a : b  ->  a
NODE* constant_condition(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    CHOICE q(tree);
    if (q.condition->op != ICON) return nullptr;
    bool first = !q.condition->u.lval.is_zero();
    NODE* kept = first ? q.a : q.b;
    if (NODE* other = first ? q.b : q.a) erase_tree(other);
    erase_tree(q.condition);
    TYPE* type = tree->type;
    erase_choice(tree);
    if (kept == nullptr) return mk_ICON(0, tp->int_type());
    return type->is_scalar() ? coerce_to_type(kept, type) : kept;
}

// c ? 1 : 0  ->  c != 0        c ? 0 : 1  ->  c == 0
NODE* boolean_arms(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CHOICE q(tree);
    bool same = is_icon(q.a, 1) && is_icon(q.b, 0);
    if (!is_integer_like(tree->type) || (!same && !(is_icon(q.a, 0) && is_icon(q.b, 1)))) return nullptr;
    TYPE* type = tree->type;
    NODE* condition = q.condition;
    erase_node(q.a);
    erase_node(q.b);
    erase_choice(tree);
    if (!same) condition = simp_node(invert_boolean_tree(condition), loop, context);
    return coerce_to_type(make_boolean(condition, loop, context), type);
}

// c ? a : a  ->  c, a
NODE* same_arms(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CHOICE q(tree);
    if (!trees_are_congruent_se_ok(q.a, q.b)) return nullptr;
    NODE *condition = q.condition, *value = q.a;
    TYPE* type = tree->type;
    keep_common_marks(value, q.b);
    erase_tree(q.b);
    erase_node(tree->right);
    value = type->is_scalar() ? coerce_to_type(value, type) : value;
    return simp_node(remake(tree, COMMAOP, condition, value, type), loop, context);
}

// Turns x >= 0 and x > 0 into x < 0 and x <= 0 by exchanging the arms; gives false if the condition compares nothing
// with zero. Nothing is changed: `first` and `second` are the arms in that order.
bool sign_test(NODE* tree, NODE*& x, NODE*& first, NODE*& second) {
    CHOICE q(tree);
    int op = q.condition->op;
    if (op != LT && op != LE && op != GE && op != GT) return false;
    if (!is_icon(q.condition->right, 0)) return false;
    x = q.condition->left;
    if (!x->type->is_signed()) return false;
    bool negative_first = op == LT || op == LE;
    first = negative_first ? q.a : q.b;
    second = negative_first ? q.b : q.a;
    return true;
}

// x < 0 ? -x : x  ->  |x|
NODE* absolute_value(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE *x, *first, *second;
    if (!sign_test(tree, x, first, second) || first->op != UMINUS) return nullptr;
    if (!equiv_mtypes(x->type->type_qualified(), tree->type) || !equiv_mtypes(first->type, tree->type)) return nullptr;
    if (!trees_are_congruent(x, second) || !trees_are_congruent(x, first->left)) return nullptr;
    CHOICE q(tree);
    NODE* condition = q.condition;
    NODE* value = condition->left;
    erase_tree(condition->right);
    erase_node(condition);
    erase_tree(first);
    erase_tree(second);
    erase_node(tree->right);
    return simp_node(remake(tree, ABS, value, nullptr, tree->type), loop, context);
}

// The name of the builtin that gives the lesser or greater of two values of the type; null if there is none.
const char* min_max_name(TYPE* type, bool minimum, bool is_unsigned) {
    if (type->is_fltpt()) {
        if (type->is_float()) return minimum ? "FMIN" : "FMAX";
        if (type->is_double()) return minimum ? "DMIN" : "DMAX";
        return minimum ? "LDMIN" : "LDMAX";
    }
    if (!type->is_integral()) return nullptr;
    static const char* const names[3][2][2] = {{{"MAX", "MAXU"}, {"MIN", "MINU"}},
                                               {{"LMAX", "LMAXU"}, {"LMIN", "LMINU"}},
                                               {{"LLMAX", "LLMAXU"}, {"LLMIN", "LLMINU"}}};
    int width = type->size() <= tp->int_type()->size() ? 0 : type->size() <= tp->long_type()->size() ? 1 : 2;
    return names[width][minimum][is_unsigned];
}

// a < b ? a : b  ->  MIN(a, b)       where the target has the builtin
NODE* min_max(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (target_has_builtin == nullptr) return nullptr;
    CHOICE q(tree);
    int op = q.condition->op;
    bool is_unsigned = opcode_is_unsigned_comparison(op);
    if (op < LE || op > UGT) return nullptr;
    bool less = op == LE || op == LT || op == ULE || op == ULT;
    NODE *x = q.condition->left, *y = q.condition->right;
    bool in_order = trees_are_congruent(x, q.a) && trees_are_congruent(y, q.b);
    if (!in_order && !(trees_are_congruent(x, q.b) && trees_are_congruent(y, q.a))) return nullptr;
    TYPE* type = combined_type(q.a, q.b);
    if (!equiv_mtypes(type, tree->type)) return nullptr;
    const char* name = min_max_name(type, less == in_order, is_unsigned);
    if (name == nullptr || !target_has_builtin(name)) return nullptr;
    NODE* condition = q.condition;
    NODE* arguments = maketree(COMMA, condition->left, condition->right, tp->int_type(), tree->scope);
    erase_node(condition);
    erase_tree(q.a);
    erase_tree(q.b);
    erase_choice(tree);
    return mk_ICALL(name, arguments, type);
}

// x < 0 ? 0 : x  ->  (x >= 0) * x
NODE* clamp_at_zero(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    NODE *x, *first, *second;
    if (!sign_test(tree, x, first, second) || !is_icon(first, 0)) return nullptr;
    if (!equiv_mtypes(x->type->type_qualified(), second->type->type_qualified())) return nullptr;
    if (!is_integer_like(tree->type) || !tree_is_pure(x) || !trees_are_congruent(x, second)) return nullptr;
    CHOICE q(tree);
    NODE* test = q.condition;
    TYPE* type = combined_type(test, second);
    TYPE* node_type = tree->type;
    NODE* value = second;
    forget_exactness(value); // it was evaluated only if positive
    erase_tree(first);
    erase_node(tree->right);
    test->op = GE;
    test = coerce_to_type(simp_node(test, loop, context), type);
    value = coerce_to_type(value, type);
    return coerce_to_type(simp_node(remake(tree, MULT, test, value, type), loop, context), node_type);
}

// ------------------------------------------------------------------------------------- one operator in both arms

bool moves_out(int op) {
    switch (opcode_class(op)) {
    case CLASS_ARITHMETIC:
    case CLASS_SHIFT:
    case CLASS_COMPARISON:
    case CLASS_ASG:
    case CLASS_OP_ASG: return true;
    default: return false;
    }
}

bool is_assignment(int op) { return op == ASG || opcode_is_op_assignment(op); }

// c ? y : z on two operands that are gone from the choice's arms; the choice itself is used up.
NODE* choose_operand(NODE* tree, NODE* y, NODE* z, LOOP_RECORD* loop, CONTEXT* context) {
    NODE* arms = tree->right;
    arms->left = y;
    arms->right = z;
    TYPE* type = y->type->type_qualified();
    arms->type = arms->orig_type = type;
    return simp_node(remake(tree, QUEST, tree->left, arms, type), loop, context);
}

// c ? (x op a) : (x op b)  ->  x op (c ? a : b), or the same with the common operand on the right.
NODE* move_operator_out(NODE* tree, bool common_left, LOOP_RECORD* loop, CONTEXT* context) {
    NODE *top = tree->right->left, *gone = tree->right->right;
    NODE* common = common_left ? top->left : top->right;
    NODE* copy = common_left ? gone->left : gone->right;
    NODE* a = common_left ? top->right : top->left;
    NODE* b = common_left ? gone->right : gone->left;
    keep_common_marks(common, copy);
    erase_tree(copy);
    erase_node(gone);
    int op = top->op;
    TYPE* type = top->type;
    NODE* chosen = choose_operand(tree, a, b, loop, context);
    remake(top, op, common_left ? common : chosen, common_left ? chosen : common, type);
    return simp_node(top, loop, context);
}

// Both arms are the same operator on operands of the same types.
bool arms_are_alike(NODE* tree) {
    CHOICE q(tree);
    if (q.a->op != q.b->op || !moves_out(q.a->op)) return false;
    if (!compatible_types(q.a->type, q.b->type, true) || !compatible_types(q.a->type, tree->type, false)) return false;
    return compatible_types(q.a->left->type, q.b->left->type, true) &&
           compatible_types(q.a->right->type, q.b->right->type, true);
}

// c ? (x op a) : (x op b)  ->  x op (c ? a : b)
// The condition now comes after x, but an assignment evaluates its right side first anyway.
NODE* same_left_operand(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CHOICE q(tree);
    if (!arms_are_alike(tree) || !q.a->right->type->is_scalar()) return nullptr;
    if (is_assignment(q.a->op)) {
        if (q.a->op != ASG && q.a->right->op == ICON && q.b->right->op == ICON) return nullptr;
        if (!trees_are_congruent_se_ok(q.a->left, q.b->left)) return nullptr;
    } else {
        if (!trees_are_congruent(q.a->left, q.b->left)) return nullptr;
        if (!tree_is_pure(q.a->left) || !tree_is_pure(q.condition)) return nullptr;
    }
    return move_operator_out(tree, true, loop, context);
}

// c ? (a op x) : (b op x)  ->  (c ? a : b) op x
NODE* same_right_operand(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    CHOICE q(tree);
    if (!arms_are_alike(tree) || is_assignment(q.a->op) || !q.a->left->type->is_scalar()) return nullptr;
    if (!trees_are_congruent_se_ok(q.a->right, q.b->right)) return nullptr;
    return move_operator_out(tree, false, loop, context);
}

const RULE quest_rules[] = {
    {"constant_condition", "1 ? a : b -> a", constant_condition},
    {"boolean_arms", "c ? 1 : 0 -> c != 0;  c ? 0 : 1 -> c == 0", boolean_arms},
    {"same_arms", "c ? a : a -> (c, a)", same_arms},
    {"absolute_value", "x < 0 ? -x : x -> |x|", absolute_value},
    {"min_max", "a < b ? a : b -> MIN(a, b)", min_max},
    {"clamp_at_zero", "x < 0 ? 0 : x -> (x >= 0) * x", clamp_at_zero},
    {"same_left", "c ? (x op a) : (x op b) -> x op (c ? a : b)", same_left_operand},
    {"same_right", "c ? (a op x) : (b op x) -> (c ? a : b) op x", same_right_operand},
};
const RULE_SET quest_set("quest", quest_rules);

} // namespace

NODE* simp_QUEST(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    tree->left = simp_for_control(tree->left, loop, context);
    if (tree->left->op == COMMAOP) return simp_node(tree, loop, context); // an effect to be hoisted
    NODE* arms = tree->right;
    if (arms->left == nullptr || arms->right == nullptr) {
        NODE* result = constant_condition(tree, loop, context);
        return result != nullptr ? result : tree;
    }
    return quest_set.run(tree, loop, context);
}
