// Constructors of trees, and the queries about calls, argument lists and the prolog.
#include "ir/opt_expr.h"

#include "ir/funinfo.h"
#include "ir/pragma.h"
#include "ir/symbol.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>
#include <cstring>

// ---------------------------------------------------------------------------------------------------- constructors

NODE* mk_ASG(NODE* lhs, NODE* rhs) {
    TYPE* type = lhs->type;
    int op = type->is_array() && !type->is_vector() ? ARASG : type->is_csu() ? STASG : ASG;
    NODE* node = maketree(op, lhs, rhs, type, lhs->scope);
    if (op == STASG && lhs->op == NAME) node->u.sym = lhs->u.sym;
    return node;
}

NODE* mk_COMMAOP(NODE* a, NODE* b) {
    if (a == nullptr) return b;
    return maketree(COMMAOP, a, b, b->type, b->scope);
}

NODE* mk_MINUS(NODE* a, NODE* b) {
    if (b == nullptr) return a;
    if (a == nullptr) return maketree(UMINUS, b, nullptr, promoted_type(b->type), b->scope);
    TYPE* type = a->type->is_ptr() ? tp->ptrdiff_type() : combined_type(a, b);
    return maketree(MINUS, a, b, type, a->scope);
}

NODE* mk_EXCLAIM(NODE* x) { return maketree(EXCLAIM, x, nullptr, tp->int_type(), x->scope); }

NODE* mk_ICON(INT65 value, TYPE* type) {
    if (type->is_ptr()) type = tp->ptr_int();
    OPTASSERT(type->is_integral() || type->is_enum());
    NODE* node = new NODE(ICON, type);
    node->u.lval = truncate_to_type(value, type);
    return node;
}

NODE* mk_NAME(SYMTAB* sym, LS* scope) {
    NODE* node = maketree(NAME, nullptr, nullptr, sym->type, scope != nullptr ? scope : sym->scope);
    node->mk_name(sym);
    return node;
}

namespace {

NODE* mk_builtin_call(int op, int op_without_args, const char* name, NODE* args, TYPE* type) {
    NODE* node =
        maketree(args != nullptr ? op : op_without_args, args, nullptr, type, args != nullptr ? args->scope : nullptr);
    node->mk_icall(name);
    return node;
}

} // namespace

NODE* mk_ICALL(const char* name, NODE* args, TYPE* type) { return mk_builtin_call(ICALL, UICALL, name, args, type); }
NODE* mk_MCALL(const char* name, NODE* args, TYPE* type) { return mk_builtin_call(MCALL, UMCALL, name, args, type); }

NODE* mk_LABELDEF(LBL* label) {
    NODE* node = maketree(LABELDEF, nullptr, nullptr, tp->int_type());
    node->u.lval = INT65(label->index);
    node->lbl = label;
    return node;
}

NODE* mk_LABELREF(INT65 number, uint32_t edge_profile_value) {
    NODE* node = maketree(LABEL, nullptr, nullptr, tp->int_type());
    node->u.lval = number;
    node->edge_profile_value = edge_profile_value;
    return node;
}

NODE* mk_LABELREF_to_lbl(LBL* label, LS* scope) {
    NODE* node = mk_LABELREF(INT65(label->index));
    node->lbl = label;
    node->scope = scope;
    return node;
}

NODE* mk_SCONV(NODE* x, TYPE* type) { return maketree(SCONV, x, nullptr, type, x->scope); }
NODE* mk_PCONV(NODE* x, TYPE* type) { return maketree(PCONV, x, nullptr, type, x->scope); }
NODE* mk_UAND(NODE* lvalue, TYPE* pointer_type) { return maketree(UAND, lvalue, nullptr, pointer_type, lvalue->scope); }
NODE* mk_UMULT(NODE* pointer, TYPE* type) { return maketree(UMULT, pointer, nullptr, type, pointer->scope); }

NODE* mk_IF(NODE* cond, INT65 true_label, uint32_t true_profile, INT65 false_label, uint32_t false_profile, LS* scope) {
    NODE* targets = maketree(COMMA, mk_LABELREF(true_label, true_profile), mk_LABELREF(false_label, false_profile),
                             tp->int_type(), scope);
    targets->left->scope = targets->right->scope = scope;
    return maketree(IF, cond, targets, tp->int_type(), scope);
}

NODE* mk_ASM(int kind, const char* text, LS* scope) {
    NODE* node = maketree(ASM, nullptr, nullptr, tp->void_type, scope);
    node->u.lval = INT65(kind);
    size_t size = strlen(text) + 1;
    node->text = static_cast<char*>(memcpy(new char[size], text, size));
    return node;
}

NODE* mkpredicate(SYMTAB* sym) {
    NODE* zero = sym->type->is_ptr()        ? mk_PCONV(mk_ICON(0, tp->int_type()), sym->type)
                 : sym->type->is_integral() ? mk_ICON(0, sym->type->type_qualified())
                                            : mk_SCONV(mk_ICON(0, tp->int_type()), sym->type);
    return maketree(NEQ, mk_NAME(sym), zero, tp->int_type(), sym->scope);
}

