// The package of types: basic types, factories, registration, and the replacing of the basic types by the file's.
#include "driver/safealloc.h"
#include "ir/types.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

uint32_t TYPE_PKG::wchar_t_size_in_bits = 16;
bool TYPE_PKG::seen_small_enums, TYPE_PKG::seen_enum_type, TYPE_PKG::seen_bitfield;
int TYPE_PKG::abi, TYPE_PKG::tp_count, TYPE_PKG::cpu_version;
bool TYPE_PKG::large_code_model, TYPE_PKG::byte_mode, TYPE_PKG::flat_memory_model;
uint32_t TYPE_PKG::tot_types, TYPE_PKG::tot_structs, TYPE_PKG::tot_enums, TYPE_PKG::tot_funcs, TYPE_PKG::tot_ptrs,
    TYPE_PKG::tot_arrays, TYPE_PKG::tot_vectors, TYPE_PKG::tot_quals, TYPE_PKG::tot_tdefs, TYPE_PKG::tot_basics,
    TYPE_PKG::tot_complexes;
TYPE* TYPE_PKG::root_type;
TYPE_PKG* tp;
uint32_t max_scalar_alignment, pointer_type_stride, max_scalar_stride;

namespace {

// Sizes, in bits, that stand until a file brings its own.
constexpr uint32_t default_int_size[12] = {32, 16, 16, 16, 16, 16, 32, 32, 32, 32, 32, 32};
constexpr uint32_t default_float_size = 32;
constexpr uint32_t default_pointer_size = 16;
constexpr char fake_prefix[] = "$$fake";
constexpr size_t fake_prefix_length = sizeof fake_prefix - 1;
unsigned fake_names;

// A file may bring names of the form that make_fake_name() makes; the running number stays beyond them, for types are
// told apart by name.
void note_name(const char* name) {
    if (!is_fake_name(name)) return;
    unsigned long number = strtoul(name + fake_prefix_length, nullptr, 10);
    if (number >= fake_names && number < UINT32_MAX) fake_names = static_cast<unsigned>(number) + 1;
}

std::string name_or_fake(const char* name) {
    if (name == nullptr || *name == 0) return make_fake_name();
    note_name(name);
    return name;
}

void set_depth(TYPE* t, const TYPE* part) {
    t->depth = part->depth + 1;
    if (t->depth > max_type_depth) tp_die("type nested too deeply");
}

uint64_t mix(uint64_t h, uint64_t v) {
    h ^= v + 0x9e3779b97f4a7c15ull + (h << 6) + (h >> 2);
    return h * 0xff51afd7ed558ccdull;
}

uint64_t mix_text(uint64_t h, const char* text) { return mix(h, std::hash<std::string_view>()(text)); }

// A number that is equal for types that exact_types() finds equal. It looks only at what can no longer change while
// lists are open, and `levels` derivations deep.
uint64_t shape(const TYPE* t, int levels) {
    uint64_t h = mix(mix(mix(t->kind, t->size_bits), t->align_bits), t->cpp);
    const TYPE* part = t->part;
    switch (t->kind) {
    case TYPE::K_INTEGRAL: return mix(h, t->ikind * 8 + t->mark_a * 4 + t->mark_b * 2 + t->mark_c);
    case TYPE::K_FLOAT: return mix(h, t->fkind);
    case TYPE::K_FIXED: h = mix(h, t->binpt); break;
    case TYPE::K_QUALIFIED: h = mix(h, t->quals); break;
    case TYPE::K_TYPEDEF:
        h = mix_text(h, t->tdef->name.c_str());
        part = t->tdef->type_named;
        break;
    case TYPE::K_ARRAY:
        h = mix(h, t->array->count);
        part = t->array->elem_type;
        break;
    case TYPE::K_FUNC:
        h = mix(h, t->func->vararg * 2 + t->func->proto);
        part = t->func->return_type;
        break;
    case TYPE::K_ENUM: return mix_text(h, t->enumeration->name.c_str());
    case TYPE::K_CLASS:
    case TYPE::K_STRUCT:
    case TYPE::K_UNION: return mix_text(h, t->csu->name.c_str());
    default: break;
    }
    return part != nullptr && levels > 0 ? mix(h, shape(part, levels - 1)) : h;
}

uint64_t registry_key(const TYPE* t, const TYPE* base) {
    constexpr int levels = 4;
    uint64_t h = mix(shape(t, levels), reinterpret_cast<uintptr_t>(base));
    if (t->kind == TYPE::K_FUNC)
        for (const fkPARAM& p : t->func->params) h = mix(h, p.type != nullptr ? shape(p.type, levels) : 0);
    return h;
}

uint32_t array_size(uint32_t elem_size, uint32_t count) {
    return static_cast<uint32_t>(std::min<uint64_t>(uint64_t{elem_size} * count, UINT32_MAX));
}

uint32_t round_up(uint32_t size, uint32_t align) {
    if (align <= 1) return size;
    return static_cast<uint32_t>(std::min<uint64_t>((uint64_t{size} + align - 1) / align * align, UINT32_MAX));
}

void delete_below(TYPE* t) {
    std::vector<TYPE*> doomed;
    t->for_each_based([&](TYPE* x) { doomed.push_back(x); });
    for (TYPE* x : doomed) delete x;
}

} // namespace

