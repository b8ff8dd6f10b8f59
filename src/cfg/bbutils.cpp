#include "cfg/bbutils.h"

#include "cfg/dominator.h"
#include "ir/bitvec.h"
#include "ir/ls.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>
#include <cstdio>
#include <vector>

void graph_changed() {
    if (currfuninfo != nullptr) mark_dominator_stale(currfuninfo);
}

LS* outer_block_scope() {
    LS* scope = currfuninfo->scopes;
    while (scope != nullptr && scope->level < 2) scope = scope->child;
    return scope;
}

// ------------------------------------------------------------------------------------------------------------ blocks

BBLK* mkbblock(LIST* stmts, BBLK* next, FUNINFO* f) {
    BBLK* bb = new BBLK(static_cast<uint32_t>(f->blocks.size()), f);
    f->blocks.push_back(bb);
    bb->dflink = bb->uolink = next;
    bb->stmts = stmts;
    for (LIST* cell = stmts; cell != nullptr; cell = cell->rest) {
        if (cell->psn == nullptr) continue;
        if (bb->first_psn == nullptr) bb->first_psn = cell->psn;
        bb->last_psn = cell->psn;
    }
    if (stmts != nullptr) mark_dominator_stale(f);
    return bb;
}

BBLK* insert_new_bb(int dfn, BBLK* after, LIST* stmts) {
    BBLK* bb = mkbblock(stmts, nullptr, currfuninfo);
    bb->dfn = dfn;
    bb->uon = -1;
    bb->dflink = after->dflink;
    bb->uolink = after->uolink;
    bb->rdflink = after;
    after->dflink = after->uolink = bb;
    if (bb->dflink != nullptr)
        bb->dflink->rdflink = bb;
    else if (currfuninfo->bb_list != nullptr)
        currfuninfo->bb_list->rdflink = bb;
    bb->labels = mklabel(0, nullptr, bb);
    graph_changed();
    return bb;
}

namespace {

void erase_rare_fields(BBLK_EXT* ext) {
    if (ext == nullptr) return;
    erase_tree(ext->loop_control);
    erase_tree(ext->loop_trip_count);
    for (BITVEC* vector :
         {ext->live_in, ext->live_out, ext->live_use, ext->live_def, ext->descendants, ext->assigned, ext->read})
        delete vector;
    delete ext;
}

} // namespace

void erase_bblock(BBLK* bb) {
    bb->stmts = erase_tree_list(bb->stmts);
    bb->preds = erase_edge_list(bb->preds);
    bb->succs = erase_edge_list(bb->succs);
    while (bb->labels != nullptr) {
        LBL* next = bb->labels->next;
        delete bb->labels;
        bb->labels = next;
    }
    erase_rare_fields(bb->ext);
    bb->ext = nullptr;
    if (bb->serial < bb->owner->blocks.size()) bb->owner->blocks[bb->serial] = nullptr;
}

void delink_old_bb(BBLK* bb) {
    FUNINFO* f = bb->owner;
    if (f->bb_list == bb) {
        if (bb->dflink != nullptr) bb->dflink->rdflink = bb->rdflink;
        f->bb_list = bb->dflink;
    } else {
        bb->rdflink->dflink = bb->dflink;
        (bb->dflink != nullptr ? bb->dflink : f->bb_list)->rdflink = bb->rdflink;
    }
    for (BBLK** link = &f->uo_list; *link != nullptr; link = &(*link)->uolink)
        if (*link == bb) {
            *link = bb->uolink;
            break;
        }
    if (f->exit_block == bb) f->exit_block = nullptr;
    graph_changed();
    erase_bblock(bb);
    delete bb;
}

void renumber_bblocks() {
    int n = 0;
    BBLK* last = nullptr;
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink) {
        bb->dfn = ++n;
        bb->rdflink = last;
        last = bb;
    }
    currfuninfo->bb_count = static_cast<uint32_t>(n);
    if (currfuninfo->bb_list == nullptr) return;
    currfuninfo->bb_list->rdflink = last;
    recompute_label_refcounts();
    int32_t number = 0;
    for (bool referenced : {true, false})
        for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink)
            for (LBL* label = bb->labels; label != nullptr; label = label->next)
                if ((label->refcount != 0) == referenced) label->index = ++number;
    number_label_refs();
}

void clear_visited() {
    for (BBLK* bb = currfuninfo->uo_list; bb != nullptr; bb = bb->uolink) bb->visited = 0;
}

