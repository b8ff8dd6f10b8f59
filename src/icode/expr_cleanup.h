// The clean-up of trees just read.
#ifndef ICODE_EXPR_CLEANUP_H
#define ICODE_EXPR_CLEANUP_H

struct NODE;

// Scalings p of (i, ICON bits) become products i * (bits / 16); gives the tree to use.
NODE* PMCONVs_to_MULTs(NODE* tree);

#endif