void tp_die(const char* text) {
    fflush(stdout);
    fprintf(stderr, "TP>> internal error: %s\n", text);
    end_run(1);
}

// ------------------------------------------------------------------------------------------------------ life of the
// package

TYPE_PKG* tp_alloc() {
    if (TYPE_PKG::root_type == nullptr) TYPE_PKG::root_type = new TYPE(TYPE::K_VOID, 0, 0);
    TYPE_PKG::tp_count++;
    return tp = new TYPE_PKG;
}

void tp_release() {
    if (tp == nullptr) return;
    delete tp;
    tp = nullptr;
    if (--TYPE_PKG::tp_count > 0) return;
    delete_below(TYPE_PKG::root_type);
    TYPE_PKG::root_type = nullptr;
    fake_names = 0;
}

TYPE_PKG::~TYPE_PKG() {
    for (TYPE* t : open_types) { // with what was derived from it while it was open
        delete_below(t);
    }
}

void TYPE_PKG::init_type_pkg() {
    void_type = mk_void();
    for (int k = 0; k < 12; k++) {
        ints[k] = mk_int(static_cast<TYPE::IKIND>(k), false, default_int_size[k], default_int_size[k]);
    }
    for (int k = 0; k < 3; k++) {
        floats[k] = mk_fltpt(static_cast<TYPE::FKIND>(k), default_float_size, default_float_size);
    }
    void_ptr = mk_ptr(void_type, default_pointer_size, default_pointer_size);
    normalize_basic_types();
}

void TYPE_PKG::normalize_basic_types() {
    using T = TYPE;
    for (TYPE* t : ints) t->norm = t;
    for (TYPE* t : floats) t->norm = t;
    auto same_size = [this](int a, int b) { return ints[a]->size_bits == ints[b]->size_bits; };
    auto pair_to = [this](int from, int to) {
        ints[from]->norm = ints[to]->norm;
        ints[from + 1]->norm = ints[to + 1]->norm;
    };
    if (same_size(T::I_CHAR, T::I_INT)) pair_to(T::I_CHAR, T::I_INT);
    if (same_size(T::I_LLONG, T::I_INT)) pair_to(T::I_LLONG, T::I_INT);
    if (same_size(T::I_LONG, T::I_INT)) pair_to(T::I_LONG, T::I_INT);
    if (same_size(T::I_SHORT, T::I_INT)) {
        pair_to(T::I_SHORT, T::I_INT);
    } else if (same_size(T::I_SHORT, T::I_CHAR)) {
        pair_to(T::I_SHORT, T::I_CHAR);
    }
    // wchar_t is an unsigned kind: the signed short would change what its values mean.
    if (same_size(T::I_WCHAR_T, T::I_SHORT)) ints[T::I_WCHAR_T]->norm = ints[T::I_USHORT]->norm;
    TYPE* const flt = floats[T::F_FLOAT];
    TYPE* const dbl = floats[T::F_DOUBLE];
    TYPE* const ldbl = floats[T::F_LDOUBLE];
    if (dbl->size_bits == flt->size_bits) dbl->norm = flt;
    if (ldbl->size_bits == dbl->size_bits) ldbl->norm = dbl->norm;
}

