// PROGRAM_GEN: globals, initialisers, and what the functions of a program share.
#include "gen.h"

#include "library.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>

// ----------------------------------------------------------------------------------------------------------- kinds

VKIND kind_of(const TYPE* type) {
    if (type == nullptr) return V_BAD;
    const TYPE* d = type->descriptor;
    switch (d->kind) {
    case TYPE::K_VOID: return V_VOID;
    case TYPE::K_INTEGRAL:
    case TYPE::K_ENUM: {
        bool is_signed = type->is_signed() && !type->is_bool();
        switch (d->size_bits) {
        case 16: return is_signed ? V_H : V_UH;
        case 32: return is_signed ? V_W : V_UW;
        case 64: return is_signed ? V_L : V_UL;
        default: return V_BAD;
        }
    }
    case TYPE::K_FLOAT: return d->size_bits == 32 ? V_F : d->size_bits == 64 ? V_D : V_BAD;
    case TYPE::K_POINTER:
    case TYPE::K_REFERENCE: return d->size_bits == 32 ? V_UW : d->size_bits == 16 ? V_UH : V_BAD;
    case TYPE::K_CLASS:
    case TYPE::K_STRUCT:
    case TYPE::K_UNION: return V_BLOCK;
    case TYPE::K_ARRAY: return d->array != nullptr && d->array->vector ? V_BAD : V_BLOCK;
    case TYPE::K_FUNC: return V_FUNC;
    default: return V_BAD;
    }
}

uint32_t units_of(const TYPE* type) { return (type->descriptor->size_bits + 15) / 16; }

int64_t normalized(int64_t value, VKIND k) {
    switch (k) {
    case V_H: return static_cast<int16_t>(value);
    case V_UH: return static_cast<uint16_t>(value);
    case V_W: return static_cast<int32_t>(value);
    case V_UW:
    case V_F: return static_cast<uint32_t>(value);
    default: return value;
    }
}

VKIND promoted(VKIND k) { return k == V_H || k == V_UH ? V_W : k; }

VKIND combined(VKIND a, VKIND b) {
    if (a == V_D || b == V_D) return V_D;
    if (a == V_F || b == V_F) return V_F;
    a = promoted(a);
    b = promoted(b);
    return std::max(a, b); // the wider one, and of two of one width the unsigned one
}

namespace {

template <typename T> int64_t cut_to(double v) {
    if (std::isnan(v)) return 0;
    v = std::trunc(v);
    if (v < static_cast<double>(std::numeric_limits<T>::min()))
        return static_cast<int64_t>(std::numeric_limits<T>::min());
    if (v >= std::ldexp(1.0, std::numeric_limits<T>::digits))
        return static_cast<int64_t>(std::numeric_limits<T>::max());
    return static_cast<int64_t>(static_cast<T>(v));
}

int64_t integer_of_float(double v, VKIND to) {
    switch (to) {
    case V_H: return cut_to<int16_t>(v);
    case V_UH: return cut_to<uint16_t>(v);
    case V_W: return cut_to<int32_t>(v);
    case V_UW: return cut_to<uint32_t>(v);
    case V_UL: return cut_to<uint64_t>(v);
    default: return cut_to<int64_t>(v);
    }
}

} // namespace

int64_t converted_constant(int64_t value, VKIND from, VKIND to) {
    if (from == to) return value;
    if (is_float_kind(from)) {
        double d = from == V_F ? std::bit_cast<float>(static_cast<uint32_t>(value)) : std::bit_cast<double>(value);
        if (to == V_D) return std::bit_cast<int64_t>(d);
        if (to == V_F) return std::bit_cast<uint32_t>(static_cast<float>(d));
        return integer_of_float(d, to);
    }
    bool big = from == V_UL;
    if (to == V_D)
        return std::bit_cast<int64_t>(big ? static_cast<double>(static_cast<uint64_t>(value))
                                          : static_cast<double>(value));
    if (to == V_F)
        return std::bit_cast<uint32_t>(big ? static_cast<float>(static_cast<uint64_t>(value))
                                           : static_cast<float>(value));
    return normalized(value, to);
}

std::string c_name(const SYMTAB* s) { return s->name[0] == '_' || s->name[0] == '.' ? s->name + 1 : s->name; }

// ---------------------------------------------------------------------------------------------------- shared tables

PROGRAM_GEN::PROGRAM_GEN(UNIT& u, PROGRAM& p, MEMORY& m, const GEN_OPTIONS& o)
    : unit(u), program(p), mem(m), options(o) {}

