// What the walks share that ask for the value of a tree: its bounds, its bits, its factors.
#ifndef SIMP_VALUE_WALK_H
#define SIMP_VALUE_WALK_H

#include "ir/opt_expr.h"
#include "ir/types.h"

// The operator gives its left operand, converted to the node's type.
inline bool gives_left_operand(int op) {
    switch (op) {
    case SCONV:
    case IDENTITY:
    case OUIALIGN:
    case NONALIGN:
    case DDNODE:
    case SSA_USE:
    case SSA_DEF: return true;
    default: return false;
    }
}

// l op= r is l = (T)((type)l op r); r has the type as well, unless it is the count of a shift.
struct ASSIGNED_OPERATION {
    int op;
    bool shift;
    TYPE* type;

    explicit ASSIGNED_OPERATION(const NODE* assignment)
        : op(op_of_opASG[assignment->op]), shift(op == SLL || op == SRL),
          type(shift ? promoted_type(assignment->left->type) : combined_type(assignment->left, assignment->right)) {}
};

#endif