bool TYPE_PKG::adopt_basic_type(TYPE* t) {
    auto replaces = [t](const TYPE* current) {
        // Of several of one kind the first that the file brings stays.
        return t != current && !current->from_input &&
               (t->size_bits != current->size_bits || t->align_bits != current->align_bits);
    };
    if (t->kind == TYPE::K_INTEGRAL) {
        bool is_char = t->ikind == TYPE::I_CHAR || t->ikind == TYPE::I_UCHAR;
        if (t->mark_b || t->mark_c || (is_char && t->mark_a)) return false;
        TYPE*& slot = ints[t->ikind];
        // A kind that is there both with and without an explicit sign: the plain one is the basic type.
        bool plain_for_explicit = slot->mark_a && !t->mark_a;
        if (!plain_for_explicit && !replaces(slot)) return false;
        slot = t;
        return true;
    }
    if (t->kind == TYPE::K_FLOAT) {
        if (!replaces(floats[t->fkind])) return false;
        floats[t->fkind] = t;
        return true;
    }
    if (t->kind == TYPE::K_POINTER && t->part->kind == TYPE::K_VOID) {
        if (!replaces(void_ptr)) return false;
        void_ptr = t;
        return true;
    }
    return false;
}

void TYPE_PKG::basic_types_changed() {
    root_type->for_each_based([](TYPE* t) { t->norm = nullptr; });
    for (auto& t : merged_types) t->norm = nullptr;
    normalize_basic_types();
    init_types();
}

TYPE* TYPE_PKG::ptr_int() const {
    for (TYPE::IKIND k : {TYPE::I_INT, TYPE::I_SHORT, TYPE::I_LONG, TYPE::I_LLONG, TYPE::I_CHAR})
        if (ints[k]->size_bits == void_ptr->size_bits) return ints[k];
    return ints[TYPE::I_INT];
}

TYPE* TYPE_PKG::ptr_uint() const { return ints[ptr_int()->ikind + 1]; }

void init_types() {
    using T = TYPE;
    TYPE* const parts[7] = {tp->ints[T::I_CHAR],  tp->ints[T::I_SHORT],   tp->ints[T::I_INT],     tp->ints[T::I_LONG],
                            tp->ints[T::I_LLONG], tp->floats[T::F_FLOAT], tp->floats[T::F_DOUBLE]};
    std::vector<TYPE*> all(std::begin(tp->ints), std::end(tp->ints));
    all.insert(all.end(), std::begin(tp->floats), std::end(tp->floats));
    all.push_back(tp->void_ptr);
    max_scalar_alignment = 0;
    for (TYPE* t : all) max_scalar_alignment = std::max(max_scalar_alignment, t->align_bits);
    for (int i = 0; i < 7; i++) all.push_back(tp->complexes[i] = tp->mk_complex(parts[i]));
    max_scalar_stride = 0;
    for (TYPE* t : all) max_scalar_stride = std::max(max_scalar_stride, type_stride(t));
    pointer_type_stride = type_stride(tp->mk_ptr(tp->void_ptr));
    for (int k = 0; k < 12; k++) tp->wider[k] = tp->ints[k]->normalized();
    tp->contained.clear();
}

// ------------------------------------------------------------------------------------------------------ registration

void TYPE_PKG::count_type(const TYPE* t) {
    tot_types++;
    switch (t->kind) {
    case TYPE::K_CLASS:
    case TYPE::K_STRUCT:
    case TYPE::K_UNION: tot_structs++; break;
    case TYPE::K_ENUM: tot_enums++; break;
    case TYPE::K_FUNC: tot_funcs++; break;
    case TYPE::K_POINTER:
    case TYPE::K_REFERENCE:
    case TYPE::K_PTM: tot_ptrs++; break;
    case TYPE::K_ARRAY: t->array->vector ? tot_vectors++ : tot_arrays++; break;
    case TYPE::K_QUALIFIED: tot_quals++; break;
    case TYPE::K_TYPEDEF: tot_tdefs++; break;
    case TYPE::K_COMPLEX: tot_complexes++; break;
    default: tot_basics++; break;
    }
}

void TYPE_PKG::link_type(TYPE* t, TYPE* base) {
    t->base = base;
    base->based[t->map_name()].push_back(t);
    base->based_list.push_back(t);
    base->based_count++;
}

TYPE* TYPE_PKG::register_type(TYPE* t, TYPE* base) {
    t->tu = tu;
    if (!t->complete || t->uid != 0) return t;
    t->package = this;
    if (t->csu == nullptr && t->enumeration == nullptr) {
        std::vector<TYPE*>& alike = registry[registry_key(t, base)];
        if (t->based_count == 0) {
            for (TYPE* old : alike) {
                if (old == t || old->base != base || !exact_types(t, old)) continue;
                if (t->kind == TYPE::K_FUNC) {
                    // Lists may name it already: it stays as a mere link.
                    t->forward = old;
                    t->merg = true;
                    merged_types.emplace_back(t);
                } else {
                    delete t;
                }
                return old;
            }
        }
        alike.push_back(t);
    }
    t->uid = next_uid++;
    if (t->csu != nullptr) {
        uint32_t id = 0;
        for (auto& m : t->csu->members) m->id = ++id;
    }
    count_type(t);
    link_type(t, base);
    return t;
}

