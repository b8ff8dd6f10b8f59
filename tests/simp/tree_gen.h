// Random typed trees over the variables of the world. Equal seeds give equal trees.
//
// No tree depends on an order of evaluation that C leaves open: a variable that is written is not read or written on
// the other side of an unsequenced operator, and at most one side has calls or volatile accesses.
#ifndef TESTS_SIMP_TREE_GEN_H
#define TESTS_SIMP_TREE_GEN_H

#include "world.h"

#include <bitset>

struct TREE_OPTIONS {
    bool effects = true;  // assignments, calls, volatile accesses
    bool memory = true;   // struct members, array elements, pointers
    bool pointers = true; // pointer values
    bool floats = true;
    bool volatiles = true;
    bool loose = true;      // now and then an operand of another type than its operator's, as passes leave them
    bool statements = true; // branches on a condition at the root
    int max_size = 24;      // about so many nodes at most
    std::bitset<256> ops = std::bitset<256>().set(); // the operators to use
};

NODE* random_tree(uint64_t seed, const TREE_OPTIONS&);

// What evaluating a tree touches, and whether parts that may be evaluated in either order interfere.
struct EFFECTS {
    uint64_t reads = 0, writes = 0; // sets of variables
    bool events = false;            // calls, volatile accesses
    bool conflict = false;
};
EFFECTS effects_of(const NODE*);
// Whether an operand has another type than its operator, so that evaluating it converts it.
bool has_implicit_conversions(const NODE*);

#endif
