// Pragmas of loops: #pragma MUST_ITERATE(min, max, multiple), UNROLL(n), PROB_ITERATE(min, max), PARALLEL_LOOP.
#ifndef NXPARSE_PRAGMAS_H
#define NXPARSE_PRAGMAS_H

#include "clang_pch.h"

struct LOOP_PRAGMA {
    clang::SourceLocation where;
    unsigned kind;                    // PRAGMA::KIND
    std::vector<std::string> strings; // "" for an argument left out
};

// Makes the preprocessor put every pragma of a loop that it meets at the end of `found`, in source order.
void watch_loop_pragmas(clang::Preprocessor& pp, std::vector<LOOP_PRAGMA>& found);

#endif