TYPE* TYPE_PKG::type_frozen(TYPE*& t) {
    if (t->complete && t->uid != 0) return t;
    t->complete = true;
    open_types.erase(t);
    TYPE* base = root_type;
    switch (t->kind) {
    case TYPE::K_ARRAY:
        if (t->array->elem_type != nullptr) base = t->array->elem_type;
        break;
    case TYPE::K_FUNC:
        if (t->func->return_type != nullptr) base = t->func->return_type;
        break;
    case TYPE::K_ENUM: t->enumeration->complete = true; break;
    case TYPE::K_CLASS:
    case TYPE::K_STRUCT:
    case TYPE::K_UNION: break;
    default:
        if (t->kind > TYPE::K_UNION) tp_die("bad kind: type_frozen()");
        return t;
    }
    return t = register_type(t, base);
}

TYPE* TYPE_PKG::base_type(const TYPE* t) { return t->base != nullptr ? t->base : root_type; }

void TYPE_PKG::delete_type_tree(TYPE* t, bool recursive, bool force) {
    if (!recursive && t->based_count != 0)
        tp_die("Nonrecusive type tree delete with nonempty based list:  TYPE_PKG::delete_type_tree");
    if (!force && t->refd) return;
    std::vector<TYPE*> doomed;
    t->for_each_based([&](TYPE* x) { doomed.push_back(x); });
    for (TYPE* x : doomed) {
        open_types.erase(x);
        if (x->uid == 0) continue;
        auto entry = registry.find(registry_key(x, x->base));
        if (entry != registry.end()) std::erase(entry->second, x);
    }
    if (TYPE* base = t->base) {
        auto bucket = base->based.find(t->map_name());
        bucket->second.remove(t);
        if (bucket->second.empty()) base->based.erase(bucket);
        std::erase(base->based_list, t);
        base->based_count--;
    }
    for (TYPE* x : doomed) delete x;
}

// ------------------------------------------------------------------------------------------------------ factories

// A type that is made of one other, registered under it.
TYPE* TYPE_PKG::make_part(TYPE::KIND kind, TYPE* part, uint32_t size, uint32_t align) {
    if (part == nullptr) tp_die("type without the type that it is made of");
    TYPE* t = new TYPE(kind, size, align);
    set_depth(t, part);
    t->part = part;
    t->cpp = kind == TYPE::K_REFERENCE;
    return t;
}

TYPE* TYPE_PKG::open_type(std::unique_ptr<TYPE> t) {
    t->complete = false;
    open_types.insert(t.get());
    return t.release();
}

TYPE* TYPE_PKG::mk_void() { return register_type(new TYPE(TYPE::K_VOID, 0, 0), root_type); }

TYPE* TYPE_PKG::mk_int(TYPE::IKIND kind, bool expl_sign) {
    return mk_int(kind, expl_sign, ints[kind]->size_bits, ints[kind]->align_bits);
}

TYPE* TYPE_PKG::mk_int(TYPE::IKIND kind, bool expl_sign, uint32_t size, uint32_t align, bool boolean, bool ptm) {
    TYPE* t = new TYPE(TYPE::K_INTEGRAL, size, align);
    t->ikind = kind;
    t->mark_a = expl_sign;
    t->mark_b = boolean && kind != TYPE::I_BOOL; // the built-in bool is one without the mark
    t->mark_c = ptm;
    return register_type(t, root_type);
}

TYPE* TYPE_PKG::mk_boolean_int(TYPE* t) {
    t = t->getr(TYPE::K_INTEGRAL);
    return mk_int(t->ikind, t->mark_a, t->size_bits, t->align_bits, true, t->mark_c);
}

TYPE* TYPE_PKG::mk_ptm_int(TYPE* t) {
    t = t->getr(TYPE::K_INTEGRAL);
    return mk_int(t->ikind, t->mark_a, t->size_bits, t->align_bits, t->mark_b, true);
}

