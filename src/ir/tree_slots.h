// Walks over the owned links of trees, for passes that replace nodes. Explicit stack: the depth of the input does not
// matter.
#ifndef IR_TREE_SLOTS_H
#define IR_TREE_SLOTS_H

#include "ir/bblk.h"
#include "ir/funinfo.h"
#include "ir/node.h"

#include <vector>

// Calls `visit(slot)` on every link of the tree that owns a node, a node before its operands, left before right. The
// visitor may replace what stands in the slot; the walk goes down into what stands there afterwards if the visitor
// returns true.
template <typename F> void walk_slots(NODE*& root, F&& visit) {
    std::vector<NODE**> stack{&root};
    while (!stack.empty()) {
        NODE** slot = stack.back();
        stack.pop_back();
        if (*slot == nullptr || !visit(*slot)) continue;
        NODE* node = *slot;
        if (node->right != nullptr && node->op != CSE_DUPE) stack.push_back(&node->right);
        if (node->left != nullptr) stack.push_back(&node->left);
    }
}

// Calls `visit(cell)` on every statement of the function's blocks, in the order of the blocks.
template <typename F> void for_each_statement(const FUNINFO* f, F&& visit) {
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
        for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) visit(cell);
}

#endif