// ----------------------------------------------------------------------------------------- argument lists and calls

bool is_comma_chain_op(int op) { return op == COMMA || op == PCOMMA; }

std::vector<NODE*> comma_list(NODE* chain) {
    // The chain leans to the left; a cell whose right operand is a cell again is taken apart, too.
    std::vector<NODE*> items, stack;
    if (chain != nullptr) stack.push_back(chain);
    while (!stack.empty()) {
        NODE* node = stack.back();
        stack.pop_back();
        if (node->op == COMMA) {
            stack.push_back(node->right);
            stack.push_back(node->left);
        } else
            items.push_back(node);
    }
    return items;
}

int arg_list_count(const NODE* args) {
    if (args == nullptr) return 0;
    int n = 1;
    for (; args->op == COMMA; args = args->left) n++;
    return n;
}

NODE* arg_list_lookup(NODE* args, int n) {
    int from_end = arg_list_count(args) - 1 - n;
    if (n < 0 || from_end < 0) return nullptr;
    while (from_end-- > 0) args = args->left;
    return n > 0 && args->op == COMMA ? args->right : args;
}

NODE* get_callee_for_call(NODE* call) {
    NODE* callee = call->left;
    return callee != nullptr && callee->op == UAND && callee->left->op == NAME ? callee->left : callee;
}

NODE* get_arguments_to_call(NODE* call) { return call->op == CALL ? call->right : nullptr; }

// ------------------------------------------------------------------------------------------------------- the prolog

namespace {

// One assignment of the prolog: a parameter, maybe converted, to the local copy of the same name.
bool is_prolog_asg(const NODE* tree) {
    if (tree->op != ASG && tree->op != STASG) return false;
    if (tree->left->op != NAME || tree->left->u.sym == nullptr || tree->left->u.sym->level != 2) return false;
    const NODE* from = tree->right;
    while (from->op == SCONV || from->op == PCONV || from->op == ISP2CHAR) from = from->left;
    return from->op == NAME && from->u.sym != nullptr && from->u.sym->level == 1 &&
           strcmp(from->u.sym->name, tree->left->u.sym->name) == 0;
}

bool is_prolog(const NODE* tree, bool extended) {
    for (; tree != nullptr && (tree->op == PCOMMA || (extended && tree->op == COMMAOP)); tree = tree->left)
        if (!is_prolog(tree->right, extended)) return false;
    return tree != nullptr && is_prolog_asg(tree);
}

} // namespace

bool tree_is_arg_prolog(const NODE* tree) { return is_prolog(tree, false); }
bool tree_is_extended_arg_prolog(const NODE* tree) { return is_prolog(tree, true); }
bool stmt_is_arg_prolog(const LIST* cell) { return cell != nullptr && tree_is_arg_prolog(cell->first); }

bool tree_is_ASM_comment(const NODE* tree) { return tree->op == ASM && tree->u.lval == INT65(47); }

namespace {

// A local and the parameter that it is the copy of have one name; level 1 and level 2 tell them apart.
SYMTAB* find_namesake(const SYMTAB* sym, uint8_t level) {
    for (SYMTAB* list : {currfuninfo->locals, currfuninfo->memory_locals, currfuninfo->scalar_locals})
        for (SYMTAB* s = list; s != nullptr; s = s->next)
            if (s->level == level && strcmp(s->name, sym->name) == 0) return s;
    return nullptr;
}

// Whether the prolog still relates the two.
bool prolog_relates(const SYMTAB* local, const SYMTAB* parameter) {
    bool found = false;
    walk_tree_top_down(currfuninfo->arg_tree, [&](NODE* node) {
        if (!is_prolog_asg(node)) return node->op == PCOMMA;
        const NODE* from = node->right;
        while (from->op != NAME) from = from->left;
        found |= node->left->u.sym == local && from->u.sym == parameter;
        return false;
    });
    return found;
}

} // namespace

SYMTAB* map_sym_to_parm(const SYMTAB* local) {
    if (currfuninfo == nullptr || local->level != 2) return nullptr;
    SYMTAB* parameter = find_namesake(local, 1);
    return parameter != nullptr && prolog_relates(local, parameter) ? parameter : nullptr;
}

SYMTAB* map_parm_to_sym(const SYMTAB* parameter) {
    if (currfuninfo == nullptr || parameter->level != 1) return nullptr;
    SYMTAB* local = find_namesake(parameter, 2);
    return local != nullptr && prolog_relates(local, parameter) ? local : nullptr;
}

// --------------------------------------------------------------------------------------------------------- rewrites

void set_scope_of_tree(NODE* tree, LS* scope) {
    walk_tree(tree, [&](NODE* node) { node->scope = scope; });
}