TYPE* TYPE_PKG::mk_fxtpt(TYPE* underlying, uint32_t binpt) {
    return mk_fxtpt(underlying, binpt, underlying->size_bits, underlying->align_bits);
}

TYPE* TYPE_PKG::mk_fxtpt(TYPE* underlying, uint32_t binpt, uint32_t size, uint32_t align) {
    TYPE* t = make_part(TYPE::K_FIXED, underlying, size, align);
    t->binpt = binpt;
    return register_type(t, underlying);
}

TYPE* TYPE_PKG::mk_fltpt(TYPE::FKIND kind) {
    if (kind > TYPE::F_LDOUBLE) tp_die("Bad fltpt_kind: TYPE_PKG::mk_fltpt");
    return mk_fltpt(kind, floats[kind]->size_bits, floats[kind]->align_bits);
}

TYPE* TYPE_PKG::mk_fltpt(TYPE::FKIND kind, uint32_t size, uint32_t align) {
    if (kind > TYPE::F_LDOUBLE) tp_die("Bad fltpt_kind: TYPE_PKG::mk_fltpt");
    TYPE* t = new TYPE(TYPE::K_FLOAT, size, align);
    t->fkind = kind;
    return register_type(t, root_type);
}

TYPE* TYPE_PKG::mk_typedef(const char* name, bool lowered, TYPE* named, bool cpp) {
    return mk_typedef(name, lowered, named, named->size_bits, named->align_bits, cpp);
}

TYPE* TYPE_PKG::mk_typedef(const char* name, bool lowered, TYPE* named, uint32_t size, uint32_t align, bool cpp) {
    TYPE* t = make_part(TYPE::K_TYPEDEF, named, size, align);
    t->part = nullptr;
    t->cpp = cpp;
    t->descriptor = named->descriptor;
    t->tdef = std::make_unique<TYPEDEF_PART>();
    t->tdef->name = name_or_fake(name);
    t->tdef->type_named = named;
    t->tdef->lowered = lowered;
    return register_type(t, named);
}

TYPE* TYPE_PKG::mk_ptr(TYPE* to) { return mk_ptr(to, void_ptr->size_bits, void_ptr->align_bits); }

TYPE* TYPE_PKG::mk_ptr(TYPE* to, uint32_t size, uint32_t align) {
    return register_type(make_part(TYPE::K_POINTER, to, size, align), to);
}

TYPE* TYPE_PKG::mk_ref(TYPE* to) { return mk_ref(to, void_ptr->size_bits, void_ptr->align_bits); }

TYPE* TYPE_PKG::mk_ref(TYPE* to, uint32_t size, uint32_t align) {
    return register_type(make_part(TYPE::K_REFERENCE, to, size, align), to);
}

TYPE* TYPE_PKG::mk_qual(TYPE* t, uint32_t bits) {
    if (t == nullptr) tp_die("type without the type that it is made of");
    return mk_qual(t, bits, t->size_bits, t->align_bits);
}

TYPE* TYPE_PKG::mk_qual(TYPE* t, uint32_t bits, uint32_t size, uint32_t align) {
    if (t != nullptr && t->kind == TYPE::K_QUALIFIED) { // one layer holds all bits
        bits |= t->quals;
        t = t->part;
    }
    if (t != nullptr && bits == 0) return t;
    TYPE* q = make_part(TYPE::K_QUALIFIED, t, size, align);
    q->quals = bits;
    q->cpp = t->cpp;
    q->descriptor = t->descriptor;
    return register_type(q, t);
}

TYPE* TYPE_PKG::mk_ptm(TYPE* member, TYPE* cls, uint32_t size, uint32_t align) {
    TYPE* t = make_part(TYPE::K_PTM, member, size, align);
    if (cls != nullptr && cls->depth > member->depth) set_depth(t, cls);
    t->ptm_class_ = cls;
    t->cpp = true;
    return register_type(t, member);
}

TYPE* TYPE_PKG::mk_array(TYPE* elem, bool cpp) { return mk_array(elem, 0, 0, elem->align_bits, cpp, false); }

TYPE* TYPE_PKG::mk_array(TYPE* elem, uint32_t count, bool cpp) {
    return mk_array(elem, count, array_size(elem->size_bits, count), elem->align_bits, cpp, true);
}

TYPE* TYPE_PKG::mk_array(TYPE* elem, uint32_t count, uint32_t size, uint32_t align, bool cpp) {
    return mk_array(elem, count, size, align, cpp, true);
}

