// Questions about trees: congruence, side effects, constants, symbols.
#include "ir/fps.h"
#include "ir/funinfo.h"
#include "ir/opt_expr.h"
#include "ir/pragma.h"
#include "ir/symbol.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <cstring>

// ------------------------------------------------------------------------------------------------------- congruence

namespace {

const NODE* skip_marks(const NODE* tree) {
    for (;;) {
        if (tree->op == CSE_DUPE || tree->op == CSE_ORIG)
            tree = tree->right;
        else if (tree->op == OUIALIGN || tree->op == NONALIGN || tree->op == IDENTITY)
            tree = tree->left;
        else
            return tree;
    }
}

bool is_volatile_access(const NODE* node) {
    return (opcode_is_lvalue(node->op) || node->op == FIELD) && node->type != nullptr && node->type->is_volatile();
}

// A parameter and the copy of it that nothing changes have one value: a NAME of the one matches a read of the other
// through a conversion.
bool is_copy_of_parameter(const NODE* name, const NODE* read) {
    while (read->op == SCONV || read->op == PCONV || read->op == ISP2CHAR) read = read->left;
    if (name->op != NAME || read->op != NAME || name->u.sym == nullptr || read->u.sym == nullptr) return false;
    const SYMTAB* copy = name->u.sym;
    const SYMTAB* parameter = read->u.sym;
    return copy->level == 2 && parameter->level == 1 && strcmp(copy->name, parameter->name) == 0 &&
           copy->type->is_const() && !copy->type->is_volatile() && !parameter->type->is_volatile();
}

bool leaves_are_congruent(const NODE* a, const NODE* b) {
    switch (a->op) {
    case LABEL:
    case LABELDEF:
        if (a->lbl != nullptr && b->lbl != nullptr) return a->lbl->bb == b->lbl->bb;
        return a->u.lval == b->u.lval;
    case NAME: return a->u.sym == b->u.sym;
    case SCON: return a->u.lval == b->u.lval && memcmp(a->text, b->text, a->u.lval.low) == 0;
    case ICON: return a->u.lval == b->u.lval;
    case FCON: return f_bit_eq(a->u.fval, b->u.fval);
    case FIELD: return a->mval->bit_offset == b->mval->bit_offset && a->mval->bit_size == b->mval->bit_size;
    case PPRAGMA: return a->pragma->kind == b->pragma->kind && a->pragma->strings == b->pragma->strings;
    case ASM: return a->u.lval == b->u.lval && strcmp(a->text, b->text) == 0;
    case MIXVALUE: return a->u.lval == b->u.lval && a->u.lval > INT65(1);
    case DDNODE: return false;
    default: return true;
    }
}

bool types_are_congruent(const NODE* a, const NODE* b) {
    if (a->type == b->type) return true;
    if (a->type == nullptr || b->type == nullptr) return false;
    if (a->op == NAME && b->op == NAME && a->u.sym == b->u.sym) return compatible_types(a->type, b->type, false);
    if (opcode_is_call(a->op) && a->type->is_csu()) return compatible_types(a->type, b->type, false);
    return equiv_mtypes(a->type, b->type);
}

// One comparison. Operands of commutative operators are tried in every order, so a pair of trees may be met many times:
// the budget bounds the work, and what is not decided by then counts as different.
struct COMPARISON {
    bool se_ok;
    int budget = 20000; // pairs of nodes
};

bool congruent(const NODE* a, const NODE* b, COMPARISON& how);
bool conditions_are_congruent(const NODE* a, const NODE* b, bool inverted, COMPARISON& how);

// (x op y) op z against the same three leaves in any order and grouping.
bool reassociated_congruent(const NODE* a, const NODE* b, COMPARISON& how) {
    if (a->op != b->op || !(a->type->is_integral() || a->type->is_enum())) return false;
    if (a->op != PLUS && a->op != MULT && a->op != ANDB && a->op != ORB && a->op != XORB) return false;
    auto leaves = [](const NODE* t, const NODE* out[3]) {
        const NODE* l = skip_marks(t->left);
        const NODE* r = skip_marks(t->right);
        const NODE* pair = l->op == t->op ? l : r->op == t->op ? r : nullptr;
        if (pair == nullptr || !equiv_mtypes(pair->type, t->type)) return false;
        out[0] = pair->left;
        out[1] = pair->right;
        out[2] = pair == l ? r : l;
        return true;
    };
    const NODE* x[3];
    const NODE* y[3];
    if (!leaves(a, x) || !leaves(b, y)) return false;
    static constexpr int orders[6][3] = {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}};
    for (const auto& order : orders)
        if (congruent(x[2], y[order[2]], how) && congruent(x[1], y[order[1]], how) && congruent(x[0], y[order[0]], how))
            return true;
    return false;
}

