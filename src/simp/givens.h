// Where facts about trees come from: conditions that hold wherever the tree in work stands.
#ifndef SIMP_GIVENS_H
#define SIMP_GIVENS_H

#include "ir/funinfo.h"
#include "ir/vars.h"
#include "simp/simp.h"

constexpr int max_givens = 32; // conditions that one query looks at, the newest first

// Calls `visit` on each condition. The givens of a loop and of the loops around it belong here, once loops have any;
// without a loop these are the function's.
template <typename F> void for_each_given(LOOP_RECORD*, F&& visit) {
    if (currfuninfo == nullptr) return;
    int seen = 0;
    for (const LIST* cell = currfuninfo->global_assertions; cell != nullptr && seen++ < max_givens; cell = cell->rest)
        visit(cell->first);
}

inline bool has_givens(LOOP_RECORD*) { return currfuninfo != nullptr && currfuninfo->global_assertions != nullptr; }

#endif