void PROGRAM_GEN::enter_file_of(const SYMTAB* s) { file_ = unit.linkage.empty() ? 0 : unit.linkage[s->word[0]].file; }

std::string PROGRAM_GEN::key_of(const SYMTAB* s) const {
    return unit.linkage.empty() ? c_name(s) : unit.linkage[s->word[0]].key;
}

ADDRESS PROGRAM_GEN::text_address(const char* bytes, uint32_t n) {
    std::string text(bytes, n);
    auto [it, is_new] = texts_.try_emplace(text, 0);
    if (is_new) {
        it->second = mem.new_static(n, 2, "string literal");
        for (uint32_t i = 0; i < n; ++i) mem.units[it->second + i] = static_cast<unsigned char>(text[i]);
        mem.set_state(it->second, n, UNIT_WRITTEN);
    }
    return it->second;
}

uint32_t PROGRAM_GEN::text_number(const std::string& text) {
    auto [it, is_new] = text_numbers_.try_emplace(text, static_cast<uint32_t>(program.texts.size()));
    if (is_new) program.texts.push_back(text);
    return it->second;
}

uint32_t PROGRAM_GEN::signature_number(const SIGNATURE& s) {
    auto it = std::find(program.signatures.begin(), program.signatures.end(), s);
    if (it == program.signatures.end()) {
        program.signatures.push_back(s);
        return static_cast<uint32_t>(program.signatures.size() - 1);
    }
    return static_cast<uint32_t>(it - program.signatures.begin());
}

void PROGRAM_GEN::mismatch(const std::string& where, const std::string& what) {
    constexpr size_t most = 20;
    if (options.strict && mismatches_.size() < most) mismatches_.push_back(unit.files[file_] + ": " + where + what);
}

// ----------------------------------------------------------------------------------------------------------- globals

SIGNATURE PROGRAM_GEN::signature_of_definition(const SOURCE_FUNCTION& f) {
    SIGNATURE s;
    std::string name = "function '" + c_name(f.symbol) + "': ";
    const TYPE* result = f.symbol->otype->descriptor->func->return_type;
    s.result = kind_of(result);
    if (s.result == V_BAD || s.result == V_FUNC) fail(name, "type of the result is not supported");
    if (s.result == V_BLOCK) s.result_units = units_of(result);
    for (const SYMTAB* p : f.params) {
        if (s.variadic) fail(name, std::string("parameter '") + p->name + "' behind the variadic area");
        if (p->sclass == SC_PARM_VARARGS) {
            s.variadic = true;
            continue;
        }
        VKIND k = kind_of(p->otype);
        if (!is_scalar_kind(k) && k != V_BLOCK)
            fail(name, std::string("type of parameter '") + p->name + "' is not supported");
        s.params.push_back(k);
        s.param_units.push_back(k == V_BLOCK ? units_of(p->otype) : 0);
    }
    return s;
}

// Whether a function type that says what it takes says the same as the library.
static bool agrees_with(const FUNC_PART& type, const SIGNATURE& library) {
    if (!type.proto) return true;
    SIGNATURE s;
    s.result = kind_of(type.return_type);
    if (s.result == V_BLOCK) s.result_units = units_of(type.return_type);
    s.variadic = type.vararg;
    for (const auto& p : type.params) s.params.push_back(kind_of(p.type));
    s.param_units.resize(s.params.size());
    return s == library;
}

void PROGRAM_GEN::declare_function(SYMTAB* s, bool has_body) {
    std::string name = c_name(s);
    GLOBAL& g = globals_[s->word[0]];
    auto [it, is_new] = functions_by_key_.try_emplace(key_of(s), nullptr);
    if (is_new || (has_body && it->second->defined)) {
        auto f = std::make_unique<FUNCTION>();
        f->name = name;
        f->address = MEMORY::function_base + static_cast<ADDRESS>(program.functions.size()) * MEMORY::function_step;
        it->second = f.get();
        program.functions.push_back(std::move(f));
    }
    g.function = it->second;
    g.at = g.function->address;
    if (has_body) g.function->defined = true;
    // A weak declaration without a definition is null.
    if (!g.function->defined && unit.weak.count(s) != 0 && find_library_function(name) == nullptr) g.at = 0;
}