bool ifs_are_congruent(const NODE* a, const NODE* b, COMPARISON& how) {
    auto label_match = [](const NODE* x, const NODE* y) { return leaves_are_congruent(x, y); };
    const NODE *at = a->right->left, *af = a->right->right, *bt = b->right->left, *bf = b->right->right;
    if (label_match(at, bt) && label_match(af, bf)) return conditions_are_congruent(a->left, b->left, false, how);
    return label_match(at, bf) && label_match(af, bt) && conditions_are_congruent(a->left, b->left, true, how);
}

bool congruent(const NODE* a, const NODE* b, COMPARISON& how) {
    for (;;) {
        if (how.budget-- <= 0) return false;
        if (a == nullptr || b == nullptr) return a == b;
        if (a == b) return a->op != MIXVALUE || a->u.lval > INT65(1);
        a = skip_marks(a);
        b = skip_marks(b);
        if (!how.se_ok &&
            (side_effects[a->op & 255] || side_effects[b->op & 255] || is_volatile_access(a) || is_volatile_access(b)))
            return false;
        if (a->op != b->op) {
            if (is_copy_of_parameter(a, b) || is_copy_of_parameter(b, a)) return true;
            // x op y  ==  y op' x
            return commute_inv[a->op & 255] == b->op && types_are_congruent(a, b) &&
                   congruent(a->left, b->right, how) && congruent(a->right, b->left, how);
        }
        if (!types_are_congruent(a, b) || !leaves_are_congruent(a, b)) return false;
        if (opcode_is_builtin_call(a->op) && strcmp(a->u.name, b->u.name) != 0) return false;
        if (a->op == IF) return ifs_are_congruent(a, b, how);
        if (a->op == SWITCH && a->u.lval != b->u.lval) return false;
        if (a->left == nullptr && a->right == nullptr) return b->left == nullptr && b->right == nullptr;
        if (commute_inv[a->op] == a->op) {
            // The right operand is the small one in a chain: what differs there is found first.
            if (congruent(a->right, b->right, how) && congruent(a->left, b->left, how)) return true;
            if (congruent(a->right, b->left, how) && congruent(a->left, b->right, how)) return true;
            return reassociated_congruent(a, b, how);
        }
        if (!congruent(a->right, b->right, how)) return false;
        a = a->left;
        b = b->left;
    }
}

bool conditions_are_congruent(const NODE* a, const NODE* b, bool inverted, COMPARISON& how) {
    if (a == nullptr || b == nullptr) return a == b && !inverted;
    if (!inverted) return congruent(a, b, how);
    if (a->op == EXCLAIM && congruent(a->left, b, how)) return true;
    if (b->op == EXCLAIM && congruent(a, b->left, how)) return true;
    if (!tree_is_trivially_invertible(a)) return false;
    int op = boolean_inv[a->op];
    if (op == b->op && congruent(a->left, b->left, how) && congruent(a->right, b->right, how)) return true;
    return commute_inv[op] == b->op && congruent(a->left, b->right, how) && congruent(a->right, b->left, how);
}

} // namespace

