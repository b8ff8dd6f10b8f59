// Bringing a function's flat statement list into the order and form from which blocks are built.
#ifndef CFG_SEQTREES_H
#define CFG_SEQTREES_H

// Works on FUNINFO::statements of the current function, last statement first before and after. Afterwards
//   - no CBRANCH is left: a condition is an IF with a LABEL for either way, a constant one a BRANCH or nothing;
//   - no statement has a COMMAOP at its root (nor at the root of its condition, selector or result), and the only
//   PCOMMA
//     is the argument prolog, which stays in front;
//   - a SWITCH has a left-leaning list of distinct CASEs, the DEFAULT, if there is one, last; one with a DEFAULT alone
//   is
//     a BRANCH.
// Side effects keep their order, statements their positions. Calling it again changes nothing. A control statement of
// no legal shape ends the run.
void seq_trees();

#endif
