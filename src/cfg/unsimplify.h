// The last rewriting of a function before it is written.
#ifndef CFG_UNSIMPLIFY_H
#define CFG_UNSIMPLIFY_H

#include "ir/node.h"

// Replaces, in every statement of the current function, what only this program knows by what a file may hold: alignment
// and identity marks, shared subexpressions, subscripts of UMULT, powers, the builtins of the assertion and ternary
// machinery, a COLON with an arm that was dropped, INITLOOP. Values and the order of effects stay. A power that is not
// one of a small constant ends the run.
void unsimplify();

NODE* unsimplify_tree(NODE* tree); // the same for one tree; gives the tree to use from now on

#endif
