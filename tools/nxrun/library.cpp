// The table of library functions, and what they share: see library.h.
#include "library.h"

#include "exec.h"

#include <algorithm>
#include <unordered_map>

namespace {

const LIBRARY_ENTRY entries[] = {
#define LIB(name, signature) {#name, signature, lib_##name},
#define LIB_AS(name, other, signature) {#name, signature, lib_##other},
#include "library.def"
};

VKIND kind_of_letter(char c) {
    switch (c) {
    case 'h': return V_UH;
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

bool is_library_object(const std::string& name) {
    static const char* const names[] = {"_ftable", "errno", "ftable", "stderr", "stdin", "stdout"};
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

LIBRARY_STATE::LIBRARY_STATE(VM& machine) : vm(machine), streams(machine, machine.options.library.files) {}

ADDRESS LIBRARY_STATE::text(const std::string& s) {
    ADDRESS& at = texts_[s];
    if (at != 0 || object(at, static_cast<uint32_t>(s.size() + 1)) == 0) return at;
    for (size_t i = 0; i <= s.size(); ++i)
        vm.mem.write16(at + static_cast<ADDRESS>(i), i < s.size() ? static_cast<unsigned char>(s[i]) : 0);
    return at;
}

ADDRESS LIBRARY_STATE::object(ADDRESS& at, uint32_t units) {
    if (at == 0) at = vm.mem.alloc(units);
    return at;
}

void set_errno(VM& vm, int number) {
    vm.library->error_number = number;
    if (vm.program.errno_object != 0) vm.mem.write_n(vm.program.errno_object, static_cast<uint32_t>(number), 2);
}

int get_errno(VM& vm) {
    if (vm.program.errno_object == 0) return vm.library->error_number;
    return static_cast<int>(vm.mem.read32(vm.program.errno_object));
}
