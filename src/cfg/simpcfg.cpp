// Clean-up of the control-flow graph.
//
// Each round walks the blocks once against the direction of control, so that a nest of empty conditionals collapses
// from the inside in one round: a block that became empty is known as such when its predecessors are looked at. Then
// the order is made anew, which drops what cannot be reached, and straight lines are joined. A round costs time in
// proportion to the blocks and labels; two or three rounds are what a function needs.
#include "cfg/simpcfg.h"

#include "cfg/bbutils.h"
#include "cfg/buildcfg.h"
#include "cfg/terminators.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <vector>

namespace {

class CFG_SIMPLIFIER {
  public:
    explicit CFG_SIMPLIFIER(FUNINFO* f) : f_(f) {}
    bool run();

  private:
    bool sweep();
    bool visit(BBLK* bb);
    bool thread_jumps(BBLK* bb, NODE* end);
    BBLK* final_target(BBLK* bb);
    void note_if_empty(BBLK* bb);
    bool join_straight_lines();
    bool can_join(const BBLK* bb) const;

    FUNINFO* f_;
    std::vector<BBLK*> passes_to_; // block serial: where a block that is only a BRANCH goes, else null
    std::vector<uint8_t> on_path_; // block serial: scratch of final_target
};

// The block holds nothing but its BRANCH, and that goes elsewhere.
void CFG_SIMPLIFIER::note_if_empty(BBLK* bb) {
    const NODE* first = bb->stmts->first;
    passes_to_[bb->serial] = nullptr;
    if (first->op == BRANCH && first->left->lbl->bb != bb) passes_to_[bb->serial] = first->left->lbl->bb;
}

// Where a jump to the block ends up. A ring of empty blocks keeps one of them, which ends in itself.
BBLK* CFG_SIMPLIFIER::final_target(BBLK* bb) {
    std::vector<BBLK*> path;
    while (passes_to_[bb->serial] != nullptr && !on_path_[bb->serial]) {
        on_path_[bb->serial] = 1;
        path.push_back(bb);
        bb = passes_to_[bb->serial];
    }
    if (on_path_[bb->serial]) passes_to_[bb->serial] = nullptr;
    for (BBLK* passed : path) {
        on_path_[passed->serial] = 0;
        if (passed != bb) passes_to_[passed->serial] = bb;
    }
    return bb;
}

bool CFG_SIMPLIFIER::thread_jumps(BBLK* bb, NODE* end) {
    bool changed = false;
    for_each_target(end, [&](NODE* label) {
        BBLK* near = label->lbl->bb;
        if (passes_to_[near->serial] == nullptr) return;
        BBLK* far = final_target(near);
        if (far == near) return;
        set_label_target(label, far);
        changed = true;
    });
    return changed;
}

bool CFG_SIMPLIFIER::visit(BBLK* bb) {
    LIST** link = &bb->stmts;
    while ((*link)->rest != nullptr) link = &(*link)->rest;
    bool changed = thread_jumps(bb, (*link)->first);
    changed |= fold_terminator(link);
    if (!changed) return false;
    update_succs(bb);
    note_if_empty(bb);
    return true;
}

bool CFG_SIMPLIFIER::sweep() {
    passes_to_.assign(f_->blocks.size(), nullptr);
    on_path_.assign(f_->blocks.size(), 0);
    for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink) note_if_empty(bb);
    bool changed = false;
    for (BBLK *bb = f_->bb_list->rdflink, *previous; bb != nullptr; bb = previous) {
        previous = bb == f_->bb_list ? nullptr : bb->rdflink;
        changed |= visit(bb);
    }
    return changed;
}

bool CFG_SIMPLIFIER::can_join(const BBLK* bb) const {
    if (bb->succs == nullptr || bb->succs->next != nullptr) return false;
    const BBLK* next = bb->succs->bb;
    return next != bb && next != f_->exit_block && next != f_->bb_list && next->preds != nullptr &&
           next->preds->next == nullptr;
}

// Takes over the statements and successors of a chain of blocks that only follow one another. The joined blocks are
// left empty for rebuildcfg; `preds` is not kept up, as joining leaves every block's count of predecessors as it is.
bool CFG_SIMPLIFIER::join_straight_lines() {
    bool changed = false;
    for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink) {
        if (bb->stmts == nullptr || !can_join(bb)) continue;
        LIST** link = &bb->stmts;
        do {
            while ((*link)->rest != nullptr) link = &(*link)->rest;
            if ((*link)->first->op != BRANCH) break; // a control statement that its folding left as it is
            BBLK* next = bb->succs->bb;
            erase_tree_list(*link);
            *link = next->stmts;
            next->stmts = nullptr;
            erase_edge_list(bb->succs);
            bb->succs = next->succs;
            next->succs = nullptr;
            if (bb->first_psn == nullptr) bb->first_psn = next->first_psn;
            if (next->last_psn != nullptr) bb->last_psn = next->last_psn;
            if (next->ext != nullptr) bb->extra().exit_count = next->ext->exit_count;
            changed = true;
        } while (can_join(bb));
    }
    return changed;
}

bool CFG_SIMPLIFIER::run() {
    rebuildcfg();
    bool any = false;
    for (;;) {
        bool changed = sweep();
        if (changed) rebuildcfg();
        bool joined = join_straight_lines();
        if (joined) rebuildcfg();
        any |= changed || joined;
        if (!changed && !joined) return any;
    }
}

} // namespace

bool simpcfg(bool before_writing, bool) {
    FUNINFO* f = currfuninfo;
    if (f->bb_list == nullptr) return false;
    bool changed = CFG_SIMPLIFIER(f).run();
    BBLK* exit = f->exit_block;
    if (before_writing && exit != nullptr && exit->preds == nullptr && exit != f->bb_list) {
        delink_old_bb(exit);
        changed = true;
    }
    renumber_bblocks();
    return changed;
}

void optimize_SWITCH_cases() {
    FUNINFO* f = currfuninfo;
    if (f->bb_list == nullptr) return;
    bool changed = false;
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink) {
        LIST** link = &bb->stmts;
        while ((*link)->rest != nullptr) link = &(*link)->rest;
        if ((*link)->first->op != SWITCH) continue;
        bool here = drop_default_cases((*link)->first);
        here |= fold_terminator(link);
        if ((*link)->first->op == SWITCH) here |= single_case_to_IF(*link);
        if (here) update_succs(bb);
        changed |= here;
    }
    if (changed) rebuildcfg();
}
