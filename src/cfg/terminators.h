// Rewrites of a control statement on its own. None of them touches edges: call update_succs() on the block afterwards.
#ifndef CFG_TERMINATORS_H
#define CFG_TERMINATORS_H

#include "ir/bblk.h"
#include "ir/node.h"

// `link` holds the last statement of a block. Each gives true if it changed something.

// IF and SWITCH whose way is known, or whose ways all lead to one block, become a BRANCH; a condition or selector with
// an effect stays in front as statements, and `link` is the link of the BRANCH afterwards. A SWITCH without DEFAULT
// gets the last case's label as one: the cases are then known to be all that can occur.
bool fold_terminator(LIST**& link);
// Cases of a SWITCH that go where its DEFAULT goes, and cases of equal value behind the first, are dropped.
bool drop_default_cases(NODE* stmt);
// SWITCH(x) {v: L; default: M}  ->  IF(x == v; L, M)
bool single_case_to_IF(LIST* cell);

// Makes `succs` of the block what its terminator says, keeping known probabilities; `preds` elsewhere are not touched.
void update_succs(BBLK* bb);

#endif
