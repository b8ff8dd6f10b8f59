// Proves that a tree and its simplified form are equal: both become bit-vector terms of the exact widths, and the SMT
// solver looks for an input on which they differ.
//
// Assumed: no marked node of the original overflows and none of its divisors is zero, where it is evaluated at all. To
// show: equal values, and the same two for the result.
#ifndef TESTS_SIMP_PROVE_H
#define TESTS_SIMP_PROVE_H

#include "check.h"

#include <memory>

enum VERDICT { PROVED, DISPROVED, UNKNOWN, NOT_INTEGER };

class PROVER {
  public:
    explicit PROVER(unsigned milliseconds); // per question
    ~PROVER();
    // Simplifies a copy of the tree. NOT_INTEGER: it has operators that are not translated (effects, floats, pointers).
    // DISPROVED: `finding` says what differs, and the input.
    VERDICT prove(const NODE* tree, FINDING& finding);

  private:
    struct STATE;
    std::unique_ptr<STATE> state_;
};

#endif
