// Blocks, edges and labels of the current function: making them, finding them, changing them consistently.
//
// Everything works on `currfuninfo`. After buildcfg() these hold, and whoever changes the graph keeps them:
//   - every block ends in BRANCH, IF, SWITCH, RETURN or URETURN, and has no such statement elsewhere;
//   - a SWITCH has a COMMA list of CASEs that ends in a DEFAULT; an IF has COMMA(true LABEL, false LABEL);
//   - a LABEL refers to an LBL of a block of the function, and its number is the LBL's;
//   - `succs` holds each target of the terminator once, `preds` mirrors it; RETURN and the exit block have no
//   successor.
// An operation that changes an edge list marks the function's dominator tree as stale. An edge list holds a block at
// most once; new cells go to the front.
#ifndef CFG_BBUTILS_H
#define CFG_BBUTILS_H

#include "ir/bblk.h"
#include "ir/funinfo.h"
#include "ir/node.h"
#include "ir/opt_expr.h"

// ---- blocks
// A block in front of `next` in both chains, not linked from anything yet. Owns the statements. First and last position
// are taken from them.
BBLK* mkbblock(LIST* stmts, BBLK* next, FUNINFO* f);
// A block with one generated label, linked directly behind `after` in the dflink, rdflink and uolink chains; uon -1.
// It has no edges. The numbering is broken until the next renumbering; `dfn` holds for the interval.
BBLK* insert_new_bb(int dfn, BBLK* after, LIST* stmts);
void delink_old_bb(BBLK* bb); // takes the block out of all chains, erases and deletes it; its edges elsewhere stay
void erase_bblock(BBLK* bb);  // erases statements, edges, labels, vectors; then `delete` it
// dfn 1..n along dflink, bb_count, rdflink; counts the references of the labels and numbers the labels from 1: first
// those with references, in the order of the blocks, then the rest.
void renumber_bblocks();
void clear_visited();
bool BB_is_in_bb_list(const BBLK* bb);
LIST* last_stmt_cell(const BBLK* bb); // null for an empty block
NODE* terminator_of(const BBLK* bb);  // the last statement, or null
// The statements behind `cell` (with `keep` false: from `cell` on) go to a new block right behind `bb`, with the
// successors; `bb` ends in a BRANCH to it. Returns the new block.
BBLK* split_block(BBLK* bb, LIST* cell, bool keep);
// Puts `stmt` before the statement `where` of the block; null if it is not there, else the new cell.
LIST* insert_stmt_before_stmt_in_bb(NODE* stmt, NODE* where, BBLK* bb, PSN* psn);
// Puts the tree in front of `*cell` as statements, a COMMAOP at its root as one statement for each part. `psn` is the
// position of them all. Returns the link to what stood at `*cell`.
LIST** promote_tree(NODE* tree, LIST** cell, PSN* psn);
LS* outer_block_scope(); // the level-2 scope of the function; null while it has no scopes

// ---- edges
bool edge_memberp(const BBLK* bb, const EDGE* list);
int edge_length(const EDGE* list);
EDGE* mkedge(BBLK* far, EDGE* list);                              // prepends without searching, probability -1.0
EDGE* add_edge(BBLK* far, EDGE* list, double probability = -1.0); // the list unchanged if the block is in it
EDGE* remove_edge(BBLK* far, EDGE* list);
EDGE* rev_edge_list(EDGE* list);       // in place
EDGE* erase_edge_list(EDGE* list);     // returns null
EDGE* sort_edge_list(EDGE* list);      // by rising dfn, stable; the head cell stays the head cell
EDGE* fast_sort_edge_list(EDGE* list); // the same order for long lists; returns the new head; ties by block serial
// Joins the block and the block of the first LABEL in the tree (of a SWITCH or IF: in its right side).
void fixup_edge_lists(BBLK* bb, NODE* tree);
EDGE* list_branch_targets(NODE* tree, EDGE* list); // adds the block of every LABEL in the tree
void graph_changed();                              // marks the dominator tree as stale
// Puts a block holding a BRANCH on the edge and returns it. All dfns along dflink are given anew, each first label's
// number following.
BBLK* split_cfg_edge(BBLK* from, BBLK* to);
// Splits every critical edge with `all`, otherwise those that go forward.
void split_critical_edges(bool all);

// ---- labels
// A label in front of `next`, not yet linked to the block. A positive number is kept, any other is replaced by a
// generated one, which is negative and below that of the exit block (-1).
LBL* mklabel(int index, LBL* next, BBLK* bb);
LBL* find_label(int index); // over all blocks; ends the run on an unknown number
LBL* first_label(BBLK* bb); // made if absent
NODE* mk_LABELREF_to_bb(BBLK* bb, LS* scope);
NODE* mk_BRANCH(BBLK* bb, LS* scope);
void set_label_target(NODE* label, BBLK* bb); // makes a LABEL refer to the first label of the block
// LABELs in the tree that refer to a label of `old_bb` refer to the first label of `new_bb` from now on.
void remap_labelrefs(NODE* tree, BBLK* old_bb, BBLK* new_bb);
void subst_bb_for_bb_in_stmts(BBLK* new_bb, BBLK* old_bb, LIST* stmts); // in the last statement
void recompute_label_refcounts(); // LBL::refcount of every label of the function from its statements
void number_new_labels();         // generated numbers become positive ones above all that are in use
void number_label_refs();         // gives every LABEL of a terminator the number of its LBL

// ---- terminators
inline bool opcode_ends_block(int op) {
    return op == BRANCH || op == IF || op == SWITCH || op == RETURN || op == URETURN;
}
inline NODE* if_true_label(NODE* if_stmt) { return if_stmt->right->left; }
inline NODE* if_false_label(NODE* if_stmt) { return if_stmt->right->right; }
inline BBLK* if_true_bb(NODE* if_stmt) { return if_true_label(if_stmt)->lbl->bb; }
inline BBLK* if_false_bb(NODE* if_stmt) { return if_false_label(if_stmt)->lbl->bb; }
inline NODE*& case_label(NODE* entry) { return entry->op == CASE ? entry->right : entry->left; } // CASE, DEFAULT

// Calls `visit` on every LABEL of a BRANCH, IF or SWITCH, in source order.
template <typename F> void for_each_target(NODE* stmt, F&& visit) {
    if (stmt == nullptr) return;
    if (stmt->op == BRANCH)
        visit(stmt->left);
    else if (stmt->op == IF) {
        visit(if_true_label(stmt));
        visit(if_false_label(stmt));
    } else if (stmt->op == SWITCH)
        for (NODE* entry : comma_list(stmt->right)) visit(case_label(entry));
}

#endif