bool BB_is_in_bb_list(const BBLK* bb) {
    const BBLK* at = currfuninfo->bb_list;
    while (at != nullptr && at != bb) at = at->dflink;
    return at != nullptr;
}

LIST* last_stmt_cell(const BBLK* bb) {
    LIST* cell = bb->stmts;
    if (cell == nullptr) return nullptr;
    while (cell->rest != nullptr) cell = cell->rest;
    return cell;
}

NODE* terminator_of(const BBLK* bb) {
    LIST* cell = last_stmt_cell(bb);
    return cell != nullptr ? cell->first : nullptr;
}

BBLK* split_block(BBLK* bb, LIST* cell, bool keep) {
    LIST** link = &bb->stmts;
    while (*link != cell) link = &(*link)->rest;
    if (keep) link = &cell->rest;
    BBLK* back = insert_new_bb(bb->dfn, bb, nullptr);
    back->stmts = *link;
    NODE* jump = mk_BRANCH(back, back->stmts != nullptr ? back->stmts->first->scope : nullptr);
    *link = mkelist(jump, nullptr, nullptr);
    // The far ends now have the new block as predecessor.
    back->succs = bb->succs;
    for (EDGE* edge = back->succs; edge != nullptr; edge = edge->next)
        for (EDGE* pred = edge->bb->preds; pred != nullptr; pred = pred->next)
            if (pred->bb == bb) {
                pred->bb = back;
                break;
            }
    bb->succs = mkedge(back, nullptr);
    back->preds = mkedge(bb, nullptr);
    back->loop = bb->loop;
    back->loop_depth = bb->loop_depth;
    back->last_psn = bb->last_psn;
    bb->last_psn = nullptr;
    for (LIST* at = bb->stmts; at != nullptr; at = at->rest)
        if (at->psn != nullptr) bb->last_psn = at->psn;
    for (LIST* at = back->stmts; at != nullptr && back->first_psn == nullptr; at = at->rest) back->first_psn = at->psn;
    return back;
}

LIST* insert_stmt_before_stmt_in_bb(NODE* stmt, NODE* where, BBLK* bb, PSN* psn) {
    for (LIST** link = &bb->stmts; *link != nullptr; link = &(*link)->rest)
        if ((*link)->first == where) return *link = mkelist(stmt, *link, psn);
    return nullptr;
}

LIST** promote_tree(NODE* tree, LIST** cell, PSN* psn) {
    std::vector<NODE*> waiting{tree}; // the next part on top
    while (!waiting.empty()) {
        NODE* part = waiting.back();
        waiting.pop_back();
        if (part->op == COMMAOP) {
            waiting.push_back(part->right);
            waiting.push_back(part->left);
            erase_node(part);
            continue;
        }
        *cell = mkelist(part, *cell, psn);
        cell = &(*cell)->rest;
    }
    return cell;
}

// ------------------------------------------------------------------------------------------------------------- edges

bool edge_memberp(const BBLK* bb, const EDGE* list) {
    while (list != nullptr && list->bb != bb) list = list->next;
    return list != nullptr;
}

int edge_length(const EDGE* list) {
    int n = 0;
    for (; list != nullptr; list = list->next) n++;
    return n;
}

EDGE* mkedge(BBLK* far, EDGE* list) {
    graph_changed();
    return new EDGE(far, -1.0, list);
}

EDGE* add_edge(BBLK* far, EDGE* list, double probability) {
    if (edge_memberp(far, list)) return list;
    graph_changed();
    return new EDGE(far, probability, list);
}

EDGE* remove_edge(BBLK* far, EDGE* list) {
    for (EDGE** link = &list; *link != nullptr; link = &(*link)->next)
        if ((*link)->bb == far) {
            EDGE* gone = *link;
            *link = gone->next;
            delete gone;
            graph_changed();
            break;
        }
    return list;
}

EDGE* rev_edge_list(EDGE* list) {
    EDGE* reversed = nullptr;
    while (list != nullptr) {
        EDGE* next = list->next;
        list->next = reversed;
        reversed = list;
        list = next;
    }
    return reversed;
}

EDGE* erase_edge_list(EDGE* list) {
    while (list != nullptr) {
        EDGE* next = list->next;
        delete list;
        list = next;
    }
    return nullptr;
}