namespace {

TYPE* fill_array(TYPE* t, uint32_t count, bool cpp, bool bound_known, bool vector) {
    t->array = std::make_unique<ARRAY_PART>();
    t->array->elem_type = std::exchange(t->part, nullptr);
    t->array->count = count;
    t->array->complete = bound_known;
    t->array->vector = vector;
    t->cpp = cpp;
    return t;
}

} // namespace

TYPE* TYPE_PKG::mk_array(TYPE* elem, uint32_t count, uint32_t size, uint32_t align, bool cpp, bool bound_known) {
    return register_type(fill_array(make_part(TYPE::K_ARRAY, elem, size, align), count, cpp, bound_known, false), elem);
}

TYPE* TYPE_PKG::mk_vector(TYPE* elem, bool cpp, uint32_t count) {
    uint32_t size = array_size(elem->size_bits, count);
    return mk_vector(elem, cpp, count, size, size);
}

TYPE* TYPE_PKG::mk_vector(TYPE* elem, bool cpp, uint32_t count, uint32_t size, uint32_t align) {
    return register_type(fill_array(make_part(TYPE::K_ARRAY, elem, size, align), count, cpp, true, true), elem);
}

TYPE* TYPE_PKG::mk_func(TYPE* ret, bool cpp, bool vararg, bool proto, TYPE::CC_KIND cc, uint32_t size, uint32_t align) {
    if (ret == nullptr) ret = void_type;
    auto t = std::make_unique<TYPE>(TYPE::K_FUNC, size, align);
    set_depth(t.get(), ret);
    t->cpp = cpp;
    t->func = std::make_unique<FUNC_PART>();
    t->func->return_type = ret;
    t->func->cc_kind = cc;
    t->func->vararg = vararg;
    t->func->proto = proto;
    return open_type(std::move(t));
}

TYPE* TYPE_PKG::mk_enum(const char* name, TYPE* underlying, bool cpp) {
    if (underlying == nullptr) underlying = ints[TYPE::I_INT];
    return mk_enum(name, underlying, underlying->size_bits, underlying->align_bits, cpp);
}

TYPE* TYPE_PKG::mk_enum(const char* name, TYPE* underlying, uint32_t size, uint32_t align, bool cpp) {
    if (underlying == nullptr) underlying = ints[TYPE::I_INT];
    if (!underlying->is_integral()) tp_die("enum type whose underlying type is no integer");
    auto t = std::make_unique<TYPE>(TYPE::K_ENUM, size, align);
    set_depth(t.get(), underlying);
    t->cpp = cpp;
    t->enumeration = std::make_unique<ENUM_PART>();
    t->enumeration->underlying_type = underlying;
    t->enumeration->name = name_or_fake(name);
    seen_enum_type = true;
    if (size < ints[TYPE::I_INT]->size_bits) seen_small_enums = true;
    return open_type(std::move(t));
}

TYPE* TYPE_PKG::open_csu(TYPE::KIND kind, const char* name, uint32_t size, uint32_t align, bool cpp,
                         uint32_t class_word, bool is_complete, bool lowered, bool struct_vector) {
    auto t = std::make_unique<TYPE>(kind, size, align);
    t->cpp = cpp;
    t->csu = std::make_unique<CSU_PART>();
    t->csu->name = name_or_fake(name);
    t->csu->class_word = class_word;
    t->csu->complete = is_complete;
    t->csu->low = lowered;
    t->csu->is_struct_vector = struct_vector;
    return open_type(std::move(t));
}

TYPE* TYPE_PKG::mk_class(const char* name) { return mk_class(name, 0, 0, true, 0, false, false, false); }
TYPE* TYPE_PKG::mk_struct(const char* name) { return mk_struct(name, 0, 0, false, 0, false, false, false); }
TYPE* TYPE_PKG::mk_union(const char* name) { return mk_union(name, 0, 0, false, 0, false, false, false); }

TYPE* TYPE_PKG::mk_class(const char* name, uint32_t size, uint32_t align, bool cpp, uint32_t class_word, bool complete,
                         bool lowered, bool struct_vector) {
    return open_csu(TYPE::K_CLASS, name, size, align, cpp, class_word, complete, lowered, struct_vector);
}

TYPE* TYPE_PKG::mk_struct(const char* name, uint32_t size, uint32_t align, bool cpp, uint32_t class_word, bool complete,
                          bool lowered, bool struct_vector) {
    return open_csu(TYPE::K_STRUCT, name, size, align, cpp, class_word, complete, lowered, struct_vector);
}

