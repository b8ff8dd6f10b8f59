// Constructors of trees and queries on trees that every pass uses.
//
// A constructor takes ownership of the operands that it is given; a query changes nothing. Lists of arguments are
// left-leaning COMMA chains in source order.
#ifndef IR_OPT_EXPR_H
#define IR_OPT_EXPR_H

#include "ir/node.h"
#include "ir/symbol.h"

#include <vector>

// ---- constructors (node and expression trees)
NODE* mk_ASG(NODE* lhs, NODE* rhs); // ASG, ARASG (array, no vector) or STASG (class, struct, union)
NODE* mk_COMMAOP(NODE* a, NODE* b); // `b` alone if `a` is null
NODE* mk_MINUS(NODE* a, NODE* b);   // `a` if `b` is null, UMINUS if `a` is null
NODE* mk_EXCLAIM(NODE* x);
NODE* mk_ICON(INT65 value, TYPE* type);          // truncated to the type; a pointer type stands for its integer
NODE* mk_NAME(SYMTAB* sym, LS* scope = nullptr); // scope from the symbol unless given
NODE* mk_ICALL(const char* name, NODE* args, TYPE* type); // UICALL without arguments
NODE* mk_MCALL(const char* name, NODE* args, TYPE* type); // UMCALL without arguments
NODE* mk_LABELDEF(LBL* label);
NODE* mk_LABELREF(INT65 number, uint32_t edge_profile_value = UINT32_MAX);
NODE* mk_LABELREF_to_lbl(LBL* label, LS* scope);
NODE* mk_SCONV(NODE* x, TYPE* type); // the conversion as it stands; no simplification
NODE* mk_PCONV(NODE* x, TYPE* type);
NODE* mk_UAND(NODE* lvalue, TYPE* pointer_type);
NODE* mk_UMULT(NODE* pointer, TYPE* type);
NODE* mk_IF(NODE* cond, INT65 true_label, uint32_t true_profile, INT65 false_label, uint32_t false_profile, LS* scope);
NODE* mk_ASM(int kind, const char* text, LS* scope); // kind 36 assembly, 47 comment
NODE* mkpredicate(SYMTAB* sym);                      // sym != 0

// ---- argument lists and calls
int arg_list_count(const NODE* args);     // 0 for null
NODE* arg_list_lookup(NODE* args, int n); // the n-th argument from 0, or null
NODE* get_callee_for_call(NODE* call);    // the NAME of a direct call, else the callee expression
NODE* get_arguments_to_call(NODE* call);  // null for a UCALL
// The operands of a COMMA chain in source order; one entry for any other tree. Never recurses.
std::vector<NODE*> comma_list(NODE* chain);
// Calls `visit` on every LABEL of a control statement (BRANCH, IF, CBRANCH, SWITCH), in order; conditions are not
// walked.
template <typename F> void for_each_label_ref(NODE* terminator, F&& visit);

// ---- queries
bool trees_are_congruent(const NODE* a, const NODE* b, bool se_ok = false); // both compute the same value
bool trees_are_congruent_se_ok(const NODE* a, const NODE* b);
bool tree_lists_are_congruent(const LIST* a, const LIST* b);
bool bools_are_congruent(const NODE* a, const NODE* b, bool inverted, bool se_ok);
bool tree_is_trivially_invertible(const NODE*);
bool tree_has_side_effects(const NODE*);
bool expr_is_constant(const NODE*);
bool expr_is_globally_evaluable(const NODE*);
bool tree_is_ASM_comment(const NODE*);
bool tree_is_arg_prolog(const NODE*);          // assignments of parameters to their local copies
bool tree_is_extended_arg_prolog(const NODE*); // the same, joined by COMMAOPs too
bool stmt_is_arg_prolog(const LIST*);
bool is_comma_chain_op(int op); // COMMA, PCOMMA
int count_lvalues_in_tree(const NODE*);
int count_calls_in_tree(const NODE*);
bool sym_appears_in_tree(const SYMTAB*, const NODE*);
bool sym_appears_in_list(const SYMTAB*, const LIST*);
bool sym_appears_in_bb(const SYMTAB*, const BBLK*);
bool tree_references_NAME(const NODE*);
bool tree_is_subtree_of_tree(const NODE* part, const NODE* whole);
bool tree_is_strict_subtree_of_tree(const NODE* part, const NODE* whole);
bool tree_modifies_lvalue_in_tree(const NODE* tree, const NODE* lvalue);
bool bb_modifies_lvalue_in_tree(const BBLK*, const NODE* lvalue);
INT65 total_pointer_offset_value(const NODE* pointer);
INT65 byte_offset_on_indirection(const NODE* tree);
bool pointer_is_an_adcon(const NODE*);
bool pointer_contains_adcon_term(const NODE*);
bool is_manifest_constant(const NODE*);    // ICON, FCON, SCON, and SCONV or PCONV of one
bool is_initialiser_constant(const NODE*); // what a linker can fill in: constants, addresses of globals + offset
bool is_link_time_constant(const NODE*);   // the same, and every address is one that code can use as a value