void PROGRAM_GEN::declare_object(SYMTAB* s) {
    std::string name = c_name(s);
    GLOBAL& g = globals_[s->word[0]];
    VKIND k = kind_of(s->otype);
    if (k == V_BAD || k == V_VOID) fail("object '" + name + "': ", "type is not supported");
    uint32_t units = units_of(s->otype);
    uint32_t align = std::max(s->aln, 32u) / 16;
    if (s->sclass != SC_EXTERN_DECL) {
        g.at = mem.new_static(units, align, name);
        mem.set_state(g.at, units, UNIT_VALUE);
        if (s->sclass == SC_EXTERN_DEF) objects_by_key_.emplace(key_of(s), g.at);
        return;
    }
    if (auto it = objects_by_key_.find(key_of(s)); it != objects_by_key_.end()) {
        g.at = it->second;
        return;
    }
    if (unit.weak.count(s) != 0 && !is_library_object(name)) return; // null
    g.at = mem.new_static(std::max(units, 2u), align, name);
    objects_by_key_.emplace(key_of(s), g.at);
    // The library's own objects. A stream is the address of an object that nobody looks into.
    const std::pair<const char*, ADDRESS*> streams[] = {
        {"stdin", &program.stdin_handle}, {"stdout", &program.stdout_handle}, {"stderr", &program.stderr_handle}};
    for (auto& [stream, handle] : streams)
        if (name == stream && units == 2) {
            *handle = mem.new_static(2, 2, name);
            mem.write_n(g.at, *handle, 2);
            return;
        }
    if (name == "errno" && units == 2) {
        program.errno_object = g.at;
        mem.write_n(g.at, 0, 2);
        return;
    }
    // An array of streams: standard input, output, error.
    if (name == "_ftable" || name == "ftable") {
        uint32_t each = s->otype->is_array() && s->otype->elem_type() != nullptr ? units_of(s->otype->elem_type()) : 2;
        program.stdin_handle = g.at;
        program.stdout_handle = g.at + each;
        program.stderr_handle = g.at + 2 * each;
        return;
    }
    mem.set_state(g.at, std::max(units, 2u), UNIT_FREE); // every access is reported
}

void PROGRAM_GEN::declare_globals() {
    std::unordered_map<const SYMTAB*, const SOURCE_FUNCTION*> bodies;
    for (const SOURCE_FUNCTION& f : unit.functions)
        if (!bodies.emplace(f.symbol, &f).second) fail("function '" + c_name(f.symbol) + "': ", "has two bodies");
    globals_.resize(unit.globals.size());
    for (size_t i = 0; i < unit.globals.size(); ++i) unit.globals[i]->word[0] = static_cast<uint32_t>(i);
    // Definitions first, so that a declaration of the same name finds them.
    for (int pass = 0; pass < 2; ++pass)
        for (SYMTAB* s : unit.globals) {
            bool is_function = s->otype->is_func();
            bool is_definition = is_function ? bodies.count(s) != 0 : s->sclass != SC_EXTERN_DECL;
            if (is_definition != (pass == 0)) continue;
            enter_file_of(s);
            if (is_function)
                declare_function(s, is_definition);
            else
                declare_object(s);
        }
    for (const SOURCE_FUNCTION& f : unit.functions) {
        file_ = f.file;
        function_at(f.symbol)->signature = signature_of_definition(f);
    }
    for (auto& f : program.functions) {
        if (f->defined) continue;
        const LIBRARY_ENTRY* entry = find_library_function(f->name);
        if (entry == nullptr) continue;
        f->handler = entry->handler;
        f->signature = library_signature(*entry);
    }
    for (const SYMTAB* s : unit.globals) {
        const FUNCTION* f = function_at(s);
        if (f == nullptr || f->handler == nullptr || agrees_with(*s->otype->descriptor->func, f->signature)) continue;
        enter_file_of(s);
        mismatch("function '" + f->name + "': ", "declared otherwise than the library has it");
    }
}

// ------------------------------------------------------------------------------------------------------ initialisers

int64_t PROGRAM_GEN::static_address(const NODE* n, const std::string& where, int depth) {
    if (n == nullptr || depth > 100) fail(where, "initialiser nests too deeply");
    switch (n->op) {
    case NAME:
        if (n->u.sym == nullptr || n->u.sym->level != 0)
            fail(where, "initialiser with the address of what is no global");
        return globals_[n->u.sym->word[0]].at;
    case STDOT:
        if (n->right == nullptr || n->right->op != FIELD || n->right->mval == nullptr || n->right->mval->is_bitfield)
            fail(where, "initialiser with a member that has no address");
        return static_address(n->left, where, depth + 1) + n->right->mval->bit_offset / 16;
    case UMULT: return static_value(n->left, where, depth + 1).first;
    default: fail(where, std::string("initialiser with the address of ") + opname(n->op));
    }
}

