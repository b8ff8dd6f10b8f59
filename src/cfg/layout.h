// The order of the blocks in what is written.
//
// The chain dflink is that order. These run last, when nothing needs reverse postorder any more: they reorder dflink,
// number the blocks along it (dfn), may copy small pieces of code, and leave the numbers of labels alone. `preds` and
// `succs` stay exact.
//
// What is counted as cost is what the written code executes: a BRANCH to the block that follows is free, any other
// costs one; a conditional one costs one if one of its two targets follows, otherwise the way to its false target costs
// one more.
#ifndef CFG_LAYOUT_H
#define CFG_LAYOUT_H

// Turns loops that test at the top into loops that test at the bottom: a small test is copied in front of the loop, and
// the blocks of each loop are placed together so that the loop goes round over one conditional branch where it can.
void rotate_loops();

// Places the blocks so that likely ways fall through, loops in one piece; a jump to a short RETURN becomes a copy of
// it.
void straighten_traces_in_cfg();

#endif
