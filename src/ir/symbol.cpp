#include "ir/symbol.h"

#include "driver/safealloc.h"
#include "ir/funinfo.h"
#include "ir/ls.h"
#include "ir/opt_expr.h"
#include "ir/pragma.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>
#include <boost/unordered_set.hpp>
#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

SYMTAB* global_symbols;
SYMTAB* errno_symbol;

namespace {

constexpr const char* internal_prefix = "$O";
constexpr const char* temp_prefix = "$O$";

// External definitions by name, for declarations that look for theirs.
std::unordered_map<std::string, std::vector<SYMTAB*>> definitions;
std::unordered_map<std::string_view, SYMTAB*> globals_by_name; // without prefix; the newest of a name
uint32_t global_count;                                         // globals made so far: the sequence number of the next

// ------------------------------------------------------------------------------------------------------- interning

struct INTERNED_SYM {
    SYMTAB* symbol;
    FUNINFO* funinfo; // null if the symbol was interned outside any function
};

size_t hash_text(const char* text) {
    size_t h = 0;
    for (; *text != 0; text++) h ^= static_cast<signed char>(*text) + (h << 6) + (h >> 2) + 0x9E3779B9;
    return h;
}

void mix(size_t& h, size_t value) { h ^= value + 0x9E3779B9 + (h << 6) + (h >> 2); }

// The function enters by its number, not by its address: the layout of the table is the same in every run.
struct INTERNED_HASH {
    size_t operator()(const INTERNED_SYM& key) const {
        size_t h = key.symbol->index + size_t{0x9E3779B9};
        mix(h, hash_text(key.symbol->name));
        mix(h, hash_text(key.symbol->type->print().c_str()));
        mix(h, key.funinfo != nullptr ? key.funinfo->number + size_t{1} : 0);
        return h;
    }
};
struct INTERNED_EQUAL {
    bool operator()(const INTERNED_SYM& a, const INTERNED_SYM& b) const {
        return a.funinfo == b.funinfo && a.symbol->index == b.symbol->index &&
               strcmp(a.symbol->name, b.symbol->name) == 0 && compatible_types(a.symbol->type, b.symbol->type, false);
    }
};

boost::unordered_set<INTERNED_SYM, INTERNED_HASH, INTERNED_EQUAL> interned;
std::vector<INTERNED_SYM> interned_in_order;

// ------------------------------------------------------------------------------------------------------ definition

// The names of the C library's error variable, with and without the prefix of file-scope names.
bool is_errno_name(const char* name) {
    const char* bare = skip_name_prefix(name);
    for (const char* n : {name, bare})
        if (strcmp(n, "errno") == 0 || strcmp(n, "_Errno") == 0) return true;
    return false;
}

void define_global(SYMTAB* sym) {
    sym->next = global_symbols;
    global_symbols = sym;
    globals_by_name[skip_name_prefix(sym->name)] = sym;
    if (sym->sclass == SC_EXTERN_DEF) definitions[sym->name].push_back(sym);
    if (errno_symbol == nullptr && sym->type->is_int() && is_errno_name(sym->name)) errno_symbol = sym;
}

void define_local(SYMTAB* sym) {
    if (sym->level > 1) sym->level = 2;
    if (sym->sclass == SC_REGISTER || sym->sclass == SC_REGISTER2) sym->sclass = SC_AUTO;
    if (sym->sclass == SC_PARM_VARARGS) currfuninfo->flags |= FUN_cannot_beta | FUN_cannot_inline | FUN_cannot_suppress;
    if (sym->sclass == SC_OMITTED) return;
    sym->next = currfuninfo->locals;
    currfuninfo->locals = sym;
}

// Locals that take part in stack sharing: those of inner blocks that no register can hold.
bool may_share_stack(const SYMTAB* sym, int level) {
    if (level < 3 || sym->sclass == SC_OMITTED) return false;
    TYPE* type = sym->type;
    if (type->is_scalar() || type->is_void() || type->is_func()) return false;
    return !(type->is_csu() && type->descriptor->csu->is_struct_vector);
}

TYPE* normalized_for_symbol(TYPE* type) {
    if (!type->is_enum()) return type->normalized();
    TYPE* underlying = normalized_underlying_type(type);
    uint32_t quals = type->qual_kind();
    return quals != 0 ? tp->mk_qual(underlying, quals) : underlying;
}

// Until the functions are read, a global that may be written counts as aliased, written and referenced. A register has
// no address.
uint16_t cautious_quals(TYPE* type, uint16_t scqual) {
    if (opt_level() > 2 || type->is_const()) return 0;
    if (scqual & (CQ_GLOBAL_REGISTER | CQ_CREGISTER)) return CQ_REFERENCED | CQ_WRITTEN;
    return CQ_REFERENCED | CQ_WRITTEN | CQ_ALIASED;
}

} // namespace

