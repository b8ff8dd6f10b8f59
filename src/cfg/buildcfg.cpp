// Building the graph. The statement list comes last statement first, so that blocks, and statements inside of a block,
// come out in source order by pushing on a front.
#include "cfg/buildcfg.h"

#include "cfg/bbutils.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <map>
#include <string>
#include <vector>

namespace {

class CFG_BUILDER {
  public:
    explicit CFG_BUILDER(FUNINFO* f) : f_(f) {}
    void run();

  private:
    void make_exit_block();
    void close_with_return();
    void collect_blocks();
    void label_definition(LIST* cell);
    void give_DEFAULT(NODE* stmt);
    void close_block();
    void push(LIST* cell) {
        cell->rest = current_;
        current_ = cell;
    }
    void map_labels();
    void bind_terminators();
    LBL* label_for(const NODE* ref);

    FUNINFO* f_;
    LIST* current_ = nullptr; // the block under way, in source order
    std::map<int32_t, LBL*> label_mapping_;
    std::vector<const BBLK*> seen_by_; // block serial: the last block found to have it as a successor
};

// The block in which the function ends without a value. Its label has the number -1.
void CFG_BUILDER::make_exit_block() {
    LS* scope = outer_block_scope();
    NODE* end = maketree(URETURN, mk_NAME(currfunc, scope), nullptr, tp->void_type, scope);
    BBLK* exit = mkbblock(mkelist(end, nullptr, nullptr), nullptr, f_);
    exit->labels = new LBL(-1, nullptr, exit);
    f_->exit_block = f_->bb_list = f_->uo_list = exit;
}

void CFG_BUILDER::close_with_return() {
    const LIST* last = f_->statements;
    if (last != nullptr && (last->first->op == BRANCH || last->first->op == RETURN || last->first->op == URETURN))
        return;
    LS* scope = outer_block_scope();
    NODE* end = maketree(URETURN, mk_NAME(currfunc, scope), nullptr, tp->void_type, scope);
    f_->statements = mkelist(end, f_->statements, nullptr);
}

void CFG_BUILDER::close_block() {
    if (current_ == nullptr) return;
    f_->bb_list = f_->uo_list = mkbblock(current_, f_->bb_list, f_);
    current_ = nullptr;
}

// The label joins the block behind it. What stands in front of it falls through, unless it jumps: it gets a BRANCH.
// A SWITCH gets one, too; that is where a missing DEFAULT finds its target.
void CFG_BUILDER::label_definition(LIST* cell) {
    close_block();
    BBLK* bb = f_->bb_list;
    LBL* label = cell->first->lbl;
    if (label == nullptr) label = new LBL(static_cast<int32_t>(cell->first->u.lval.low), nullptr, nullptr);
    label->bb = bb;
    label->next = bb->labels;
    bb->labels = label;
    LS* scope = cell->first->scope;
    erase_node(cell->first);
    int before = cell->rest != nullptr ? cell->rest->first->op : static_cast<int>(NOP);
    delete cell;
    if (before == BRANCH || before == URETURN || before == RETURN || before == CBRANCH || before == IF ||
        before == LABELDEF)
        return;
    NODE* jump = maketree(BRANCH, mk_LABELREF_to_lbl(label, scope), nullptr, tp->int_type(), scope);
    current_ = mkelist(jump, nullptr, nullptr);
}

// The DEFAULT of a SWITCH without one: where control goes behind it.
void CFG_BUILDER::give_DEFAULT(NODE* stmt) {
    NODE* list = stmt->right;
    if (list->op == DEFAULT || (list->op == COMMA && list->right->op == DEFAULT)) return;
    NODE* target;
    if (current_ != nullptr && current_->first->op == BRANCH)
        target = copy_tree(current_->first->left);
    else {
        close_block();
        target = mk_LABELREF_to_bb(f_->bb_list, stmt->scope);
    }
    NODE* otherwise = maketree(DEFAULT, target, nullptr, tp->int_type(), stmt->scope);
    stmt->right = maketree(COMMA, list, otherwise, tp->int_type(), stmt->scope);
}

void CFG_BUILDER::collect_blocks() {
    for (LIST *cell = f_->statements, *rest; cell != nullptr; cell = rest) {
        rest = cell->rest;
        switch (cell->first->op) {
        case RETURN:
        case BRANCH:
        case URETURN:
            current_ = erase_tree_list(current_); // cannot be reached
            push(cell);
            break;
        case LABELDEF: label_definition(cell); break;
        case SWITCH:
            give_DEFAULT(cell->first);
            close_block();
            push(cell);
            break;
        case IF:
            close_block();
            push(cell);
            break;
        case PPRAGMA:
        case ASM:
            // Pragmas and comments may stand in front of the prolog; the prolog comes first.
            if ((cell->first->op == PPRAGMA || tree_is_ASM_comment(cell->first)) && stmt_is_arg_prolog(current_)) {
                cell->rest = current_->rest;
                current_->rest = cell;
            } else
                push(cell);
            break;
        default: push(cell); break;
        }
    }
    f_->statements = nullptr;
    close_block();
}

// All numbers of a block stand for its first label.
void CFG_BUILDER::map_labels() {
    for (BBLK* bb = f_->uo_list; bb != nullptr; bb = bb->uolink)
        for (LBL* label = bb->labels; label != nullptr; label = label->next)
            if (!label_mapping_.emplace(label->index, bb->labels).second) {
                std::string text = "ERROR - label " + std::to_string(label->index) + " is defined twice";
                abort_optimizer(text.c_str());
            }
}

LBL* CFG_BUILDER::label_for(const NODE* ref) {
    int32_t number = static_cast<int32_t>(ref->u.lval.low);
    auto found = label_mapping_.find(number);
    return found != label_mapping_.end() ? found->second : find_label(number);
}

void CFG_BUILDER::bind_terminators() {
    seen_by_.assign(f_->blocks.size(), nullptr);
    int n = 0;
    for (BBLK* bb = f_->uo_list; bb != nullptr; bb = bb->uolink) {
        bb->uon = ++n;
        bb->dfn = 0;
        NODE* end = terminator_of(bb);
        if (end->op == URETURN && bb != f_->exit_block) {
            erase_tree(end->left);
            end->op = BRANCH;
            end->type = tp->int_type();
            end->left = mk_LABELREF_to_lbl(f_->exit_block->labels, end->scope);
            end->edge_profile_value = f_->return_profile_value;
        }
        for_each_target(end, [&](NODE* ref) {
            ref->lbl = label_for(ref);
            BBLK* far = ref->lbl->bb;
            if (seen_by_[far->serial] == bb) return;
            seen_by_[far->serial] = bb;
            bb->succs = mkedge(far, bb->succs);
            bb->succs->probability = ref->probability();
        });
    }
}

// ---------------------------------------------------------------------------------------------------------- ordering

// Successors with one successor first, then those with several, then those with none: the walk finishes the latter
// last, so that they come late in the order of blocks.
void reorder_succs(BBLK* bb) {
    if (bb->succs == nullptr || bb->succs->next == nullptr) return;
    EDGE* kind[3] = {};
    EDGE** end[3] = {&kind[0], &kind[1], &kind[2]};
    for (EDGE* edge = bb->succs; edge != nullptr; edge = edge->next) {
        const EDGE* further = edge->bb->succs;
        int k = further == nullptr ? 2 : further->next == nullptr ? 0 : 1;
        *end[k] = edge;
        end[k] = &edge->next;
    }
    *end[2] = nullptr;
    *end[1] = kind[2];
    *end[0] = kind[1];
    bb->succs = kind[0];
}

// Chains the blocks that can be reached through dflink in reverse postorder. dflink links the stack of the walk, too: a
// block is on the stack (dfn -1) before it is in the order.
BBLK* depth_first_order(BBLK* first) {
    BBLK* stack = first;
    BBLK* order = nullptr;
    first->dfn = -1;
    first->dflink = nullptr;
    first->dfs_cursor = first->succs;
    while (stack != nullptr) {
        BBLK* bb = stack;
        if (EDGE* edge = bb->dfs_cursor; edge != nullptr) {
            bb->dfs_cursor = edge->next;
            BBLK* far = edge->bb;
            if (far->dfn != 0) continue;
            far->dfn = -1;
            far->dfs_cursor = far->succs;
            far->dflink = stack;
            stack = far;
        } else {
            stack = bb->dflink;
            bb->dflink = order;
            order = bb;
        }
    }
    return order;
}

// An exit block that nothing reaches stays, behind all others.
void append_exit_block(FUNINFO* f) {
    BBLK* exit = f->exit_block;
    if (exit == nullptr || exit->dfn != 0) return;
    exit->dflink = nullptr;
    BBLK* last = f->bb_list;
    while (last->dflink != nullptr) last = last->dflink;
    last->dflink = exit;
}

void number_blocks_and_find_preds(FUNINFO* f, bool number_labels) {
    int n = 0;
    BBLK* last = nullptr;
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink) {
        OPTASSERT(!bb->visited);
        bb->visited = 1;
        for (EDGE* edge = bb->succs; edge != nullptr; edge = edge->next) edge->bb->preds = mkedge(bb, edge->bb->preds);
        bb->dfn = ++n;
        bb->rdflink = last;
        last = bb;
        if (bb->labels == nullptr || !number_labels) continue;
        bb->labels->index = n;
        // Further labels of the block have no references any more; their numbers must not meet those given here.
        for (LBL* label = bb->labels->next; label != nullptr; label = label->next)
            if (label->index > 0) label->index = f->next_label--;
    }
    f->bb_list->rdflink = last;
    f->bb_count = static_cast<uint32_t>(n);
    number_label_refs();
}

