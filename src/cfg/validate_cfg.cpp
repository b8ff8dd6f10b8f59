// The checks of blocks, edges and labels.
#include "cfg/bbutils.h"
#include "cfg/validate.h"
#include "cfg/validate_int.h"
#include "ir/vars.h"

#include <algorithm>

namespace {

class CFG_CHECKER {
  public:
    std::vector<std::string> run();

  private:
    bool check_chains();
    void check_exit_block();
    void check_terminator(BBLK* bb);
    void check_labels(BBLK* bb);
    void check_succs(BBLK* bb);
    void check_preds();
    bool is_shaped(const NODE* end);
    bool owns(const BBLK* bb) const { return bb->serial < in_chain_.size() && in_chain_[bb->serial]; }

    FUNINFO* f_ = currfuninfo;
    FAULT_LIST faults_;
    std::vector<uint8_t> in_chain_;  // block serial: on the dflink chain
    std::vector<const BBLK*> stamp_; // block serial: the block that saw it last as a target
};

std::string name_of(const BBLK* bb) { return bb == nullptr ? "none" : "BB#" + std::to_string(bb->serial); }

// The chains as such. False if they are so broken that nothing further can be looked at.
bool CFG_CHECKER::check_chains() {
    size_t limit = f_->blocks.size();
    in_chain_.assign(limit, 0);
    size_t n = 0;
    BBLK* last = nullptr;
    for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink) {
        faults_.at(bb, nullptr);
        if (bb->serial >= limit || f_->blocks[bb->serial] != bb) {
            faults_.add(nullptr, "is not registered with its function");
            return false;
        }
        if (in_chain_[bb->serial]) {
            faults_.add(nullptr, "dflink leads back to it");
            return false;
        }
        in_chain_[bb->serial] = 1;
        if (bb->owner != f_) faults_.add(nullptr, "belongs to another function");
        if (bb->dfn != static_cast<int32_t>(++n)) faults_.add(nullptr, "dfn is not its place along dflink");
        if (last != nullptr && bb->rdflink != last)
            faults_.add(nullptr, "rdflink is " + name_of(bb->rdflink) + ", not " + name_of(last));
        last = bb;
    }
    faults_.at(f_->bb_list, nullptr);
    if (f_->bb_list->rdflink != last) faults_.add(nullptr, "rdflink of the first block is not the last block");
    if (f_->bb_count != n)
        faults_.add(nullptr, "bb_count is " + std::to_string(f_->bb_count) + " for " + std::to_string(n) + " blocks");
    size_t created = 0, shared = 0;
    for (BBLK* bb = f_->uo_list; bb != nullptr && created <= limit; bb = bb->uolink, created++) shared += owns(bb);
    faults_.at(nullptr, nullptr);
    if (created > limit) faults_.add(nullptr, "uolink is a ring");
    if (shared != n) faults_.add(nullptr, "uolink does not hold every block");
    if (created != shared) faults_.add(nullptr, "uolink holds a block that dflink does not");
    size_t registered = static_cast<size_t>(
        std::count_if(f_->blocks.begin(), f_->blocks.end(), [](const BBLK* bb) { return bb != nullptr; }));
    if (registered != n) faults_.add(nullptr, "a registered block is in no chain");
    return true;
}

void CFG_CHECKER::check_exit_block() {
    BBLK* exit = f_->exit_block;
    if (exit == nullptr) return; // gone before writing, when nothing reached it
    faults_.at(exit, nullptr);
    if (!owns(exit)) {
        faults_.add(nullptr, "the exit block is not in the chain");
        return;
    }
    const LIST* only = exit->stmts;
    if (only == nullptr || only->rest != nullptr || only->first->op != URETURN || only->first->left == nullptr ||
        only->first->left->op != NAME || only->first->left->u.sym != currfunc)
        faults_.add(nullptr, "the exit block is not a single URETURN of the function");
    if (exit->labels == nullptr || exit->labels->next != nullptr)
        faults_.add(nullptr, "the exit block has not exactly one label");
}

// Whether the statement has the shape that the walks over targets rely on.
bool CFG_CHECKER::is_shaped(const NODE* end) {
    auto is_label = [](const NODE* node) { return node != nullptr && node->op == LABEL; };
    if (end->op == BRANCH) return is_label(end->left);
    if (end->op == IF)
        return end->left != nullptr && end->right != nullptr && end->right->op == COMMA && is_label(end->right->left) &&
               is_label(end->right->right);
    if (end->op != SWITCH) return true;
    const NODE* list = end->right;
    if (list == nullptr || list->op != COMMA || list->right == nullptr || list->right->op != DEFAULT ||
        !is_label(list->right->left))
        return false;
    for (list = list->left; list != nullptr; list = list->left) {
        const NODE* entry = list->op == COMMA ? list->right : list;
        if (entry == nullptr || entry->op != CASE || entry->left == nullptr || !is_label(entry->right)) return false;
        if (list->op != COMMA) return true;
    }
    return false;
}