bool trees_are_congruent(const NODE* a, const NODE* b, bool se_ok) {
    COMPARISON how{se_ok};
    return congruent(a, b, how);
}
bool trees_are_congruent_se_ok(const NODE* a, const NODE* b) { return trees_are_congruent(a, b, true); }

bool bools_are_congruent(const NODE* a, const NODE* b, bool inverted, bool se_ok) {
    COMPARISON how{se_ok};
    return conditions_are_congruent(a, b, inverted, how);
}

bool tree_lists_are_congruent(const LIST* a, const LIST* b) {
    for (; a != nullptr && b != nullptr; a = a->rest, b = b->rest)
        if (!trees_are_congruent(a->first, b->first)) return false;
    return a == b;
}

bool tree_is_trivially_invertible(const NODE* tree) {
    if (boolean_inv[tree->op & 255] == ILLOP) return false;
    if (tree->op == EQ || tree->op == NEQ) return true;
    // The opposite of an ordering test is no ordering test when an operand may be a NaN.
    return !tree->left->type->is_fltpt() && !tree->right->type->is_fltpt();
}

// ----------------------------------------------------------------------------------------------- effects, constants

bool tree_has_side_effects(const NODE* root) {
    bool found = false;
    walk_tree_top_down(const_cast<NODE*>(root), [&](NODE* node) {
        if (found) return false;
        const NODE* tree = skip_marks(node);
        if (opcode_is_lvalue(tree->op) && tree->type != nullptr && tree->type->is_volatile()) {
            found = true;
            return false;
        }
        if (tree->op == UAND) {
            // The address of a member of an object reads nothing.
            const NODE* object = tree->left;
            while (object->op == STDOT) object = object->left;
            if (object->op == NAME) return false;
        }
        if (tree->op != COMMAOP && side_effects[tree->op & 255]) found = true;
        return !found;
    });
    return found;
}

bool is_manifest_constant(const NODE* tree) {
    while (tree->op == SCONV || tree->op == PCONV) tree = tree->left;
    return tree->op == ICON || tree->op == FCON || tree->op == SCON;
}

bool is_initialiser_constant(const NODE* tree) {
    for (;;) {
        switch (tree->op) {
        case SCON:
        case ICON:
        case FCON: return true;
        case COMPLEX:
            if (!is_initialiser_constant(tree->right)) return false;
            tree = tree->left;
            break;
        case SCONV:
        case PCONV:
        case ISP2CHAR: tree = tree->left; break;
        case PLUS:
            if (tree->right->op != ICON) return false;
            tree = tree->left;
            break;
        case UAND: {
            const NODE* object = tree->left;
            while (object->op == STDOT) object = object->left;
            return object->op == NAME && object->u.sym != nullptr && object->u.sym->level == 0;
        }
        default: return false;
        }
    }
}

bool is_link_time_constant(const NODE* tree) {
    if (!is_initialiser_constant(tree)) return false;
    bool near = true;
    walk_tree_top_down(const_cast<NODE*>(tree), [&](NODE* node) {
        if (node->op != UAND) return true;
        const NODE* object = node->left;
        while (object->op == STDOT) object = object->left;
        if (object->type->qual_kind() & QUAL_FAR) near = false;
        if (TYPE_PKG::flat_memory_model) near = false;
        if (far_externs && object->u.sym->sclass == SC_EXTERN_DECL) near = false;
        return false;
    });
    return near;
}

namespace {

// A read of an object that nothing writes: const and not volatile, named directly. A const-qualified pointer target
// alone proves nothing.
bool is_immutable_read(const NODE* lvalue) {
    if (lvalue->type->is_volatile()) return false;
    while (lvalue->op == STDOT) lvalue = lvalue->left;
    return lvalue->op == NAME && lvalue->u.sym != nullptr && lvalue->u.sym->type->is_const() &&
           !lvalue->u.sym->type->is_volatile();
}

} // namespace

