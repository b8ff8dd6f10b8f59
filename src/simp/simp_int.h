// What the files of the folder and of the conversions share.
#ifndef SIMP_SIMP_INT_H
#define SIMP_SIMP_INT_H

#include "simp/fold.h"

// The type in which a value of the type is held: an enumeration's underlying type, without qualifiers.
TYPE* value_type(TYPE*);
bool is_scalar_value(TYPE*); // integer, enumeration, float or pointer

// One type to the optimizer, qualifiers aside.
bool same_type(TYPE*, TYPE*);

inline bool is_zero_ICON(const NODE* tree) { return tree->op == ICON && tree->u.lval.is_zero(); }
bool is_field(const NODE*); // a bit-field of a struct, as a value or an lvalue

// The left operand in place of the node; a right operand is erased.
NODE* take_left(NODE* tree);

// The value of an ICON converted to an integer, enumeration or pointer type (a bool: whether it is not zero).
INT65 icon_as(const NODE* icon, TYPE*);

// Turns a node into a constant in place, erasing its operands.
NODE* become_ICON(NODE*, INT65 value, TYPE*);

// A node one of whose operands is an FCON, or whose constant operands meet in a floating type. The node in its new
// form, or null, nothing changed, if it stays.
NODE* fold_float_node(NODE*);

// Conversion of a value to a scalar type, by the cheapest means: nothing, a changed constant, or a conversion node. A
// bool is made by comparing with zero. Not simplified.
NODE* converted(NODE*, TYPE*);

// a then b, for their effects alone, as a chain that leans left; either may be null.
NODE* join_effects(NODE* first, NODE* then);

// Whether `first` may be evaluated behind `effect` instead of in front of it. Looks at a bounded number of nodes.
bool may_be_evaluated_behind(NODE* first, const NODE* effect);

// A call whose value is not used: rewrites that keep only the effects. Gives the tree to use.
NODE* simp_unused_call(NODE* call);

#endif