// ---- rewrites; each gives the tree to use from now on
NODE* ASG_to_opASG(NODE*); // x = x op y  ->  x op= y
NODE* opASG_to_ASG(NODE*); // x op= y     ->  x = x op y
NODE* expunge_IDENTITY_ops_from_tree(NODE*);
NODE* subst_sym_for_sym_in_tree(SYMTAB* from, SYMTAB* to, NODE*);
NODE* subst_sym_pairs_in_tree(SYMPAIRLIST*, NODE*);
NODE* subst_tree_for_lvalue_in_tree(const NODE* replacement, const NODE* lvalue, NODE*);
SYMTAB* map_sym_to_parm(const SYMTAB* local); // by name, among the symbols of the current function; null if none
SYMTAB* map_parm_to_sym(const SYMTAB* parameter);
bool tree_addresses_an_argument(const NODE*);
bool lvalue_is_a_ref_parm(const NODE*);
LIST* promote_toplevel_COMMAOPs_in_list(LIST*); // splits COMMAOP statements
void set_scope_of_tree(NODE*, LS*);

// Calls `visit` on every node of the tree, operands before their node, left before right, without recursion. The
// visitor may change a node's fields but not its links.
template <typename F> void walk_tree(NODE* tree, F&& visit) {
    if (tree == nullptr) return;
    if (tree->left == nullptr && tree->right == nullptr) {
        visit(tree);
        return;
    }
    std::vector<NODE*> order; // nodes in the order node, right, left: the reverse of the walk
    std::vector<NODE*> stack{tree};
    while (!stack.empty()) {
        NODE* node = stack.back();
        stack.pop_back();
        order.push_back(node);
        if (node->left != nullptr) stack.push_back(node->left);
        if (node->right != nullptr && node->op != CSE_DUPE) stack.push_back(node->right);
    }
    for (size_t i = order.size(); i-- != 0;) visit(order[i]);
}

// The same in the order node, left, right; the visitor returns whether the node's operands are walked, too.
template <typename F> void walk_tree_top_down(NODE* tree, F&& visit) {
    if (tree == nullptr) return;
    std::vector<NODE*> stack{tree};
    while (!stack.empty()) {
        NODE* node = stack.back();
        stack.pop_back();
        if (!visit(node)) continue;
        if (node->right != nullptr && node->op != CSE_DUPE) stack.push_back(node->right);
        if (node->left != nullptr) stack.push_back(node->left);
    }
}

template <typename F> void for_each_label_ref(NODE* terminator, F&& visit) {
    NODE* labels = nullptr;
    switch (terminator->op) {
    case BRANCH: labels = terminator->left; break;
    case IF:
    case CBRANCH:
    case SWITCH: labels = terminator->right; break;
    default: return;
    }
    walk_tree_top_down(labels, [&](NODE* node) {
        if (node->op == LABEL) visit(node);
        return node->op != LABEL && node->op != ICON;
    });
}

// Rebuilds a tree from below: `change` gets each node when its operands are done, and gives the node that replaces it.
template <typename F> NODE* rewrite_tree(NODE* tree, F&& change) {
    // The root hangs below a holder, so that it has a link like any other node.
    NODE holder(NOP, nullptr);
    holder.left = tree;
    struct VISIT {
        NODE** link;
        bool operands_done;
    };
    std::vector<VISIT> stack{{&holder.left, false}};
    while (!stack.empty()) {
        auto [link, done] = stack.back();
        NODE* node = *link;
        if (done) {
            stack.pop_back();
            *link = change(node);
            continue;
        }
        stack.back().operands_done = true;
        if (node->right != nullptr && node->op != CSE_DUPE) stack.push_back({&node->right, false});
        if (node->left != nullptr) stack.push_back({&node->left, false});
    }
    NODE* result = holder.left;
    holder.left = nullptr;
    return result;
}

#endif