TYPE* TYPE_PKG::mk_union(const char* name, uint32_t size, uint32_t align, bool cpp, uint32_t class_word, bool complete,
                         bool lowered, bool struct_vector) {
    return open_csu(TYPE::K_UNION, name, size, align, cpp, class_word, complete, lowered, struct_vector);
}

TYPE* TYPE_PKG::mk_complex(TYPE* part) { return mk_complex(part, array_size(part->size_bits, 2), part->align_bits); }

TYPE* TYPE_PKG::mk_complex(TYPE* part, uint32_t size, uint32_t align) {
    if (part != nullptr && !part->is_integral() && !part->is_fltpt())
        tp_die("complex type of a part that is no number");
    return register_type(make_part(TYPE::K_COMPLEX, part, size, align), part);
}

TYPE* complex_type_for_part(TYPE* part) { return tp->mk_complex(part); }

TYPE* TYPE_PKG::mk_vpred(TYPE* elem) {
    constexpr uint32_t vpred_bits = 64;
    TYPE*& made = vpreds[elem->uid];
    if (made != nullptr) return made;
    TYPE* t = mk_struct("__norvex_vpred_tp", vpred_bits, vpred_bits, false, 0, true, false, false);
    TYPE* field = mk_array(elem, 1, false);
    add_member(t, std::make_unique<fkMDATA>("__vpred_field", field, 0, field->size_bits, false));
    return made = type_frozen(t);
}

void TYPE_PKG::add_param(TYPE* t, fkPARAM p) {
    t->check_nfrozen();
    (t->func != nullptr ? t->func->params : t->getr_csu()->csu->template_params).push_back(std::move(p));
}

void TYPE_PKG::add_etor(TYPE* t, fkETOR e) {
    t->check_nfrozen();
    t->getr(TYPE::K_ENUM)->enumeration->etors.push_back(std::move(e));
}

fkMDATA* TYPE_PKG::add_member(TYPE* t, std::unique_ptr<fkMDATA> m) {
    t->check_nfrozen();
    auto& members = t->getr_csu()->csu->members;
    fkMDATA* added = m.get();
    if (!members.empty()) members.back()->next = added;
    members.push_back(std::move(m));
    return added;
}

fkMDATA::fkMDATA(const char* member_name, TYPE* t, int32_t offset_bits, uint32_t size_bits, bool bitfield)
    : type(t), name(member_name), bit_offset(offset_bits), bit_size(size_bits), is_bitfield(bitfield) {
    if (bitfield) TYPE_PKG::seen_bitfield = true;
}

// ------------------------------------------------------------------------------------------------------ derived
// requests

TYPE* TYPE_PKG::basic_int(TYPE* t) {
    t = t->descriptor;
    TYPE* basic = ints[t->ikind];
    return basic->size_bits == t->size_bits && !t->mark_c ? basic : t;
}

namespace {

// The integer of the other sign: the basic type of the sibling kind, at the type's own width.
TYPE* other_sign(TYPE_PKG* pkg, TYPE* t, bool packed) {
    using T = TYPE;
    constexpr uint32_t packed_alignment = 16;
    TYPE* d = t->descriptor;
    T::IKIND kind;
    switch (d->ikind) {
    case T::I_BOOL: // no sibling: the first signed kind that is as wide
    case T::I_WCHAR_T:
        kind = T::I_INT;
        for (T::IKIND k : {T::I_LLONG, T::I_LONG, T::I_INT, T::I_SHORT, T::I_CHAR})
            if (pkg->ints[k]->size_bits == d->size_bits) kind = k;
        break;
    case T::I_CHAR:
    case T::I_SHORT:
    case T::I_INT:
    case T::I_LONG:
    case T::I_LLONG: kind = static_cast<T::IKIND>(d->ikind + 1); break;
    default: kind = static_cast<T::IKIND>(d->ikind - 1); break;
    }
    TYPE* basic = pkg->ints[kind];
    if (packed) return pkg->mk_int(kind, false, d->size_bits, packed_alignment);
    if (basic->size_bits == d->size_bits) return basic;
    return pkg->mk_int(kind, false, d->size_bits, d->align_bits);
}

TYPE* with_sign(TYPE_PKG* pkg, TYPE* t, bool is_signed) {
    bool packed = (t->qual_kind() & QUAL_PACKED) != 0;
    if (t->is_enum()) t = t->underlying_type();
    if (!t->is_integral() || t->is_signed() == is_signed) return t;
    return other_sign(pkg, t, packed || (t->qual_kind() & QUAL_PACKED) != 0);
}

} // namespace