std::pair<int64_t, VKIND> PROGRAM_GEN::static_value(const NODE* n, const std::string& where, int depth) {
    if (n == nullptr || depth > 100) fail(where, "initialiser nests too deeply");
    VKIND k = kind_of(n->type);
    switch (n->op) {
    case ICON:
    case LCON:
        if (!is_integer_kind(k)) fail(where, "integer constant of another type");
        return {normalized(n->u.lval.to_i64(), k), k};
    case FCON: {
        if (!is_float_kind(k)) fail(where, "floating constant of another type");
        double d = strtod(const_cast<NODE*>(n)->fcon_value(), nullptr);
        return {k == V_F ? int64_t{std::bit_cast<uint32_t>(static_cast<float>(d))} : std::bit_cast<int64_t>(d), k};
    }
    case SCON:
        if (k != V_UW) fail(where, "string constant of another type than pointer");
        return {text_address(n->scon_value(), n->scon_length()), V_UW};
    case SCONV:
    case PCONV: {
        if (!is_scalar_kind(k)) fail(where, "conversion to a type that is no scalar");
        auto [v, from] = static_value(n->left, where, depth + 1);
        if (n->op == SCONV && n->type->is_bool()) return {v != 0, k};
        return {converted_constant(v, from, k), k};
    }
    case PLUS:
    case MINUS: {
        int64_t a = static_value(n->left, where, depth + 1).first;
        int64_t b = static_value(n->right, where, depth + 1).first;
        if (!is_integer_kind(k)) fail(where, "sum of another type");
        return {normalized(n->op == PLUS ? a + b : a - b, k), k};
    }
    case UAND:
        if (k != V_UW) fail(where, "address of another type than pointer");
        return {normalized(static_address(n->left, where, depth + 1), V_UW), V_UW};
    default: fail(where, std::string("initialiser with ") + opname(n->op));
    }
}

void PROGRAM_GEN::initialise(SYMTAB* s, const EXPR_LIST& list) {
    std::string where = "initialiser of '" + c_name(s) + "': ";
    if (s->otype->is_func() || s->sclass == SC_EXTERN_DECL) fail(where, "not an object that the file defines");
    ADDRESS begin = globals_[s->word[0]].at;
    uint64_t at = 0, size = units_of(s->otype);
    auto room = [&](uint64_t n) {
        if (at + n > size) fail(where, "longer than the object");
    };
    for (const EXPR_CELL* cell = list.head; cell != nullptr; cell = cell->next) {
        NODE* n = cell->node;
        if (n->op == ENDINIT) return;
        if (n->op == SKIP) {
            at += n->skip_count();
            room(0);
        } else if (n->op == SCON && kind_of(n->type) == V_BLOCK) {
            uint32_t count = n->scon_length();
            room(count);
            for (uint32_t i = 0; i < count; ++i)
                mem.units[begin + at + i] = static_cast<unsigned char>(n->scon_value()[i]);
            at += count;
        } else {
            auto [v, k] = static_value(n, where, 0);
            uint32_t count = units_of_kind(k);
            room(count);
            memcpy(mem.units + begin + at, &v, size_t{count} * 2);
            at += count;
        }
    }
}

void PROGRAM_GEN::compile() {
    declare_globals();
    for (auto& [symbol, list] : unit.initialisers) {
        enter_file_of(symbol);
        initialise(symbol, *list);
    }
    for (SYMTAB* s : unit.globals)
        if (!s->otype->is_func() && s->sclass != SC_EXTERN_DECL && s->otype->is_const() && !s->otype->is_volatile())
            mem.set_state(globals_[s->word[0]].at, units_of(s->otype), UNIT_WRITTEN);
    for (const SOURCE_FUNCTION& f : unit.functions) {
        file_ = f.file;
        FUNCTION* out = function_at(f.symbol);
        if (out->code.empty()) FUNCTION_GEN(*this, f, *out).compile();
    }
    file_ = 0;
    auto it = functions_by_key_.find("main");
    if (it == functions_by_key_.end() || !it->second->defined) fail("", "no function main");
    program.main = it->second;
    const SIGNATURE& s = program.main->signature;
    if (s.params.size() > 3 || s.variadic || s.result == V_BLOCK || is_float_kind(s.result))
        fail("", "main has other parameters or another result than it may have");
    if (!mismatches_.empty()) {
        std::string all;
        for (const std::string& m : mismatches_) all += (all.empty() ? "" : "\n") + m;
        throw BAD_FILE{all};
    }
    mem.begin_run();
}