EDGE* sort_edge_list(EDGE* list) {
    auto swap_contents = [](EDGE* a, EDGE* b) {
        std::swap(a->bb, b->bb);
        std::swap(a->probability, b->probability);
    };
    for (EDGE* at = list != nullptr ? list->next : nullptr; at != nullptr; at = at->next) {
        bool moved = false; // everything from the place of insertion on moves up by one
        for (EDGE* front = list; front != at; front = front->next)
            if (moved || front->bb->dfn > at->bb->dfn) {
                swap_contents(front, at);
                moved = true;
            }
    }
    return list;
}

EDGE* fast_sort_edge_list(EDGE* list) {
    std::vector<EDGE*> cells;
    for (EDGE* edge = list; edge != nullptr; edge = edge->next) cells.push_back(edge);
    std::sort(cells.begin(), cells.end(), [](const EDGE* a, const EDGE* b) {
        return a->bb->dfn != b->bb->dfn ? a->bb->dfn < b->bb->dfn : a->bb->serial < b->bb->serial;
    });
    EDGE* sorted = nullptr;
    for (auto cell = cells.rbegin(); cell != cells.rend(); ++cell) {
        (*cell)->next = sorted;
        sorted = *cell;
    }
    return sorted;
}

void fixup_edge_lists(BBLK* bb, NODE* tree) {
    std::vector<NODE*> work{tree->op == SWITCH || tree->op == IF ? tree->right : tree};
    while (!work.empty()) {
        NODE* node = work.back();
        work.pop_back();
        if (node->op == LABEL) {
            bb->succs = add_edge(node->lbl->bb, bb->succs);
            node->lbl->bb->preds = add_edge(bb, node->lbl->bb->preds);
            graph_changed();
            return;
        }
        if (node->right != nullptr) work.push_back(node->right);
        if (node->left != nullptr) work.push_back(node->left);
    }
}

namespace {

template <typename F> void for_each_label(NODE* tree, F&& visit) {
    std::vector<NODE*> work{tree};
    while (!work.empty()) {
        NODE* node = work.back();
        work.pop_back();
        if (node == nullptr) continue;
        if (node->op == LABEL) visit(node);
        if (node->op != CSE_DUPE) work.push_back(node->right);
        work.push_back(node->left);
    }
}

// Where a control statement keeps its labels.
NODE* label_side(NODE* stmt) { return stmt->op == SWITCH || stmt->op == IF ? stmt->right : stmt; }

// Numbers the blocks along dflink; the first label of each takes the block's number.
void number_along_dflink() {
    int n = 0;
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink) {
        bb->dfn = ++n;
        if (bb->labels == nullptr) continue;
        bb->labels->index = n;
        for (LBL* label = bb->labels->next; label != nullptr; label = label->next)
            if (label->index > 0) label->index = currfuninfo->next_label--;
    }
    currfuninfo->bb_count = static_cast<uint32_t>(n);
    number_label_refs();
}

// The new block on the edge, with its edges; the numbering stays as it was.
BBLK* put_block_on_edge(BBLK* from, BBLK* to) {
    NODE* end = terminator_of(from);
    BBLK* bb = insert_new_bb(from->dfn, from, nullptr);
    bb->stmts = mkelist(mk_BRANCH(to, end->scope), nullptr, nullptr);
    for (EDGE* edge = from->succs; edge != nullptr; edge = edge->next)
        if (edge->bb == to) edge->bb = bb;
    for (EDGE* edge = to->preds; edge != nullptr; edge = edge->next)
        if (edge->bb == from) edge->bb = bb;
    bb->succs = mkedge(to, nullptr);
    bb->preds = mkedge(from, nullptr);
    remap_labelrefs(end, to, bb);
    if (to->ext != nullptr && to->ext->live_in != nullptr) {
        const BITVEC& live = *to->ext->live_in;
        BBLK_EXT& ext = bb->extra();
        ext.live_use = new BITVEC(live.size);
        ext.live_def = new BITVEC(live.size);
        ext.live_in = new BITVEC(live);
        ext.live_out = new BITVEC(live);
    }
    BBLK* near = to->loop_depth < from->loop_depth ? to : from;
    bb->loop = near->loop;
    bb->loop_depth = near->loop_depth;
    return bb;
}

bool edge_is_to_be_split(const BBLK* from, const BBLK* to, bool all) {
    if (to->preds == nullptr || to->preds->next == nullptr) return false;
    return all || from->dfn < to->dfn;
}

} // namespace

