// From the flat statement list of a function to its control-flow graph.
#ifndef CFG_BUILDCFG_H
#define CFG_BUILDCFG_H

// Takes FUNINFO::statements of the current function (last statement first, as seq_trees() leaves it) and builds the
// blocks, in reverse postorder along dflink; the list is empty afterwards. Fall-through becomes an explicit BRANCH, a
// SWITCH gets a DEFAULT, labels become LBLs, every URETURN a BRANCH to the exit block, self-recursive tail calls a loop
// (at level 2 and above). Unreachable blocks are gone; the exit block stays, last, even if nothing reaches it. A copy
// of the argument prolog is kept in FUNINFO::arg_tree. A label that is not defined ends the run.
void buildcfg();

// The ordering alone, for a graph whose `succs` stand: orders the blocks, finds `preds` anew, drops what cannot be
// reached, counts blocks and keeps the prolog.
void rebuildcfg();
// The same without giving the blocks' numbers to their labels.
void rebuildcfg_keeping_labels();

// Turns tail calls of the function to itself into assignments to its parameters' copies and a BRANCH to the code behind
// the prolog (cfg/tailrec). Called by buildcfg() when labels are bound and `succs` stand.
void remove_tail_recursion();

#endif