SYMTAB::SYMTAB(const char* sym_name, uint32_t bits, uint32_t sym_offset, uint8_t storage_class, uint16_t qualifiers,
               TYPE* normalized, TYPE* declared, uint32_t alignment, PSN* position, int options)
    : name(safestrdup(sym_name)), size(bits), offset(sym_offset), sclass(storage_class),
      sclass_at_creation(storage_class), scqual(qualifiers), type(normalized), otype(declared), type2(nullptr),
      aln(alignment), psn(position), file_position(0), option_set(static_cast<uint32_t>(options)) {
    flags = SYM_ORIGINAL;
    if (sclass != SC_REGISTER && sclass != SC_PARM_REG && sclass != SC_REGISTER2) flags |= SYM_ALIASED;
    if (!(otype->is_func() || size == otype->size()))
        optassert("otype->is_func() || size == otype->size()", __FILE__, __LINE__);
}

void init_symbols() {
    global_symbols = nullptr;
    errno_symbol = nullptr;
    definitions.clear();
    globals_by_name.clear();
    global_count = 0;
    interned.clear();
    interned_in_order.clear();
    forget_autoinit_constants();
}

SYMTAB* make_symbol(const char* name, TYPE* type, TYPE* type2, uint32_t size, uint32_t aln, uint32_t offset,
                    uint8_t sclass, uint16_t scqual, PSN* psn, uint32_t position, uint32_t option_set, int level) {
    scqual &= CQ_FILE_MASK;
    if (level == 0) scqual |= cautious_quals(type, scqual);
    SYMTAB* sym = new SYMTAB(name, size, offset, sclass, scqual, normalized_for_symbol(type), type, aln, psn,
                             static_cast<int>(option_set));
    sym->type2 = type2;
    sym->file_position = position;
    sym->level = static_cast<uint8_t>(std::min(level, 255));
    if (level == 0) {
        sym->sequence = global_count++;
        sym_def(sym);
        return sym;
    }
    sym->depth = static_cast<uint32_t>(level);
    sym->sequence = sym->index = currfuninfo->local_index++;
    if (may_share_stack(sym, level)) add_stack_sharing_variable(sym);
    sym_def(sym);
    LS_add_symbol(currfuninfo->scope_cursor, sym);
    return sym;
}

void sym_def(SYMTAB* sym) {
    if (sym->level == 0)
        define_global(sym);
    else
        define_local(sym);
}

// ----------------------------------------------------------------------------------------------------------- split

namespace {

void gather(SYMTAB*& chain, std::vector<SYMTAB*>& all) {
    for (SYMTAB* sym = chain; sym != nullptr; sym = sym->next) all.push_back(sym);
    chain = nullptr;
}

bool is_register_candidate(const SYMTAB* sym) {
    return !sym->is_parameter() && sym->type->is_scalar() && !sym->type->is_volatile();
}

} // namespace

void sym_split(FUNINFO* f) {
    std::vector<SYMTAB*> all;
    gather(f->locals, all);
    gather(f->temps, all);
    gather(f->scalar_locals, all);
    gather(f->memory_locals, all);
    // Parameters, then by order of arrival. Temporaries have sequence 0 and are told apart by their index.
    std::stable_sort(all.begin(), all.end(), [](const SYMTAB* a, const SYMTAB* b) {
        if ((a->level == 1) != (b->level == 1)) return a->level == 1;
        return a->sequence != b->sequence ? a->sequence < b->sequence : a->index < b->index;
    });
    SYMTAB** scalar_end = &f->scalar_locals;
    SYMTAB** memory_end = &f->memory_locals;
    for (SYMTAB* sym : all) {
        sym->next = nullptr;
        switch (sym->sclass) {
        case SC_OMITTED: continue;
        case SC_REGISTER:
        case SC_REGISTER2: sym->sclass = SC_AUTO; break;
        case SC_PARM_VARARGS: sym->sclass = SC_PARM; break;
        case SC_AUTO:
        case SC_PARM:
        case SC_PARM_REG: break;
        default: optassert("sym->sclass is a local storage class", __FILE__, __LINE__);
        }
        SYMTAB**& end = is_register_candidate(sym) ? scalar_end : memory_end;
        *end = sym;
        end = &sym->next;
    }
}