bool expr_is_constant(const NODE* root) {
    bool constant = true;
    walk_tree_top_down(const_cast<NODE*>(root), [&](NODE* tree) {
        switch (tree->op) {
        case ICON:
        case FCON:
        case SCON: return false;
        case UAND: {
            const NODE* object = tree->left;
            while (object->op == STDOT) object = object->left;
            if (object->op == NAME) return false;
            break;
        }
        case NAME:
        case STDOT: constant &= is_immutable_read(tree); return false;
        case UMULT:
        case STREF: constant = false; return false;
        case CALL:
        case UCALL: constant = false; return false;
        default: break;
        }
        if (side_effects[tree->op & 255]) constant = false;
        return constant;
    });
    return constant;
}

bool expr_is_globally_evaluable(const NODE* root) {
    bool yes = true;
    walk_tree_top_down(const_cast<NODE*>(root), [&](NODE* tree) {
        if (tree->op == NAME && tree->u.sym != nullptr)
            yes &= tree->u.sym->level == 0 && symbol_has_pragma(tree->u.sym, PRAGMA::PRAGMA_SCOPING_FUNC) == nullptr;
        return yes;
    });
    return yes;
}

// --------------------------------------------------------------------------------------------------------- counting

int count_nodes_in_tree(const NODE* root, int limit) {
    int n = 0;
    walk_tree_top_down(const_cast<NODE*>(root), [&](NODE*) { return ++n < limit; });
    return n < limit ? n : limit;
}

int count_lvalues_in_tree(const NODE* root) {
    int n = 0;
    walk_tree_top_down(const_cast<NODE*>(root), [&](NODE* node) {
        n += opcode_is_lvalue(node->op);
        return true;
    });
    return n;
}

int count_calls_in_tree(const NODE* root) {
    int n = 0;
    walk_tree_top_down(const_cast<NODE*>(root), [&](NODE* node) {
        n += opcode_is_call(node->op);
        return true;
    });
    return n;
}

// ---------------------------------------------------------------------------------------------------------- searches

bool sym_appears_in_tree(const SYMTAB* sym, const NODE* root) {
    bool found = false;
    walk_tree_top_down(const_cast<NODE*>(root), [&](NODE* node) {
        found |= node->op == NAME && node->u.sym == sym;
        return !found;
    });
    return found;
}

bool sym_appears_in_list(const SYMTAB* sym, const LIST* list) {
    for (; list != nullptr; list = list->rest)
        if (sym_appears_in_tree(sym, list->first)) return true;
    return false;
}

bool sym_appears_in_bb(const SYMTAB* sym, const BBLK* bb) { return sym_appears_in_list(sym, bb->stmts); }

bool tree_references_NAME(const NODE* root) {
    bool found = false;
    walk_tree_top_down(const_cast<NODE*>(root), [&](NODE* node) {
        found |= node->op == NAME;
        return !found;
    });
    return found;
}

bool tree_is_subtree_of_tree(const NODE* part, const NODE* whole) {
    bool found = false;
    walk_tree_top_down(const_cast<NODE*>(whole), [&](NODE* node) {
        found = found || trees_are_congruent(part, node);
        return !found;
    });
    return found;
}

bool tree_is_strict_subtree_of_tree(const NODE* part, const NODE* whole) {
    return (whole->left != nullptr && tree_is_subtree_of_tree(part, whole->left)) ||
           (whole->right != nullptr && tree_is_subtree_of_tree(part, whole->right));
}

namespace {

// Whether a store to `target` may change what `lvalue` reads. Names of different objects that are not aliased differ;
// everything else may be the same storage.
bool may_be_same_object(const NODE* target, const NODE* lvalue) {
    while (target->op == STDOT) target = target->left;
    while (lvalue->op == STDOT) lvalue = lvalue->left;
    if (target->op == NAME && lvalue->op == NAME) return target->u.sym == lvalue->u.sym;
    auto is_private = [](const NODE* t) {
        return t->op == NAME && t->u.sym != nullptr && t->u.sym->level == 2 && !t->u.sym->aliased();
    };
    return !is_private(target) && !is_private(lvalue);
}

} // namespace

