// The conversions that the opcodes' rules imply, made explicit, so that every operand has the type that its operator
// wants. The simplifier drops many of them; whoever reads a file finds them all.
#include "simp/simp.h"
#include "simp/simp_int.h"

#include "ir/opt_expr.h"
#include "ir/types.h"

namespace {

// Gives a scalar operand the type, if it is of another one in the machine.
void want(NODE*& operand, TYPE* type) {
    if (operand == nullptr || operand->type == type || !is_scalar_value(type) || !is_scalar_value(operand->type))
        return;
    bool new_bool = type->is_bool() && !operand->type->is_bool();
    if (!new_bool && equiv_mtypes(operand->type, type)) return;
    operand = converted(operand, type);
}

// A pointer counts as it is, an integer added to one has its width.
void want_pointer_operand(NODE*& operand, TYPE* pointer) {
    if (operand->type->is_ptr())
        want(operand, pointer);
    else if (is_integer_like(operand->type) && operand->type->size() != pointer->size())
        want(operand, tp->ptr_int());
}

void cast_arithmetic(NODE* tree) {
    if (tree->type->is_ptr()) {
        if (tree->op != PLUS && tree->op != MINUS) return;
        want_pointer_operand(tree->left, tree->type);
        want_pointer_operand(tree->right, tree->type);
        return;
    }
    bool has_pointer = tree->left->type->is_ptr() || (tree->right != nullptr && tree->right->type->is_ptr());
    if (has_pointer && tree->op == MINUS) return; // a distance
    want(tree->left, tree->type);
    want(tree->right, tree->type);
}

void cast_comparison(NODE* tree) {
    TYPE *left = tree->left->type, *right = tree->right->type;
    if (!is_scalar_value(left) || !is_scalar_value(right) || equiv_mtypes(left, right)) return;
    TYPE* type = combined_type_for_types(left, right)->type_qualified();
    want(tree->left, type);
    want(tree->right, type);
}

void cast_op_assignment(NODE* tree) {
    if (tree->op == SLLASG || tree->op == SRLASG) return;
    if (tree->left->type->is_ptr())
        want_pointer_operand(tree->right, tree->left->type);
    else if (is_scalar_value(tree->left->type) && is_scalar_value(tree->right->type))
        want(tree->right, combined_type(tree->left, tree->right)->type_qualified());
}

// The type of the n-th argument: the parameter's, else what the default promotions give.
TYPE* argument_type(const FUNC_PART* function, size_t n, TYPE* type) {
    if (function != nullptr && function->proto && n < function->params.size()) return function->params[n].type;
    if (type->is_fltpt()) return type->size() < tp->double_type()->size() ? tp->double_type() : type;
    return is_integer_like(type) ? promoted_type(type) : type;
}

void cast_arguments(NODE* call) {
    TYPE* callee = call->left->type;
    TYPE* type = callee != nullptr && callee->is_ptr() ? callee->type_pointed_to()->getd(TYPE::K_FUNC) : nullptr;
    const FUNC_PART* function = type != nullptr ? type->func.get() : nullptr;
    if (function == nullptr) return;
    auto cast = [&](NODE*& argument, size_t n) {
        if (!is_scalar_value(argument->type) || argument->op == ARGREF || argument->op == STARG) return;
        if (TYPE* wanted = argument_type(function, n, argument->type->type_qualified()))
            want(argument, wanted->normalized()->type_qualified());
    };
    size_t n = static_cast<size_t>(arg_list_count(call->right));
    NODE** slot = &call->right;
    for (; (*slot)->op == COMMA; slot = &(*slot)->left) cast((*slot)->right, --n);
    cast(*slot, 0);
}

void cast_arms(NODE* quest) {
    NODE* arms = quest->right;
    if (arms == nullptr || arms->op != COLON || !is_scalar_value(quest->type)) return;
    want(arms->left, quest->type->type_qualified());
    want(arms->right, quest->type->type_qualified());
}

void cast_return(NODE* tree) {
    TYPE* type = tree->left->type != nullptr ? tree->left->type->getd(TYPE::K_FUNC) : nullptr;
    if (type != nullptr) want(tree->right, type->return_type()->normalized()->type_qualified());
}

NODE* cast_operands(NODE* tree) {
    if (tree->left == nullptr || tree->type == nullptr || tree->left->type == nullptr) return tree;
    if (tree->right != nullptr && tree->right->type == nullptr) return tree;
    switch (opcode_class(tree->op)) {
    case CLASS_ARITHMETIC:
    case CLASS_UNARY: cast_arithmetic(tree); return tree;
    case CLASS_SHIFT: want(tree->left, tree->type->type_qualified()); return tree;
    case CLASS_COMPARISON: cast_comparison(tree); return tree;
    case CLASS_ASG: want(tree->right, tree->left->type->type_qualified()); return tree;
    case CLASS_OP_ASG: cast_op_assignment(tree); return tree;
    default: break;
    }
    switch (tree->op) {
    case QUEST: cast_arms(tree); break;
    case CALL: cast_arguments(tree); break;
    case RETURN: cast_return(tree); break;
    default: break;
    }
    return tree;
}

} // namespace

NODE* insert_mandatory_casts(NODE* tree) { return rewrite_tree(tree, cast_operands); }
