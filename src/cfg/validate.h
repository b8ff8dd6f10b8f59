// Checkers of the invariants of statements and of the control-flow graph.
//
// validate_stmts() (every tree of the current function, or its flat statement list before blocks exist):
//   operands as many as the opcode has, a type where one is needed; control statements only as statements, LABEL only
//   in them, COLON only under QUEST, FIELD only under STDOT and STREF, COMMA only in lists; lvalues where a store or an
//   address needs one; ICON integral and in range; comparisons, &&, ||, ! integral; pointers under UMULT and STREF; the
//   prolog only in front; SWITCH lists left-leaning with distinct CASEs and one DEFAULT at the end.
// scan_for_sharing(): every node is reached once; none is erased. The right side of a CSE_DUPE is not followed.
// validate_cfg():
//   dflink, rdflink, uolink, bb_count, dfn 1..n along dflink; every reached block in uolink and registered; exactly one
//   control statement in a block, at its end; every LABEL bound to a label that its block owns, and numbered as it; one
//   edge for each target and none besides, `preds` mirroring `succs`; numbers of referenced labels distinct; the exit
//   block a URETURN of the function under one label, and no URETURN elsewhere.
// validate_label_counts(): LBL::refcount is the number of LABELs that refer to the label.
//
// Each finds all faults, up to a limit, writes them to standard error (and the debug log) with step, function, block
// and node, and ends the run if there is one. Cost: in proportion to nodes, labels and edges.
#ifndef CFG_VALIDATE_H
#define CFG_VALIDATE_H

#include <string>
#include <vector>

void validate_stmts();
void validate_cfg();
void scan_for_sharing();
void validate_label_counts();

// All but the last of the above on the current function, or nothing if it has neither blocks nor statements. `step` is
// what ran last.
void validate_function(const char* step);

// What the checks find, one text a fault, for tests.
std::vector<std::string> stmt_faults();
std::vector<std::string> sharing_faults();
std::vector<std::string> cfg_faults();
std::vector<std::string> label_count_faults();

#endif