bool tree_modifies_lvalue_in_tree(const NODE* root, const NODE* lvalue) {
    bool found = false;
    walk_tree_top_down(const_cast<NODE*>(root), [&](NODE* node) {
        if (opcode_is_store(node->op))
            found |= may_be_same_object(node->left, lvalue);
        else if (opcode_is_call(node->op) || node->op == MCALL || node->op == UMCALL || node->op == MEMCPY ||
                 node->op == ASM) {
            const NODE* object = lvalue;
            while (object->op == STDOT) object = object->left;
            found |=
                object->op != NAME || object->u.sym == nullptr || object->u.sym->level == 0 || object->u.sym->aliased();
        }
        return !found;
    });
    return found;
}

bool bb_modifies_lvalue_in_tree(const BBLK* bb, const NODE* lvalue) {
    for (const LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest)
        if (tree_modifies_lvalue_in_tree(cell->first, lvalue)) return true;
    return false;
}

// ---------------------------------------------------------------------------------------------------------- pointers

INT65 total_pointer_offset_value(const NODE* pointer) {
    switch (pointer->op) {
    case ICON: return pointer->u.lval;
    case PLUS: return total_pointer_offset_value(pointer->left) + total_pointer_offset_value(pointer->right);
    case MINUS: return total_pointer_offset_value(pointer->left) - total_pointer_offset_value(pointer->right);
    case MULT:
        if (pointer->right->op != ICON) return 0;
        return total_pointer_offset_value(pointer->left) * pointer->right->u.lval;
    case OUIALIGN:
    case NONALIGN:
    case IDENTITY: return total_pointer_offset_value(pointer->left);
    default: return 0;
    }
}

INT65 byte_offset_on_indirection(const NODE* tree) {
    if (tree->op == UMULT) return total_pointer_offset_value(tree->left);
    if (tree->op == STREF) return total_pointer_offset_value(tree->left) + INT65(tree->right->mval->bit_offset / 16);
    return 0;
}

bool pointer_is_an_adcon(const NODE* tree) {
    for (;;) {
        switch (tree->op) {
        case SCON: return true;
        case PCONV:
            if (tree->left->op == ICON) return true;
            tree = tree->left;
            break;
        case UAND: {
            const NODE* object = tree->left;
            while (object->op == STDOT) object = object->left;
            return object->op == NAME && symbol_has_pragma(object->u.sym, PRAGMA::PRAGMA_NORVEX_WEAK) == nullptr;
        }
        case PLUS:
        case MINUS:
            if (tree->right->op != ICON) return false;
            tree = tree->left;
            break;
        default: return false;
        }
    }
}

bool pointer_contains_adcon_term(const NODE* tree) {
    while (tree->op == PLUS || tree->op == MINUS) {
        if (tree->op == PLUS && pointer_contains_adcon_term(tree->right)) return true;
        tree = tree->left;
    }
    return tree->op == SCON || tree->op == UAND || tree->op == PCONV ? pointer_is_an_adcon(tree) : false;
}

bool tree_addresses_an_argument(const NODE* root) {
    bool found = false;
    walk_tree_top_down(const_cast<NODE*>(root), [&](NODE* node) {
        if (node->op == UAND) {
            const NODE* object = node->left;
            while (object->op == STDOT) object = object->left;
            found |= object->op == NAME && object->u.sym != nullptr &&
                     (object->u.sym->is_parameter() || map_sym_to_parm(object->u.sym) != nullptr);
        }
        return !found;
    });
    return found;
}

bool lvalue_is_a_ref_parm(const NODE* lvalue) {
    return lvalue->op == UMULT && lvalue->left->op == NAME && lvalue->left->u.sym != nullptr &&
           lvalue->left->u.sym->otype->is_ref() &&
           (lvalue->left->u.sym->is_parameter() || map_sym_to_parm(lvalue->left->u.sym) != nullptr);
}
