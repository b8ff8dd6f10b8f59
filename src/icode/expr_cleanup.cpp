// Brings a tree just read to the form that the passes expect. One walk over the nodes, operands first.
//
//     enum types                ->  their underlying types
//     PMCONV(i, bits)           ->  i * (bits / 16)
//     LOOP(c, L)                ->  L:
//     ENDLOOP(n, L)             ->  CBRANCH((n -= 1) < 0, L)
//     EPVAL(x)                  ->  x, which keeps the edge profile value
//     NASSERT(effects)          ->  0
//     ASSERT(op(a, b))          ->  ASSERT's operand itself
#include "icode/expr_cleanup.h"

#include "icode/opt_client.h"
#include "ir/funinfo.h"
#include "ir/opt_expr.h"
#include "ir/symbol.h"
#include "ir/types.h"
#include "ir/vars.h"

bool input_is_optimized = false;

namespace {

NODE* PMCONV_to_MULT(NODE* node) {
    NODE* scale = node->right;
    INT65 bits = scale->u.lval;
    // the magnitude is shifted, so that the sign does not round the quotient
    INT65 units = bits.is_negative() ? -(-bits >> 4) : bits >> 4;
    TYPE* type = node->type->type_qualified();
    if (type->is_ptr()) type = tp->ptr_int();
    if (node->left->type->size() != type->size() || !equiv_mtypes(node->left->type, type)) {
        node->left = mk_SCONV(node->left, type);
        if (pass_hooks.simp_node != nullptr) node->left = pass_hooks.simp_node(node->left);
    }
    node->op = MULT;
    node->type = type;
    scale->type = type;
    scale->u.lval = truncate_to_type(units, type);
    return node;
}

void clean_type(NODE* node) {
    if (node->type == nullptr || !node->type->is_enum()) return;
    uint32_t quals = node->type->qual_kind();
    node->type = tp->mk_qual(normalized_underlying_type(node->type), quals);
}

// The address of a local is taken.
void note_address(NODE* node) {
    NODE* object = node->left;
    while (object->op == STDOT) object = object->left;
    if (object->op != NAME || currfuninfo == nullptr) return;
    switch (object->u.sym->sclass) {
    case SC_AUTO:
    case SC_REGISTER:
    case SC_PARM:
    case SC_PARM_REG:
    case SC_REGISTER2: currfuninfo->has_local_address = true; break;
    default: break;
    }
}

// Drops a conversion of an argument that only adds qualifiers to what a pointer points to.
NODE* clean_argument(NODE* arg) {
    while ((arg->op == PCONV || arg->op == ACONV) && arg->type->is_ptr() && arg->left->type->is_ptr()) {
        TYPE* to = arg->type->type_pointed_to();
        TYPE* from = arg->left->type->type_pointed_to();
        bool only_adds = (from->qual_kind() & ~to->qual_kind()) == 0 &&
                         (to->qual_kind() & QUAL_VOLATILE) == (from->qual_kind() & QUAL_VOLATILE) &&
                         compatible_types(to->stqs(), from->stqs(), true);
        if (!only_adds) break;
        NODE* operand = arg->left;
        erase_node(arg);
        arg = operand;
    }
    return arg;
}

// Brings a list of arguments to its final order: a left-leaning chain in source order.
NODE* left_leaning(NODE* list) {
    for (NODE* cell = list; cell->op == COMMA; cell = cell->left)
        while (cell->right->op == COMMA) {
            // a, (b, c)  ->  (a, b), c
            NODE* inner = cell->right;
            cell->right = inner->right;
            inner->right = inner->left;
            inner->left = cell->left;
            cell->left = inner;
        }
    return list;
}

NODE* clean_arguments(NODE* list) {
    if (list == nullptr) return nullptr;
    list = left_leaning(list);
    NODE** cell = &list;
    for (; (*cell)->op == COMMA; cell = &(*cell)->left) (*cell)->right = clean_argument((*cell)->right);
    *cell = clean_argument(*cell);
    return list;
}

NODE* clean_LOOP(NODE* node) {
    NODE* definition = maketree(LABELDEF, nullptr, nullptr, tp->int_type(), node->scope);
    definition->u.lval = node->right->u.lval;
    erase_tree(node);
    return definition;
}

NODE* clean_ENDLOOP(NODE* node) {
    NODE* counter = node->left;
    TYPE* type = counter->type->type_qualified();
    NODE* step = maketree(MINUSASG, counter, mk_ICON(1, type), type, node->scope);
    node->op = CBRANCH;
    node->type = tp->int_type();
    node->left = maketree(LT, step, mk_ICON(0, type), tp->int_type(), node->scope);
    return node;
}

NODE* clean_EPVAL(NODE* node) {
    NODE* operand = node->left;
    operand->set_edge_profile_value(node->get_edge_profile_value());
    erase_node(node);
    return operand;
}

NODE* clean_NASSERT(NODE* node) {
    if (tree_has_side_effects(node->left)) {
        erase_tree(node);
        return mk_ICON(0, tp->int_type());
    }
    if (currfuninfo != nullptr) currfuninfo->has_asserts = 1;
    return node;
}

// An ASSERT on the way in is a mark on a condition; the condition itself stays.
NODE* clean_ASSERT(NODE* node) {
    NODE* operand = node->left;
    erase_node(node);
    return operand;
}

// The source's own signed arithmetic does not overflow. Of a file that this program wrote nothing of the kind is known:
// its sums may have been recombined.
void mark_exact_arithmetic(NODE* node) {
    if (input_is_optimized || node->type == nullptr) return;
    // an assignment operator computes in a type of its own
    bool assigns = opcode_is_ASG(node->op);
    TYPE* type = assigns ? combined_type(node->left, node->right) : node->type;
    if (type->is_signed()) node->flags |= NODE_NO_WRAP;
}

NODE* clean_node(NODE* node) {
    if (node->op > LAST_FILE_OPCODE) return node;
    clean_type(node);
    switch (node->op) {
    case PLUS:
    case MINUS:
    case MULT:
    case UMINUS:
    case PLUSASG:
    case MINUSASG:
    case MULTASG: mark_exact_arithmetic(node); return node;
    case PLUSPLUS:
    case MINMIN: // a narrow one is computed as an int and cut
        if (node->type->size() >= tp->int_type()->size()) mark_exact_arithmetic(node);
        return node;
    case NAME: node->u.sym = get_sym_def_for_decl(node->u.sym); return node;
    case UAND: note_address(node); return node;
    case CALL: node->right = clean_arguments(node->right); return node;
    case LOOP: return clean_LOOP(node);
    case ENDLOOP: return clean_ENDLOOP(node);
    case SCONV:
        if (node->type->is_vector()) {
            if (!node->left->type->is_vector()) abort_optimizer("a conversion of a scalar to a vector");
            node->op = VSCONV;
        }
        return node;
    case PMCONV: return PMCONV_to_MULT(node);
    case EPVAL: return clean_EPVAL(node);
    case NASSERT: return clean_NASSERT(node);
    case ASSERT: return clean_ASSERT(node);
    default: return node;
    }
}

} // namespace

NODE* expr_cleanup(NODE* tree) { return rewrite_tree(tree, clean_node); }

NODE* PMCONVs_to_MULTs(NODE* tree) {
    return rewrite_tree(tree, [](NODE* node) { return node->op == PMCONV ? PMCONV_to_MULT(node) : node; });
}