SYMTAB* sym_temp(char kind, long n, TYPE* type, LS* scope) {
    FUNINFO* f = currfuninfo;
    if (n < 0) n = f->temp_counter++;
    char name[40];
    snprintf(name, sizeof name, "%s$%c%ld", internal_prefix, kind, n);
    if (type->is_enum()) type = tp->int_type();
    while (type->is_array()) type = type->elem_type();
    type = type->type_qualified();
    SYMTAB* sym = new SYMTAB(name, type->size(), 0, SC_AUTO, 0, type->normalized(), type, type->align(), nullptr, 0);
    sym->index = f->local_index++;
    sym->depth = sym->level = 2;
    sym->next = f->temps;
    f->temps = sym;
    if (scope == nullptr && f->scopes != nullptr) scope = LS_level_2_scope(f->scopes);
    LS_add_symbol(scope, sym);
    return sym;
}

// ----------------------------------------------------------------------------------------------------------- lists

SYMTAB* revsymtab(SYMTAB* head, SYMTAB* tail) {
    SYMTAB* reversed = tail;
    while (head != tail && head != nullptr) {
        SYMTAB* next = head->next;
        head->next = reversed;
        reversed = head;
        head = next;
    }
    return reversed;
}

namespace {
template <typename CELL> CELL* reverse_cells(CELL* list) {
    CELL* reversed = nullptr;
    while (list != nullptr) {
        CELL* next = list->next;
        list->next = reversed;
        reversed = list;
        list = next;
    }
    return reversed;
}
} // namespace

SYMLIST* revsymlist(SYMLIST* list) { return reverse_cells(list); }
SYMALIST* revsymalist(SYMALIST* list) { return reverse_cells(list); }

SYMTAB* unlink_symbol(SYMTAB* sym, SYMTAB* head) {
    for (SYMTAB** link = &head; *link != nullptr; link = &(*link)->next) {
        if (*link != sym) continue;
        *link = sym->next;
        sym->next = nullptr;
        break;
    }
    return head;
}

SYMLIST* mk_symlist(SYMTAB* sym, SYMLIST* rest) { return new SYMLIST{sym, rest}; }
SYMALIST* mk_symalist(SYMTAB* sym, NODE* node, SYMALIST* rest, int value) {
    return new SYMALIST{sym, node, rest, value};
}
SYMPAIRLIST* mk_symplist(SYMTAB* a, SYMTAB* b, SYMPAIRLIST* rest, int value) {
    return new SYMPAIRLIST{a, b, rest, value};
}

bool symbol_in_list(const SYMTAB* sym, const SYMTAB* chain) {
    while (chain != nullptr && chain != sym) chain = chain->next;
    return chain != nullptr;
}

SYMLIST* remove_sym_from_symlist(const SYMTAB* sym, SYMLIST* list) {
    for (SYMLIST** link = &list; *link != nullptr;) {
        SYMLIST* cell = *link;
        if (cell->symbol != sym) {
            link = &cell->next;
            continue;
        }
        *link = cell->next;
        delete cell;
    }
    return list;
}

SYMLIST* find_sym_in_symlist(const SYMTAB* sym, SYMLIST* list) {
    while (list != nullptr && list->symbol != sym) list = list->next;
    return list;
}

SYMPAIRLIST* find_sym_in_sympairlist(const SYMTAB* sym, SYMPAIRLIST* list) {
    while (list != nullptr && list->first != sym) list = list->next;
    return list;
}

SYMTAB* find_global(const char* name) {
    auto found = globals_by_name.find(name);
    return found != globals_by_name.end() ? found->second : nullptr;
}

SYMTAB* get_sym_def_for_decl(SYMTAB* sym) {
    if (sym == nullptr || sym->level != 0 || sym->sclass != SC_EXTERN_DECL) return sym;
    auto found = definitions.find(sym->name);
    if (found == definitions.end()) return sym;
    for (auto it = found->second.rbegin(); it != found->second.rend(); ++it)
        if ((*it)->sclass == SC_EXTERN_DEF && compatible_types(sym->type, (*it)->type, true)) return *it;
    return sym;
}

// ---------------------------------------------------------------------------------------------- copying, interning

SYMTAB* copy_symbol(const SYMTAB* from, int) {
    SYMTAB* sym = new SYMTAB(*from);
    sym->name = safestrdup(from->name);
    PRAGMA** end = &sym->pragmas;
    *end = nullptr;
    for (const PRAGMA* p = from->pragmas; p != nullptr; p = p->next) {
        *end = copy_pragma(p);
        (*end)->next = nullptr;
        end = &(*end)->next;
    }
    sym->scope = nullptr;
    sym->use_link = nullptr;
    sym->link[0] = sym->link[1] = nullptr;
    sym->next = nullptr;
    sym->init = nullptr; // the original keeps the initialiser and the value known from it
    sym->known_value = nullptr;
    return sym;
}

SYMTAB* intern_symbol(SYMTAB* sym, FUNINFO* f) {
    if (sym->level == 0) return sym;
    auto found = interned.find(INTERNED_SYM{sym, f});
    if (found != interned.end()) return found->symbol;
    INTERNED_SYM entry{copy_symbol(sym, 0), f};
    interned.insert(entry);
    interned_in_order.push_back(entry);
    return entry.symbol;
}

