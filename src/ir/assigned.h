// Which scalar variables may be read before they are assigned.
#ifndef IR_ASSIGNED_H
#define IR_ASSIGNED_H

#include "ir/symbol.h"

#include <cstdint>
#include <vector>

constexpr size_t max_assigned_query = 64; // symbols that one query takes

// A bit for each of the symbols (in their order) that some path of the function `f` reads before it has assigned the
// whole of it. With `calls_forget`, an assignment counts only up to the next call. The symbols must be scalars that are
// accessed by name alone. Needs statements in blocks and exact predecessors; uses the first link of the symbols, which
// must be null and is null again afterwards. Cost: a walk over the nodes; blocks times the nesting of loops.
uint64_t read_before_assigned(const FUNINFO* f, const std::vector<SYMTAB*>& symbols, bool calls_forget);

#endif
