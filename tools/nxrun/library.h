// The library functions that a program may call without defining them.
#ifndef NXRUN_LIBRARY_H
#define NXRUN_LIBRARY_H

#include "bytecode.h"

#include <string>

struct LIBRARY_ENTRY {
    const char* name;      // as in C
    const char* signature; // result, ':', parameters, '.' if variadic; letters in library.def
    LIBRARY_HANDLER handler;
};

// The entry of that name, or null.
const LIBRARY_ENTRY* find_library_function(const std::string& name);
SIGNATURE library_signature(const LIBRARY_ENTRY&);

// Calls a comparison function: the result is its int.
int call_comparison(VM&, ADDRESS function, ADDRESS a, ADDRESS b);

// Text of a printf format with the arguments in the variadic area.
std::u16string format_text(VM&, ADDRESS format, ADDRESS area);

#define LIB(name, signature) void lib_##name(VM&, int64_t*);
#include "library.def"

#endif
