// Small operators, and what is known not to change.
#include "simp/rules.h"
#include "simp/simp_int.h"

#include "ir/fps.h"
#include "ir/opt_expr.h"
#include "ir/types.h"

#include <cstring>

namespace {

NODE* coerced_one(NODE* tree, int value) {
    TYPE* type = tree->type;
    LS* scope = tree->scope;
    NODE* constant = mk_ICON(value, tp->int_type());
    constant->scope = scope;
    erase_tree(tree);
    return coerce_to_type(constant, type);
}

bool is_constant(const NODE* tree, int value) {
    if (tree->op == ICON) return tree->u.lval == INT65(value);
    if (tree->op != FCON) return false;
    const simul_fval& wanted = value == 0 ? pos_zero : one;
    return f_bit_eq(tree->u.fval, &wanted) != 0;
}

bool exponent_may_be_simplified(const NODE* tree) {
    return tree->right->op != ICON || !tree->right->u.lval.is_negative();
}

// x ** 0 -> 1
NODE* to_the_zeroth(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!is_constant(tree->right, 0) || !tree_is_pure(tree->left)) return nullptr;
    return coerced_one(tree, 1);
}

// 0 ** y -> 0, where y is known to be positive
NODE* of_zero(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (!is_constant(tree->left, 0) || tree->right->op != ICON || tree->right->u.lval.is_zero()) return nullptr;
    return exponent_may_be_simplified(tree) ? coerced_one(tree, 0) : nullptr;
}

// 1 ** y -> 1, x ** 1 -> x
NODE* to_base(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    bool of_one = is_constant(tree->left, 1) && tree_is_pure(tree->right);
    if (!exponent_may_be_simplified(tree) || (!of_one && !is_constant(tree->right, 1))) return nullptr;
    NODE* base = tree->left;
    TYPE* type = tree->type;
    erase_tree(tree->right);
    erase_node(tree);
    return coerce_to_type(base, type);
}

const RULE power_rules[] = {
    {"zeroth", "x ** 0 -> 1", to_the_zeroth},
    {"of_zero", "0 ** C -> 0", of_zero},
    {"base", "1 ** y -> 1, x ** 1 -> x", to_base},
};
const RULE_SET power_set("EXPT", power_rules);

// REAL(COMPLEX(a, b)) -> a, IMAG(COMPLEX(a, b)) -> b; the dropped part leaves its effects
NODE* part_of_complex(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) {
    if ((tree->op != REAL && tree->op != IMAG) || tree->left->op != COMPLEX) return nullptr;
    NODE* pair = tree->left;
    NODE* dropped = tree->op == REAL ? pair->right : pair->left;
    if (!tree_is_pure(dropped)) return nullptr;
    NODE* kept = tree->op == REAL ? pair->left : pair->right;
    TYPE* type = tree->type;
    erase_tree(dropped);
    erase_node(pair);
    erase_node(tree);
    (void)loop, (void)context;
    return coerce_to_type(kept, type);
}

// COMPLEX(REAL(x), IMAG(x)) -> x
NODE* complex_of_parts(NODE* tree, LOOP_RECORD*, CONTEXT*) {
    if (tree->op != COMPLEX || tree->left->op != REAL || tree->right->op != IMAG) return nullptr;
    NODE* whole = tree->left->left;
    if (!compatible_types(whole->type->type_qualified(), tree->type->type_qualified(), false)) return nullptr;
    if (!trees_are_congruent(whole, tree->right->left)) return nullptr;
    erase_node(tree->left);
    erase_tree(tree->right);
    erase_node(tree);
    return whole;
}

const RULE complex_rules[] = {
    {"part", "REAL(COMPLEX(a, b)) -> a, IMAG(COMPLEX(a, b)) -> b", part_of_complex},
    {"whole", "COMPLEX(REAL(x), IMAG(x)) -> x", complex_of_parts},
};
const RULE_SET complex_set("complex", complex_rules);

// The object that a pointer certainly points into, at whatever offset: a NAME or an SCON; null if that is not known.
const NODE* object_of_pointer(const NODE* pointer) {
    constexpr int max_steps = 50;
    for (int i = 0; i < max_steps; i++) {
        switch (pointer->op) {
        case PLUS:
        case MINUS:
            if (!pointer->type->is_ptr()) return nullptr;
            pointer = pointer->left;
            break;
        case PCONV: pointer = pointer->left; break;
        case SCON: return pointer;
        case UAND:
            pointer = pointer->left;
            while (pointer->op == STDOT) pointer = pointer->left;
            if (pointer->op == NAME) return pointer;
            if (pointer->op != UMULT && pointer->op != STREF) return nullptr;
            pointer = pointer->left;
            break;
        default: return nullptr;
        }
    }
    return nullptr;
}

} // namespace

NODE* simp_EXPT(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) { return power_set.run(tree, loop, context); }
NODE* simp_complexop(NODE* tree, LOOP_RECORD* loop, CONTEXT* context) { return complex_set.run(tree, loop, context); }

// --------------------------------------------------------------------------------------------------- immutable things

bool symbol_is_immutable(const SYMTAB* sym) {
    return sym->type->is_const() && !sym->type->is_volatile() && !(sym->scqual & CQ_VOLATILE);
}

// A const-qualified access proves nothing: the object itself must be const.
bool lvalue_is_immutable(const NODE* lvalue) {
    if (lvalue->type == nullptr || lvalue->type->is_volatile()) return false;
    const NODE* object = lvalue;
    while (object->op == STDOT) object = object->left;
    if (object->op == UMULT || object->op == STREF) {
        object = object_of_pointer(object->left);
        if (object != nullptr && object->op == SCON) return true;
    }
    return object != nullptr && object->op == NAME && object->u.sym != nullptr && symbol_is_immutable(object->u.sym);
}

// ------------------------------------------------------------------------------------------ forms of exception
// handling A call of a builtin stands for "an exception may have come"; passes leave the tests of it alone.

static constexpr char predicate_name[] = "__imaginary_exception_predicate";

bool is_magic_EH_MCALL(const NODE* tree) {
    return (tree->op == MCALL || tree->op == UMCALL) && strcmp(tree->u.name, predicate_name) == 0;
}

bool is_magic_EH_MCALL_ASG(const NODE* tree) { return tree->op == ASG && is_magic_EH_MCALL(tree->right); }

bool tree_is_EH_SWITCH(const NODE* tree) {
    if (tree->op != SWITCH) return false;
    for (const NODE* part : {tree->left, tree->right}) {
        while (part != nullptr && (part->op == SCONV || part->op == COMMAOP))
            part = part->op == COMMAOP ? part->right : part->left;
        if (part != nullptr && (is_magic_EH_MCALL(part) || is_magic_EH_MCALL_ASG(part))) return true;
    }
    return false;
}