TYPE* TYPE_PKG::mk_unsigned(TYPE* t) { return with_sign(this, t, false); }
TYPE* TYPE_PKG::mk_signed(TYPE* t) { return with_sign(this, t, true); }

TYPE* TYPE_PKG::replace_array_elem(TYPE* array, const TYPE* old_elem, TYPE* new_elem) {
    if (array == old_elem) return new_elem;
    switch (array->kind) {
    case TYPE::K_QUALIFIED: {
        TYPE* inner = replace_array_elem(array->part, old_elem, new_elem);
        return mk_qual(inner, array->quals, inner->size_bits, inner->align_bits);
    }
    case TYPE::K_TYPEDEF: return replace_array_elem(array->tdef->type_named, old_elem, new_elem);
    case TYPE::K_ARRAY: break;
    default: tp_die("replace_array_elem:  can't find element");
    }
    const ARRAY_PART& a = *array->array;
    TYPE* elem = replace_array_elem(a.elem_type, old_elem, new_elem);
    if (elem == a.elem_type) return array;
    bool same = elem->size_bits == a.elem_type->size_bits;
    uint32_t size = same ? array->size_bits : array_size(elem->size_bits, a.count);
    if (a.vector) return mk_vector(elem, array->cpp, a.count, size, array->align_bits);
    return mk_array(elem, a.count, size, elem->align_bits, array->cpp, a.complete);
}

TYPE* TYPE_PKG::remove_known_qual(TYPE* t, uint32_t bits) {
    if ((t->qual_kind() & bits) == 0) return t;
    uint32_t rest = t->qual_kind() & ~bits;
    TYPE* plain = t->stqs();
    return rest != 0 ? mk_qual(plain, rest, t->size_bits, t->align_bits) : plain;
}

// ------------------------------------------------------------------------------------------------------ names

bool is_fake_name(const char* name) { return strncmp(name, fake_prefix, fake_prefix_length) == 0; }

std::string make_fake_name() { return fake_prefix + std::to_string(fake_names++); }

std::string TYPE_PKG::demangle_type_name(const char* name, bool, bool* is_cpp) {
    if (is_cpp != nullptr) *is_cpp = false;
    return name;
}

int TYPE_PKG::compare_type_names(TYPE* a, TYPE* b) { return strcmp(a->name(), b->name()); }

// Running numbers differ from unit to unit; the form without the number does not.
std::string TYPE_PKG::fix_fake_name(const char* name) {
    if (!is_fake_name(name)) return name;
    const char* rest = name + fake_prefix_length;
    while (*rest >= '0' && *rest <= '9') rest++;
    return std::string(fake_prefix) + rest;
}

const std::string& TYPE::map_name() {
    if (!map_name_.empty()) return map_name_;
    TYPE* t = this;
    while (t->kind == K_QUALIFIED) t = t->part;
    const char* what = nullptr;
    switch (t->kind) {
    case K_TYPEDEF: what = "typedef"; break;
    case K_ENUM: what = "enum"; break;
    case K_CLASS:
    case K_STRUCT: what = "struct"; break;
    case K_UNION: what = "union"; break;
    default: return map_name_ = "__builtin_type";
    }
    const char* own = t->name();
    if (is_fake_name(own)) return map_name_ = std::string(fake_prefix) + what;
    return map_name_ = tp->demangle_type_name(own, true, nullptr);
}

uint32_t type_stride(TYPE* t) { return round_up(t->size_bits, t->align_bits); }

bool get_container_offset_for_field(uint32_t container_bits, uint32_t alignment, uint32_t bit_offset,
                                    uint32_t field_bits, uint32_t& offset) {
    (void)container_bits;
    (void)field_bits;
    offset = alignment > 1 ? bit_offset - bit_offset % alignment : bit_offset;
    return offset <= bit_offset;
}

bool is_legal_container_for_field(TYPE* container, TYPE* field_type, uint32_t bit_offset, uint32_t bits,
                                  bool allow_cross, uint32_t& offset) {
    if (container->size_bits != field_type->size_bits || container->align_bits > field_type->align_bits) return false;
    if (!get_container_offset_for_field(container->size_bits, container->align_bits, bit_offset, bits, offset))
        return false;
    return allow_cross || uint64_t{bit_offset} + bits <= uint64_t{offset} + container->size_bits;
}
