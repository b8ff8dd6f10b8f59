// Copying of loop tests and of short returns, around the placing of blocks.
//
// Why:    a loop that tests at its top pays for a jump back in every round; with the test at its bottom, and a copy of
// it
//         in front, a round costs the test alone and an entry costs no jump.
// Needs:  exact edges; labels numbered by renumber_bblocks().
// Keeps:  edges, bb_count, the numbers of labels in use; dfn is the place in the layout.
// Breaks: reverse postorder. Loop pragmas in front of a copied test move behind it, to stay right in front of the loop.
// Skips:  tests that are long or call a builtin with effects; loops whose ways back are conditional already; copies at
//         all when size is what counts.
// Cost:   a snapshot of the flow (see cfg/flow) for each placing; copies are bounded by the number of loops and jumps.
#include "cfg/layout.h"

#include "cfg/bbutils.h"
#include "cfg/buildcfg.h"
#include "cfg/chains.h"
#include "cfg/flow.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>
#include <vector>

namespace {

constexpr int largest_copied_test = 24;  // nodes; what a copy of a loop's test may cost in size
constexpr int least_goal_for_copies = 2; // below that, size comes first
constexpr int largest_copied_return = 8; // nodes; about the size of the jump and what it saves

// -------------------------------------------------------------------------------------------------------- loop tests

class TEST_COPIER {
  public:
    void run();

  private:
    void copy_test(BBLK* head, const std::vector<BBLK*>& outside, BBLK* body);