void CFG_CHECKER::check_terminator(BBLK* bb) {
    if (bb->stmts == nullptr) {
        faults_.add(nullptr, "is empty");
        return;
    }
    for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest) {
        int op = cell->first->op;
        if (op == LABELDEF || op == CBRANCH || op == LOOP || op == ENDLOOP)
            faults_.add(cell->first, "does not belong into a block");
        else if (opcode_ends_block(op) != (cell->rest == nullptr))
            faults_.add(cell->first, cell->rest == nullptr ? "the block does not end in a control statement"
                                                           : "a control statement that is not the last");
    }
    const NODE* end = terminator_of(bb);
    if (!is_shaped(end)) faults_.add(end, "malformed control statement");
    if (end->op == URETURN && bb != f_->exit_block) faults_.add(end, "stands outside the exit block");
}

void CFG_CHECKER::check_labels(BBLK* bb) {
    for (LBL* label = bb->labels; label != nullptr; label = label->next)
        if (label->bb != bb)
            faults_.add(nullptr, "label " + std::to_string(label->index) + " belongs to another block");
}

// Targets of the terminator against `succs`, both ways.
void CFG_CHECKER::check_succs(BBLK* bb) {
    NODE* end = terminator_of(bb);
    if (end == nullptr || !is_shaped(end)) return;
    size_t targets = 0;
    for_each_target(end, [&](NODE* ref) {
        if (ref->lbl == nullptr || ref->lbl->bb == nullptr || !owns(ref->lbl->bb)) {
            faults_.add(ref, "is not bound to a block of the function");
            return;
        }
        BBLK* far = ref->lbl->bb;
        const LBL* label = far->labels;
        while (label != nullptr && label != ref->lbl) label = label->next;
        if (label == nullptr) {
            faults_.add(ref, "refers to a label that " + name_of(far) + " does not have");
            return;
        }
        if (!(ref->u.lval == INT65(label->index)))
            faults_.add(ref, "has a number other than its label's, " + std::to_string(label->index));
        if (stamp_[far->serial] == bb) return;
        stamp_[far->serial] = bb;
        targets++;
    });
    size_t edges = 0;
    for (EDGE* edge = bb->succs; edge != nullptr; edge = edge->next) {
        if (!owns(edge->bb)) {
            faults_.add(nullptr, "has an edge to a block that is not in the chain");
            return;
        }
        if (stamp_[edge->bb->serial] != bb) {
            faults_.add(end, "no target, or a second edge, for the edge to " + name_of(edge->bb));
            continue;
        }
        stamp_[edge->bb->serial] = nullptr; // met once
        edges++;
    }
    if (edges < targets) faults_.add(end, "a target has no edge");
}

// Every block counts its predecessors; each of them must have it as a successor, once.
void CFG_CHECKER::check_preds() {
    std::fill(stamp_.begin(), stamp_.end(), nullptr);
    std::vector<std::vector<const BBLK*>> expected(f_->blocks.size());
    for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink)
        for (EDGE* edge = bb->succs; edge != nullptr; edge = edge->next)
            if (owns(edge->bb)) expected[edge->bb->serial].push_back(bb);
    for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink) {
        faults_.at(bb, nullptr);
        for (const BBLK* from : expected[bb->serial]) stamp_[from->serial] = bb;
        size_t n = 0;
        for (EDGE* edge = bb->preds; edge != nullptr; edge = edge->next) {
            if (!owns(edge->bb))
                faults_.add(nullptr, "has a predecessor that is not in the chain");
            else if (stamp_[edge->bb->serial] != bb)
                faults_.add(nullptr, "no edge, or a second cell, for its predecessor " + name_of(edge->bb));
            else {
                stamp_[edge->bb->serial] = nullptr;
                n++;
            }
        }
        if (n != expected[bb->serial].size()) faults_.add(nullptr, "a predecessor is missing");
    }
}

std::vector<std::string> CFG_CHECKER::run() {
    if (!check_chains()) return faults_.take();
    check_exit_block();
    stamp_.assign(f_->blocks.size(), nullptr);
    for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink) {
        faults_.at(bb, nullptr);
        check_terminator(bb);
        check_labels(bb);
    }
    for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink) {
        faults_.at(bb, nullptr);
        check_succs(bb);
    }
    check_preds();
    // Distinct labels with one number would be one label in the file.
    std::vector<const LBL*> labels;
    for (BBLK* bb = f_->bb_list; bb != nullptr; bb = bb->dflink)
        for (LBL* label = bb->labels; label != nullptr; label = label->next) labels.push_back(label);
    std::sort(labels.begin(), labels.end(), [](const LBL* a, const LBL* b) {
        return a->index != b->index ? a->index < b->index : a->bb->serial < b->bb->serial;
    });
    for (size_t i = 1; i < labels.size(); i++)
        if (labels[i]->index == labels[i - 1]->index) {
            faults_.at(labels[i]->bb, nullptr);
            faults_.add(nullptr, "label number " + std::to_string(labels[i]->index) + " is used twice");
        }
    return faults_.take();
}

} // namespace

std::vector<std::string> cfg_faults() { return CFG_CHECKER().run(); }

std::vector<std::string> label_count_faults() {
    FAULT_LIST faults;
    std::vector<std::pair<LBL*, uint32_t>> held;
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink)
        for (LBL* label = bb->labels; label != nullptr; label = label->next) held.push_back({label, label->refcount});
    recompute_label_refcounts();
    for (auto [label, count] : held) {
        faults.at(label->bb, nullptr);
        if (label->refcount != count)
            faults.add(nullptr, "label " + std::to_string(label->index) + " counts " + std::to_string(count) +
                                    " references, there are " + std::to_string(label->refcount));
        label->refcount = count;
    }
    return faults.take();
}
