#include "ir/funinfo.h"

#include "driver/safealloc.h"
#include "ir/vars.h"

#include <cstring>
#include <string_view>

std::vector<SYMTAB*> functions;

namespace {

std::vector<FUNINFO*> records;                               // in order of creation
std::unordered_map<std::string_view, FUNINFO*> record_named; // keys are the records' own names

} // namespace

FUNINFO* find_FUNINFO(const char* name) {
    auto found = record_named.find(name);
    return found != record_named.end() ? found->second : nullptr;
}

FUNINFO* find_FUNINFO_for_symbol(const SYMTAB* function) { return find_FUNINFO(skip_name_prefix(function->name)); }

FUNINFO* make_FUNINFO(const char* name) {
    if (FUNINFO* f = find_FUNINFO(name)) return f;
    auto* f = new FUNINFO;
    f->number = static_cast<uint32_t>(records.size());
    f->name = safestrdup(name);
    if (strcmp(name, "main") == 0) f->flags |= FUN_is_main;
    records.push_back(f);
    record_named.emplace(f->name, f);
    return f;
}

bool function_is_defined(const FUNINFO* f) {
    if (f->symbol == nullptr || (fileinfo != nullptr && f == fileinfo->anonymous_fun)) return false;
    return f->symbol->sclass == SC_EXTERN_DEF || f->symbol->sclass == SC_STATIC;
}

const std::vector<FUNINFO*>& all_FUNINFOs() { return records; }

void init_FUNINFO_table() {
    records.clear();
    record_named.clear();
    functions.clear();
}

FUNLIST* mkFUNLIST(FUNINFO* f, FUNLIST* next) { return new FUNLIST{f, next}; }
