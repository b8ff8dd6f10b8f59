// Asks the questions about ranges, signs, factors and bits of a tree, and holds the answers against the values that the
// tree takes.
#ifndef TESTS_SIMP_QUERIES_H
#define TESTS_SIMP_QUERIES_H

#include "check.h"

// The name of a query whose answer some input contradicts, or null. Inputs on which the tree is undefined count for
// nothing. `on`: receives the input and the value.
const char* wrong_query(NODE* tree, const std::vector<INPUT>& inputs, uint64_t seed, const INPUT*& on, DATUM& value);

#endif
