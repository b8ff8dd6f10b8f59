// The one way in which a stale dominator tree gets noticed: every change of an edge list sets the function's mark, and
// whoever builds the tree anew clears it.
#ifndef CFG_DOMINATOR_H
#define CFG_DOMINATOR_H

#include "ir/funinfo.h"

inline bool dominator_is_stale(const FUNINFO* f) { return f->dominator == nullptr || f->dominator_stale; }
inline void mark_dominator_stale(FUNINFO* f) { f->dominator_stale = true; }

#endif
