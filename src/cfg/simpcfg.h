// Clean-up of the control-flow graph.
#ifndef CFG_SIMPCFG_H
#define CFG_SIMPCFG_H

// To a fixed point: conditions and selectors that are constant, or whose ways all lead to one block, become a BRANCH
// (what has an effect stays as a statement); jumps to a block that holds nothing but a BRANCH go where that goes; a
// block is joined with its only successor if it is that one's only predecessor; unreachable blocks go. A SWITCH without
// DEFAULT gets one. Then the blocks are in reverse postorder and everything is numbered (renumber_bblocks).
//
// The first block stays the first, with the prolog in front. A block that holds a pragma is not jumped over: a loop
// keeps what stands in front of it. The exit block stays; `before_writing` it goes if nothing reaches it. A loop tree
// must not exist: preheaders may go. Returns whether anything but the order changed.
bool simpcfg(bool before_writing, bool);

// A SWITCH loses the cases that go where its DEFAULT goes; with one case left it becomes an IF, with none a BRANCH.
// Edges follow; blocks that nothing reaches any more are removed.
void optimize_SWITCH_cases();

#endif
