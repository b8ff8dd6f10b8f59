// The table of library functions: see library.h.
#include "library.h"

#include <unordered_map>

namespace {

const LIBRARY_ENTRY entries[] = {
#define LIB(name, signature) {#name, signature, lib_##name},
#include "library.def"
};

VKIND kind_of_letter(char c) {
    switch (c) {
    case 'i': return V_W;
    case 'I':
    case 'p': return V_UW;
    case 'l': return V_L;
    case 'L': return V_UL;
    case 'f': return V_F;
    case 'd': return V_D;
    case 'q':
    case 'Q': return V_BLOCK;
    default: return V_VOID;
    }
}

} // namespace

const LIBRARY_ENTRY* find_library_function(const std::string& name) {
    static const std::unordered_map<std::string, const LIBRARY_ENTRY*> by_name = [] {
        std::unordered_map<std::string, const LIBRARY_ENTRY*> map;
        for (const LIBRARY_ENTRY& e : entries) map.emplace(e.name, &e);
        return map;
    }();
    auto it = by_name.find(name);
    return it == by_name.end() ? nullptr : it->second;
}

SIGNATURE library_signature(const LIBRARY_ENTRY& entry) {
    SIGNATURE s;
    s.result = kind_of_letter(entry.signature[0]);
    if (s.result == V_BLOCK) s.result_units = entry.signature[0] == 'q' ? 4 : 8;
    for (const char* p = entry.signature + 2; *p != 0; ++p) {
        if (*p == '.') {
            s.variadic = true;
        } else if (*p != 'v') {
            s.params.push_back(kind_of_letter(*p));
            s.param_units.push_back(0);
        }
    }
    return s;
}
