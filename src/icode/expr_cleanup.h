// The clean-up of trees just read.
#ifndef ICODE_EXPR_CLEANUP_H
#define ICODE_EXPR_CLEANUP_H

struct NODE;

// The input is an output of this program, so its signed arithmetic may wrap; set when the comment is read that every
// output begins with.
extern bool input_is_optimized;

// Scalings p of (i, ICON bits) become products i * (bits / 16); gives the tree to use.
NODE* PMCONVs_to_MULTs(NODE* tree);

#endif
