// What the rules of chains, of bit masks and of the bitwise operators share.
//
// "Modular" nodes (arith.h) compute modulo 2^width, so that an operand counts by its low bits alone and equal width is
// all that two nodes need to exchange operands.
#ifndef SIMP_LOGIC_H
#define SIMP_LOGIC_H

#include "simp/arith.h"
#include "simp/rules.h"

extern const RULE_SET assoc_rules; // the rules behind simp_assoc, for handlers that end when one of them applied

// The operands may be evaluated in the other order: neither has an effect, or one is a constant or a variable that the
// other leaves alone. Looks at a bounded number of nodes.
bool order_is_free(const NODE* a, const NODE* b);
inline bool is_address_of_object(const NODE* tree) { return tree->op == UAND && tree->left->op == NAME; }
inline bool is_leaf(const NODE* tree) { return tree->left == nullptr || is_address_of_object(tree); }

// The bits of an ICON as a node of the type sees them, from 0 to the type's mask.
inline INT65 bits_of(const NODE* icon, TYPE* type) { return icon_as(icon, type) & type_mask(type); }
// Bits that an operand of a node of the type may have set, and those that it certainly has.
INT65 possible_ones(NODE* operand, TYPE* type);
INT65 certain_ones(NODE* operand, TYPE* type);

// The left operand as the value of the node, which goes with its right operand.
NODE* left_as_value(NODE* tree);
// Puts another constant of the node's type in place of the node's right operand, an ICON, and takes the mark away.
void set_right_constant(NODE* tree, INT65 value);
// x op C -> (x, value): what remains of the node are the effects of x.
NODE* constant_after_effects(NODE* tree, INT65 value, LOOP_RECORD*, CONTEXT*);

// Mask constants (masks.cpp). The value that regularize_mask_constant gives to a constant of the type.
INT65 regular_mask(INT65 value, INT65 care, TYPE* type);
// The bits that an ANDB's constant can matter for: those that its left operand may have set.
INT65 care_of_mask(NODE* left, TYPE* type);
// prop_mask_into_subtree, below an ORB's constant or an ANDB's; returns whether anything in the tree is another than
// before.
bool mask_changes_subtree(NODE*& tree, INT65 mask, bool below_or, LOOP_RECORD*, CONTEXT*);

#endif
