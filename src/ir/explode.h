// What the splitting of local structs offers to other passes of this floor.
#ifndef IR_EXPLODE_H
#define IR_EXPLODE_H

#include "ir/node.h"
#include "ir/symbol.h"

#include <functional>
#include <vector>

// True for a class or struct of 1 to `limit` members that are all plain scalars, not volatile, side by side.
bool csu_type_has_only_simple_scalar_members(TYPE*, size_t limit);

// The plain assignments that do the work of the struct assignment `stasg`, one for each member, in order of the
// members: new trees, of the caller. Empty, with nothing made, if it cannot be taken apart: the type must be as above,
// and neither side's address may depend on anything that the assignments change. `address_is_taken` tells to which
// locals a pointer may exist.
std::vector<NODE*> convert_STASG_to_asgs(const NODE* stasg, const std::function<bool(const SYMTAB*)>& address_is_taken);

// The local structs of the current function that explode_auto_struct_vars() would split as the function stands now, in
// the order of its lists. Calls sym_split.
std::vector<SYMTAB*> splittable_struct_vars();

#endif
