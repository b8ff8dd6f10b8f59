// Erasing of nodes, trees and statement lists. An erased node keeps the mark ILLOP until its memory is used again, so
// that a second erasing of it is found.
#include "ir/fps.h"
#include "ir/node.h"
#include "ir/pragma.h"
#include "ir/vars.h"

#include <cstdio>

namespace {

[[noreturn]] void double_free(const NODE* node) {
    static const char text[] = "\n\n!!! COMPILER (OPTIMIZER) ERROR IN 'erase_node' %p !!!\n\n";
    fprintf(stderr, text, static_cast<const void*>(node));
    if (fdebug != nullptr) dprintf(text, static_cast<const void*>(node));
    abort_optimizer();
}

} // namespace

void erase_node(NODE* node) {
    if (node == nullptr) return;
    if (node->op == ILLOP) double_free(node);
    switch (node->op) {
    case SCON:
    case ASM: delete[] node->text; break;
    case FCON:
        delete[] node->text;
        delete node->u.fval;
        break;
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: delete[] node->u.name; break;
    case PPRAGMA: delete node->pragma; break;
    case DDNODE:
        if (node->dd != nullptr) {
            erase_tree(node->dd->tree);
            delete node->dd;
        }
        break;
    default: break;
    }
    delete node; // leaves the mark ILLOP in the freed node
}

// Without recursion: a node with two operands waits on a stack, linked through its left field, until its left tree is
// gone.
NODE* erase_tree(NODE* tree) {
    NODE* stack = nullptr;
    while (tree != nullptr) {
        if (tree->op == ILLOP) double_free(tree);
        NODE* left = tree->left;
        NODE* right = tree->op == CSE_DUPE ? nullptr : tree->right;
        NODE* next = left != nullptr ? left : right;
        if (left != nullptr && right != nullptr) {
            // `right` waits: its parent becomes the stack cell and is erased when `right` is taken up.
            tree->left = stack;
            stack = tree;
        } else
            erase_node(tree);
        tree = next;
        if (tree == nullptr && stack != nullptr) {
            NODE* parent = stack;
            stack = parent->left;
            tree = parent->right;
            erase_node(parent);
        }
    }
    return nullptr;
}

LIST* erase_tree_list_to_entry(LIST* list, LIST* end) {
    while (list != end && list != nullptr) {
        LIST* rest = list->rest;
        erase_tree(list->first);
        delete list;
        list = rest;
    }
    return end;
}

LIST* erase_tree_list(LIST* list) { return erase_tree_list_to_entry(list, nullptr); }

LIST* erase_tree_list_only(LIST* list) {
    while (list != nullptr) {
        LIST* rest = list->rest;
        delete list;
        list = rest;
    }
    return nullptr;
}

void erase_dag(NODE*) { optassert("!\"erase_dag\"", __FILE__, __LINE__); }
