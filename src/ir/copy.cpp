// Copying of nodes, trees and statement lists.
#include "ir/fps.h"
#include "ir/node.h"
#include "ir/pragma.h"

#include <cstring>
#include <vector>

namespace {

char* copy_text(const char* from, size_t size) {
    if (from == nullptr) return nullptr;
    return static_cast<char*>(memcpy(new char[size], from, size));
}

// Copies a tree without recursion along its right links and along the left links of `,` chains, which may be long.
NODE* copy(const NODE* tree, bool keep_scope, NODE* (*copy_one)(const NODE*, bool)) {
    if (tree == nullptr) return nullptr;
    NODE* root = copy_one(tree, keep_scope);
    std::vector<NODE*> work{root}; // copies whose operands are still the original's
    while (!work.empty()) {
        NODE* node = work.back();
        work.pop_back();
        for (NODE** operand : {&node->left, &node->right}) {
            if (*operand == nullptr) continue;
            if (operand == &node->right && node->op == CSE_DUPE) continue; // shared, not owned
            *operand = copy_one(*operand, keep_scope);
            work.push_back(*operand);
        }
    }
    return root;
}

LIST* copy_list(const LIST* list, bool keep_scope, NODE* (*copy_one)(const NODE*, bool)) {
    LIST* head = nullptr;
    LIST** end = &head;
    for (; list != nullptr; list = list->rest) {
        *end = mkelist(copy_one != nullptr ? copy(list->first, keep_scope, copy_one) : list->first, nullptr, list->psn);
        (*end)->mark[0] = list->mark[0];
        (*end)->mark[1] = list->mark[1];
        end = &(*end)->rest;
    }
    return head;
}

} // namespace

NODE* copy_node(const NODE* from, bool keep_scope) {
    NODE* node = new NODE(from->op, from->type);
    node->orig_type = from->orig_type;
    node->edge_profile_value = from->edge_profile_value;
    node->left = from->left;
    node->right = from->right;
    node->u = from->u;
    node->p = from->p;
    if (keep_scope) node->scope = from->scope;
    node->mark[1] = from->mark[1];
    node->mark[2] = from->mark[2];
    node->flags = from->flags & (1 | NODE_NO_WRAP);
    node->hint = from->hint;
    switch (from->op) {
    case SCON: node->text = copy_text(from->text, from->u.lval.low + size_t{1}); break;
    case FCON:
        node->u.fval = new simul_fval(*from->u.fval);
        node->text = nullptr;
        break;
    case ASM: node->text = copy_text(from->text, strlen(from->text) + 1); break;
    case PPRAGMA: node->pragma = from->pragma != nullptr ? copy_pragma(from->pragma) : nullptr; break;
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: node->u.name = copy_text(from->u.name, strlen(from->u.name) + 1); break;
    case DDNODE: node->dd = nullptr; break;
    default: break;
    }
    if (from->ext != nullptr) {
        NODE_EXT& ext = node->extra();
        ext = *from->ext;
        ext.scratch[0] = ext.scratch[1] = nullptr;
        ext.ptenv = nullptr;
    }
    return node;
}

NODE* copy_dd_node(const NODE* from, bool keep_scope) {
    NODE* node = copy_node(from, keep_scope);
    if (from->op == DDNODE && from->dd != nullptr) {
        node->dd = new DDREC(*from->dd);
        node->dd->next = nullptr;
        node->dd->owner = node;
        node->dd->tree = copy_dd_tree(from->dd->tree, keep_scope);
    }
    return node;
}

NODE* copy_tree(const NODE* tree, bool keep_scope) {
    auto one = [](const NODE* from, bool keep) {
        return from->op == DDNODE ? copy_dd_node(from, keep) : copy_node(from, keep);
    };
    return copy(tree, keep_scope, one);
}
NODE* copy_dd_tree(const NODE* tree, bool keep_scope) { return copy(tree, keep_scope, copy_dd_node); }
LIST* copy_statements(const LIST* list, bool keep_scope) { return copy_list(list, keep_scope, copy_dd_node); }
LIST* copy_dd_statements(const LIST* list, bool keep_scope) { return copy_list(list, keep_scope, copy_dd_node); }
LIST* copy_shared_statements(const LIST* list) { return copy_list(list, true, nullptr); }

NODE* copy_node_if_changed(NODE* node, NODE* left, NODE* right) {
    if (node->left == left && node->right == right) return node;
    NODE* changed = copy_node(node);
    changed->left = left;
    changed->right = right;
    return changed;
}