EDGE* list_branch_targets(NODE* tree, EDGE* list) {
    for_each_label(tree, [&](NODE* label) { list = add_edge(label->lbl->bb, list); });
    return list;
}

BBLK* split_cfg_edge(BBLK* from, BBLK* to) {
    OPTASSERT(edge_memberp(to, from->succs));
    BBLK* bb = put_block_on_edge(from, to);
    number_along_dflink();
    return bb;
}

// A new block has one successor and one predecessor, so that no edge of it is critical; it keeps its neighbour's number
// until all is done, and the numbers of the older blocks, which decide what goes forward, stand meanwhile.
void split_critical_edges(bool all) {
    if (currfuninfo->bb_list == nullptr) return;
    bool changed = false;
    BBLK* head = currfuninfo->bb_list;
    for (BBLK *from = head->rdflink, *previous; from != nullptr; from = previous) {
        previous = from == head ? nullptr : from->rdflink;
        if (from->succs == nullptr || from->succs->next == nullptr) continue;
        std::vector<BBLK*> targets;
        for (EDGE* edge = from->succs; edge != nullptr; edge = edge->next)
            if (edge_is_to_be_split(from, edge->bb, all)) targets.push_back(edge->bb);
        for (BBLK* to : targets) {
            if (print_debug) dprintf("Splitting critical edge between BB%d and BB%d\n", from->dfn, to->dfn);
            put_block_on_edge(from, to);
            changed = true;
        }
    }
    if (changed) number_along_dflink();
}

// ------------------------------------------------------------------------------------------------------------ labels

LBL* mklabel(int index, LBL* next, BBLK* bb) {
    // Generated numbers go down without end in sight: 2^31 of them would need more memory than any run has.
    if (index <= 0) index = currfuninfo->next_label--;
    return new LBL(index, next, bb);
}

LBL* find_label(int index) {
    if (currfuninfo != nullptr)
        for (BBLK* bb = currfuninfo->uo_list; bb != nullptr; bb = bb->uolink)
            for (LBL* label = bb->labels; label != nullptr; label = label->next)
                if (label->index == index) return label;
    fprintf(stderr, "\n!!! COMPILER (OPTIMIZER) ERROR IN 'find_label', INDEX=%d !!!\n", index);
    abort_optimizer();
}

LBL* first_label(BBLK* bb) {
    if (bb->labels == nullptr) bb->labels = mklabel(0, nullptr, bb);
    return bb->labels;
}

NODE* mk_LABELREF_to_bb(BBLK* bb, LS* scope) { return mk_LABELREF_to_lbl(first_label(bb), scope); }

NODE* mk_BRANCH(BBLK* bb, LS* scope) {
    return maketree(BRANCH, mk_LABELREF_to_bb(bb, scope), nullptr, tp->int_type(), scope);
}

void set_label_target(NODE* label, BBLK* bb) {
    label->lbl = first_label(bb);
    label->u.lval = INT65(label->lbl->index);
}

void remap_labelrefs(NODE* tree, BBLK* old_bb, BBLK* new_bb) {
    for_each_label(tree, [&](NODE* label) {
        if (label->lbl != nullptr && label->lbl->bb == old_bb) set_label_target(label, new_bb);
    });
}

void subst_bb_for_bb_in_stmts(BBLK* new_bb, BBLK* old_bb, LIST* stmts) {
    if (stmts == nullptr) return;
    while (stmts->rest != nullptr) stmts = stmts->rest;
    remap_labelrefs(label_side(stmts->first), old_bb, new_bb);
}

void recompute_label_refcounts() {
    for (BBLK* bb = currfuninfo->uo_list; bb != nullptr; bb = bb->uolink)
        for (LBL* label = bb->labels; label != nullptr; label = label->next) label->refcount = 0;
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink)
        for_each_target(terminator_of(bb), [](NODE* label) { label->lbl->refcount++; });
}

void number_new_labels() {
    int32_t largest = 0;
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink)
        for (LBL* label = bb->labels; label != nullptr; label = label->next) largest = std::max(largest, label->index);
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink)
        for (LBL* label = bb->labels; label != nullptr; label = label->next)
            if (label->index <= 0) label->index = ++largest;
    number_label_refs();
}

void number_label_refs() {
    for (BBLK* bb = currfuninfo->bb_list; bb != nullptr; bb = bb->dflink)
        for_each_target(terminator_of(bb), [](NODE* label) { label->u.lval = INT65(label->lbl->index); });
}
