// The placing of blocks in chains that fall through.
#ifndef CFG_CHAINS_H
#define CFG_CHAINS_H

// Reorders dflink of the current function: the first block stays the first, every natural loop is one piece, blocks
// that follow one another often stand next to one another, and a loop is turned so that the jump back costs least.
// Numbers the blocks (dfn) along the new order. Neither blocks nor statements change.
void order_blocks_in_chains();

#endif
