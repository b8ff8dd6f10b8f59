// Runs random trees in the interpreter, too, and compares: the reference evaluator must agree with it.
#ifndef TESTS_SIMP_CROSS_H
#define TESTS_SIMP_CROSS_H

#include "check.h"

// One tree on some inputs. Adds the number of inputs compared; returns what differs, or an empty text.
std::string cross_check(const NODE* tree, uint64_t seed, int inputs, uint64_t& compared);

#endif