SYMTAB* find_interned_symbol(SYMTAB* sym) {
    if (sym->level == 0) return sym;
    auto found = interned.find(INTERNED_SYM{sym, currfuninfo});
    return found != interned.end() ? found->symbol : nullptr;
}

void map_over_interned_symbols(void (*visit)(SYMTAB*)) {
    for (size_t i = 0; i < interned_in_order.size(); i++) visit(interned_in_order[i].symbol);
}

void interned_stats() {
    auto without = std::count_if(interned_in_order.begin(), interned_in_order.end(),
                                 [](const INTERNED_SYM& entry) { return entry.funinfo == nullptr; });
    dprintf("\n%u interned symbols;  load factor %.2f, max load factor %.2f, %d with NULL funinfo.\n",
            static_cast<unsigned>(interned.size()), static_cast<double>(interned.load_factor()),
            static_cast<double>(interned.max_load_factor()), static_cast<int>(without));
}

// ----------------------------------------------------------------------------------------------------------- names

bool is_internal_name(const char* name) { return strncmp(name, internal_prefix, strlen(internal_prefix)) == 0; }
bool is_internal_symbol(const SYMTAB* sym) { return is_internal_name(sym->name); }

bool is_optimizer_temp(const char* name, char from, char to) {
    size_t n = strlen(temp_prefix);
    return strncmp(name, temp_prefix, n) == 0 && name[n] >= from && name[n] <= to;
}

bool name_has_prefix(const char* name) { return name[0] == '_' || name[0] == '.'; }
const char* skip_name_prefix(const char* name) { return name_has_prefix(name) ? name + 1 : name; }

// The mangled names of the allocation operators, of both mangling schemes.
bool is_operator_new_symbol(const SYMTAB* sym) {
    const char* name = skip_name_prefix(sym->name);
    for (const char* start : {"_Znw", "_Zna", "__nw__", "__nwa__"})
        if (strncmp(name, start, strlen(start)) == 0) return true;
    return false;
}

PRAGMA* symbol_has_pragma(const SYMTAB* sym, int kind) {
    PRAGMA* p = sym->pragmas;
    while (p != nullptr && p->kind != static_cast<uint32_t>(kind)) p = p->next;
    return p;
}

PRAGMA* remove_pragma(int kind, PRAGMA* list) {
    for (PRAGMA** link = &list; *link != nullptr;) {
        PRAGMA* p = *link;
        if (p->kind != static_cast<uint32_t>(kind)) {
            link = &p->next;
            continue;
        }
        *link = p->next;
        delete p;
    }
    return list;
}

bool sym_appears_in_EHT(const SYMTAB* sym) {
    if (currfuninfo == nullptr || currfuninfo->eht == nullptr) return false;
    for (uint32_t i = 0; i < currfuninfo->eht_size; i++) {
        const NODE* cleanup = currfuninfo->eht[i].cleanup;
        if (cleanup != nullptr && sym_appears_in_tree(sym, cleanup)) return true;
    }
    return false;
}

// ------------------------------------------------------------------------------- widened and shortened variables

namespace {

SYM_RANGE* add_range(SYM_RANGE*& list, SYMTAB* sym, TYPE* type, INT65 min, INT65 max, INT65 zeros, INT65 ones) {
    return list = new SYM_RANGE{sym, type, min, max, zeros, ones, list};
}

SYM_RANGE* find_range(SYM_RANGE* list, const SYMTAB* sym) {
    while (list != nullptr && list->symbol != sym) list = list->next;
    return list;
}

} // namespace

void widen_user_variables() {}

SYM_RANGE* make_widened_symbol_entry(SYMTAB* sym, TYPE* type, INT65 min, INT65 max, INT65 zeros, INT65 ones) {
    return add_range(currfuninfo->widened_symbols, sym, type, min, max, zeros, ones);
}
SYM_RANGE* find_widened_symbol_entry(const SYMTAB* sym) { return find_range(currfuninfo->widened_symbols, sym); }

SYM_RANGE* make_shortened_symbol_entry(SYMTAB* sym, TYPE* type) {
    INT65 min = int_type_min(type), max = int_type_max(type);
    // An unsigned type has zeros above its width; a signed one has no bit that is the same in all its values.
    INT65 zeros = min.is_negative() ? INT65() : ~max;
    return add_range(currfuninfo->shortened_symbols, sym, type, min, max, zeros, INT65());
}
SYM_RANGE* find_shortened_symbol_entry(const SYMTAB* sym) { return find_range(currfuninfo->shortened_symbols, sym); }