    FUNINFO* f_ = currfuninfo;
};

bool may_be_copied(int op) {
    if (op == IF || op == NASSERT) return true;
    return op <= LAST_FILE_OPCODE && op != MCALL && op != UMCALL && op != DDNODE && op != RETURN && op != SWITCH &&
           op != PCOMMA;
}

// Whether the statements are few and plain enough to stand twice.
bool is_small_test(const BBLK* head) {
    int nodes = 0;
    std::vector<const NODE*> work;
    for (LIST* cell = head->stmts; cell != nullptr; cell = cell->rest) {
        work.push_back(cell->first);
        while (!work.empty()) {
            const NODE* node = work.back();
            work.pop_back();
            if (++nodes > largest_copied_test || !may_be_copied(node->op)) return false;
            if (node->left != nullptr) work.push_back(node->left);
            if (node->right != nullptr) work.push_back(node->right);
        }
    }
    return true;
}

// The pragmas at the end of the block, right in front of its BRANCH, taken out of it.
LIST* take_trailing_pragmas(BBLK* bb) {
    LIST** first = nullptr; // link of the first of the run
    LIST** link = &bb->stmts;
    for (; (*link)->rest != nullptr; link = &(*link)->rest)
        if ((*link)->first->op != PPRAGMA)
            first = nullptr;
        else if (first == nullptr)
            first = link;
    if (first == nullptr) return nullptr;
    LIST* run = *first;
    LIST* jump = *link;
    *link = nullptr;
    *first = jump;
    return run;
}

//     P: pragma; goto H                 P: if (c) goto PH else goto X
//     H: if (c) goto B else goto X  ->  PH: pragma; goto B
//     B: ...; goto H                    B: ...
//                                       H: if (c) goto B else goto X
// With several ways into the loop the copy is a block of its own, to which all of them lead.
void TEST_COPIER::copy_test(BBLK* head, const std::vector<BBLK*>& outside, BBLK* body) {
    BBLK* guard = outside.front();
    LIST* pragmas = nullptr;
    if (outside.size() == 1 && terminator_of(guard)->op == BRANCH) {
        pragmas = take_trailing_pragmas(guard);
        LIST** link = &guard->stmts;
        while ((*link)->rest != nullptr) link = &(*link)->rest;
        erase_tree_list(*link);
        *link = copy_statements(head->stmts);
        guard->succs = erase_edge_list(guard->succs);
    } else {
        guard = insert_new_bb(head->dfn, head->rdflink, copy_statements(head->stmts));
        for (BBLK* from : outside) {
            subst_bb_for_bb_in_stmts(guard, head, from->stmts);
            for (EDGE* edge = from->succs; edge != nullptr; edge = edge->next)
                if (edge->bb == head) edge->bb = guard;
        }
    }
    for (EDGE* edge = head->succs; edge != nullptr; edge = edge->next) {
        guard->succs = mkedge(edge->bb, guard->succs);
        guard->succs->probability = edge->probability;
    }
    if (pragmas == nullptr) return;
    NODE* test = terminator_of(guard);
    BBLK* front = insert_new_bb(body->dfn, guard, nullptr);
    LIST* jump = mkelist(mk_BRANCH(body, test->scope), nullptr, nullptr);
    LIST* last = pragmas;
    while (last->rest != nullptr) last = last->rest;
    last->rest = jump;
    front->stmts = pragmas;
    front->succs = mkedge(body, nullptr);
    for (EDGE* edge = guard->succs; edge != nullptr; edge = edge->next)
        if (edge->bb == body) edge->bb = front;
    remap_labelrefs(test->right, body, front);
}

void TEST_COPIER::run() {
    FLOW flow = FLOW::of_current_function();
    bool changed = false;
    for (int h = flow.size() - 1; h > 0; h--) { // the first block has a way in that nothing can redirect
        BBLK* head = flow.order[h];
        NODE* test = flow.is_header(h) ? terminator_of(head) : nullptr;
        if (test == nullptr || test->op != IF) continue;
        BBLK *yes = if_true_bb(test), *no = if_false_bb(test);
        // A block made by an earlier copy has no position; it leads into an inner loop.
        auto inside = [&](const BBLK* bb) {
            int b = bb->serial < flow.position.size() ? flow.at(bb) : -1;
            return b >= 0 && flow.loop_contains(h, b);
        };
        if (inside(yes) == inside(no) || yes == head || no == head || !is_small_test(head)) continue;
        std::vector<BBLK*> outside;
        bool jumps_back = false;
        for (EDGE* edge = head->preds; edge != nullptr; edge = edge->next)
            if (flow.loop_contains(h, flow.at(edge->bb)))
                jumps_back |= terminator_of(edge->bb)->op == BRANCH;
            else
                outside.push_back(edge->bb);
        if (outside.empty() || !jumps_back) continue;
        std::sort(outside.begin(), outside.end(), [](const BBLK* a, const BBLK* b) { return a->serial < b->serial; });
        copy_test(head, outside, inside(yes) ? yes : no);
        changed = true;
    }
    if (!changed) return;
    rebuildcfg_keeping_labels();
    number_new_labels();
}

// ---------------------------------------------------------------------------------------------------- short returns

// A jump to a block that only returns a simple value, and that does not follow, becomes the RETURN itself.
bool copy_short_returns() {
    FUNINFO* f = currfuninfo;
    bool changed = false;
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink) {
        NODE* first = bb->stmts->first;
        if (first->op != RETURN || bb == f->bb_list) continue;
        if (count_nodes_in_tree(first, largest_copied_return + 1) > largest_copied_return) continue;
        if (tree_has_side_effects(first->right)) continue;
        for (EDGE* edge = bb->preds; edge != nullptr; edge = edge->next) {
            BBLK* from = edge->bb;
            LIST* last = last_stmt_cell(from);
            if (from->dflink == bb || last->first->op != BRANCH) continue;
            erase_tree(last->first);
            last->first = copy_tree(first);
            last->psn = bb->stmts->psn;
            from->succs = erase_edge_list(from->succs);
            changed = true;
        }
    }
    return changed;
}

// ------------------------------------------------------------------------------------------------------------- tests

// An IF neither of whose targets follows costs one jump more on its false way: the likelier way becomes the true one.
void turn_lone_tests() {
    FLOW flow = FLOW::of_current_function();
    for (int b = 0; b < flow.size(); b++) {
        NODE* jump = flow.end[b];
        if (jump->op != IF || flow.false_probability(b) <= 0.5) continue;
        const BBLK* behind = flow.order[b]->dflink;
        NODE* cond = jump->left;
        if (if_true_bb(jump) == behind || if_false_bb(jump) == behind || boolean_inv[cond->op] == ILLOP) continue;
        if (!tree_is_trivially_invertible(cond)) continue;
        cond->op = boolean_inv[cond->op];
        std::swap(jump->right->left, jump->right->right);
    }
}

} // namespace

void rotate_loops() {
    if (currfuninfo->bb_list == nullptr) return;
    if (size_speed_goal() >= least_goal_for_copies) TEST_COPIER().run();
    order_blocks_in_chains();
}

void straighten_traces_in_cfg() {
    if (currfuninfo->bb_list == nullptr) return;
    order_blocks_in_chains();
    if (size_speed_goal() >= least_goal_for_copies && copy_short_returns()) {
        rebuildcfg_keeping_labels(); // a RETURN that all jumps were copies of is gone
        order_blocks_in_chains();
    }
    turn_lone_tests();
}