namespace {

// The type in which an assignment operator computes.
TYPE* type_of_opASG(int op, NODE* target, NODE* value) {
    if (target->type->is_ptr()) return target->type->type_qualified();
    return opcode_is_shift(op) ? promoted_type(target->type) : combined_type(target, value);
}

// Whether `target op= y` stores what `target = target op y` does, where the operator has type `type`. Only the low bits
// of a sum, product or bit operation reach the target, so a different width or sign does not matter there.
bool opASG_computes_alike(int op, NODE* target, NODE* y, TYPE* type) {
    TYPE* own = type_of_opASG(op, target, y);
    if (equiv_mtypes(own, type->type_qualified())) return true;
    bool low_bits = op == PLUS || op == MINUS || op == MULT || op == ANDB || op == ORB || op == XORB || op == SLL;
    return low_bits && own->is_integral() && type->is_integral() && target->type->is_integral() &&
           !target->type->is_bool() && type->size() >= target->type->size();
}

} // namespace

NODE* ASG_to_opASG(NODE* tree) {
    // x = x op y  ->  x op= y;  for a commutative operator also  x = y op x
    if (tree->op != ASG) return tree;
    NODE* value = tree->right;
    int opasg = 0;
    for (int op : {PLUSASG, MINUSASG, MULTASG, ANDBASG, ORBASG, XORBASG, DIVASG, MODASG, SLLASG, SRLASG})
        if (op_of_opASG[op] == value->op) opasg = op;
    if (opasg == 0) return tree;
    bool swapped = !trees_are_congruent(tree->left, value->left);
    if (swapped && (commute_inv[value->op] != value->op || !trees_are_congruent(tree->left, value->right))) return tree;
    if (!opASG_computes_alike(value->op, tree->left, swapped ? value->left : value->right, value->type)) return tree;
    if (swapped) std::swap(value->left, value->right);
    erase_tree(value->left);
    tree->op = opasg;
    tree->flags = static_cast<uint8_t>((tree->flags & ~NODE_NO_WRAP) | (value->flags & NODE_NO_WRAP));
    tree->right = value->right;
    erase_node(value);
    return tree;
}

namespace {

NODE* coerced(NODE* x, TYPE* type) { return compatible_types(x->type, type, false) ? x : mk_SCONV(x, type); }

} // namespace

NODE* opASG_to_ASG(NODE* tree) {
    // x op= y  ->  x = (T)(x op y)
    int op = op_of_opASG[tree->op & 255];
    if (op == ILLOP) return tree;
    NODE* target = tree->left;
    if (target->op == DDNODE || (tree_has_side_effects(target) && !target->type->is_volatile())) return tree;
    TYPE* left_type = target->type;
    bool shift = opcode_is_shift(op);
    if (!left_type->is_integral() && !left_type->is_enum() && !left_type->is_ptr()) {
        if (op == ANDB || op == ORB || op == XORB || op == MOD)
            tree->right = coerced(tree->right, promoted_type(left_type));
        else if (shift)
            tree->right = coerced(tree->right, tp->int_type());
    }
    TYPE* type = type_of_opASG(op, target, tree->right);
    NODE* value = maketree(op, copy_tree(target), tree->right, type, tree->scope);
    if (type->is_signed()) value->flags |= tree->flags & NODE_NO_WRAP;
    tree->flags = static_cast<uint8_t>(tree->flags & ~NODE_NO_WRAP);
    if (!left_type->is_ptr()) {
        value->left = coerced(value->left, type);
        if (!shift) value->right = coerced(value->right, type);
        if (!compatible_types(type, left_type->type_qualified(), false)) value = mk_SCONV(value, left_type);
    }
    tree->op = ASG;
    tree->right = value;
    return tree;
}

NODE* expunge_IDENTITY_ops_from_tree(NODE* tree) {
    return rewrite_tree(tree, [](NODE* node) {
        if (node->op != IDENTITY) return node;
        NODE* operand = node->left;
        erase_node(node);
        return operand;
    });
}

NODE* subst_sym_for_sym_in_tree(SYMTAB* from, SYMTAB* to, NODE* tree) {
    walk_tree(tree, [&](NODE* node) {
        if (node->op == NAME && node->u.sym == from) node->u.sym = to;
    });
    return tree;
}

NODE* subst_sym_pairs_in_tree(SYMPAIRLIST* pairs, NODE* tree) {
    walk_tree(tree, [&](NODE* node) {
        if (node->op != NAME) return;
        if (SYMPAIRLIST* pair = find_sym_in_sympairlist(node->u.sym, pairs)) node->u.sym = pair->second;
    });
    return tree;
}

NODE* subst_tree_for_lvalue_in_tree(const NODE* replacement, const NODE* lvalue, NODE* tree) {
    return rewrite_tree(tree, [&](NODE* node) {
        if (node->op != lvalue->op || !trees_are_congruent(node, lvalue)) return node;
        erase_tree(node);
        return copy_tree(replacement);
    });
}

LIST* promote_toplevel_COMMAOPs_in_list(LIST* list) {
    // a, b;  ->  a; b;
    for (LIST* cell = list; cell != nullptr; cell = cell->rest) {
        while (cell->first != nullptr && cell->first->op == COMMAOP) {
            NODE* comma = cell->first;
            cell->rest = mkelist(comma->right, cell->rest, cell->psn);
            cell->first = comma->left;
            erase_node(comma);
        }
    }
    return list;
}
