// Compares what a tree computes before and after a function of the simplifier, on many inputs.
#ifndef TESTS_SIMP_CHECK_H
#define TESTS_SIMP_CHECK_H

#include "evaluate.h"
#include "simp/simp.h"

#include <functional>

// What is done to a tree, and what must stay the same.
enum MODE {
    M_TREE,    // simp_tree: value and effects
    M_CONTROL, // simp_for_control: truth and effects
    M_BOOLEAN, // make_boolean: 1 or 0 by the truth
    M_INVERT,  // invert_boolean_tree: 1 or 0 by the opposite truth
    M_MASK,    // prop_mask_into_subtree: the bits of a mask
    M_PEEL,    // peel_for_effect: effects only
    M_FOLD,    // fold_constants
    M_CASTS,   // insert_mandatory_casts
    M_QUERIES, // ranges, signs, factors, known bits of the tree or of the simplified tree
    M_COUNT
};
extern const char* const mode_names[M_COUNT];

struct INPUT {
    IMAGE memory{};
    uint64_t salt = 0;
};
std::vector<INPUT> make_inputs(const CODE&, uint64_t seed, int count);

struct FINDING {
    std::string what;   // empty: nothing found
    std::string detail; // what both sides gave
    std::string after;  // text of the result
    bool has_input = false;
    INPUT input;
};

struct CHECK_COUNTS {
    uint64_t trees = 0, inputs = 0, undefined = 0, vacuous = 0, nodes_before = 0, nodes_after = 0;
    uint64_t not_idempotent = 0;
};

struct CHECK {
    uint64_t seed = 1;
    int inputs = 40;
    MODE mode = M_TREE;
    const INPUT* first_input = nullptr; // tried in front of the others
    CHECK_COUNTS* counts = nullptr;
    bool must_be_idempotent = false; // a tree that changes when it is simplified again is a failure
    std::function<void(const NODE* once, const NODE* twice)> not_idempotent; // both of M_TREE

    FINDING run(const NODE* tree) const; // the tree is left alone
};

// A smaller tree that fails, too. `fails` does not keep its argument; the result belongs to the caller.
NODE* shrink_tree(const NODE* tree, const std::function<bool(const NODE*)>& fails, double seconds);

// Values of the variables of a tree in an input.
std::string input_text(const CODE&, const INPUT&);

#endif