void drop_unreached(FUNINFO* f) {
    for (BBLK** link = &f->uo_list; *link != nullptr;) {
        BBLK* bb = *link;
        if (bb->dfn != 0) {
            link = &bb->uolink;
            continue;
        }
        if (print_debug) dprintf("\nUNREACHABLE BASIC BLOCK: UON==%d\n", bb->uon);
        *link = bb->uolink;
        erase_bblock(bb);
        delete bb;
    }
}

void keep_arg_tree(FUNINFO* f) {
    f->arg_tree = erase_tree(f->arg_tree);
    if (stmt_is_arg_prolog(f->bb_list->stmts)) f->arg_tree = copy_tree(f->bb_list->stmts->first);
}

// Wants dfn 0, no preds and no mark in all blocks.
void order_blocks(FUNINFO* f, bool number_labels) {
    graph_changed();
    for (BBLK* bb = f->uo_list; bb != nullptr; bb = bb->uolink) reorder_succs(bb);
    f->bb_list = depth_first_order(f->bb_list);
    append_exit_block(f);
    number_blocks_and_find_preds(f, number_labels);
    drop_unreached(f);
    clear_visited();
    keep_arg_tree(f);
}

void CFG_BUILDER::run() {
    make_exit_block();
    close_with_return();
    collect_blocks();
    map_labels();
    bind_terminators();
    remove_tail_recursion();
    order_blocks(f_, true);
}

} // namespace

void buildcfg() {
    OPTASSERT(currfuninfo->bb_list == nullptr);
    CFG_BUILDER(currfuninfo).run();
}

static void rebuild(bool number_labels) {
    FUNINFO* f = currfuninfo;
    for (BBLK* bb = f->uo_list; bb != nullptr; bb = bb->uolink) {
        bb->preds = erase_edge_list(bb->preds);
        bb->dfn = 0;
        bb->visited = 0;
    }
    order_blocks(f, number_labels);
}

void rebuildcfg() { rebuild(true); }
void rebuildcfg_keeping_labels() { rebuild(false); }
