// What a type is: accessors, tests, comparison, normal forms, promotions, limits, marking for output.
#include "ir/types.h"

#include "ir/node.h"
#include "ir/vars.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <utility>

// ------------------------------------------------------------------------------------------------------ accessors

TYPE* TYPE::final_type() {
    TYPE* t = this;
    while (t->forward != nullptr) t = t->forward;
    return t;
}

TYPE* TYPE::stds() {
    TYPE* t = this;
    while (t->kind == K_TYPEDEF) t = t->tdef->type_named;
    return t;
}

TYPE* TYPE::stqs() { return descriptor; }

TYPE* TYPE::getr(KIND k) {
    if (descriptor->kind != k) tp_die("Bad kind:  TYPE::getr()");
    return descriptor;
}

TYPE* TYPE::getd(KIND k) { return descriptor->kind == k ? descriptor : nullptr; }

TYPE* TYPE::get_csu() { return is_csu() ? descriptor : nullptr; }

TYPE* TYPE::getr_csu() {
    if (!is_csu()) tp_die("Bad kind:  TYPE::get()");
    return descriptor;
}

const char* TYPE::name() {
    TYPE* t = this;
    while (t->kind == K_QUALIFIED) t = t->part;
    if (t->tdef != nullptr) return t->tdef->name.c_str();
    if (t->enumeration != nullptr) return t->enumeration->name.c_str();
    if (t->csu != nullptr) return t->csu->name.c_str();
    return "";
}

TYPE* TYPE::type_pointed_to() {
    if (!is_ptr() && !is_ref()) tp_die("Bad kind:  TYPE::get()");
    return descriptor->part;
}

TYPE* TYPE::underlying_type() {
    if (is_enum()) return descriptor->enumeration->underlying_type;
    return getr(K_FIXED)->part;
}

TYPE* TYPE::part_type() {
    if (!is_complex()) tp_die("Bad kind:  TYPE::part_type()");
    return descriptor->part;
}

TYPE* TYPE::elem_type() {
    if (!is_array()) tp_die("orphan type:  TYPE::elem_type()");
    return descriptor->array->elem_type;
}

uint32_t TYPE::elem_count() { return getr(K_ARRAY)->array->count; }
TYPE* TYPE::return_type() { return getr(K_FUNC)->func->return_type; }
TYPE* TYPE::ptm_member() { return getr(K_PTM)->part; }
TYPE* TYPE::ptm_class() { return getr(K_PTM)->ptm_class_; }

TYPE* TYPE::type_qualified() {
    TYPE* t = stds();
    return t->kind == K_QUALIFIED ? t->part : this;
}

uint32_t TYPE::qual_kind(bool through_arrays) {
    uint32_t bits = 0;
    for (TYPE* t = this;;) {
        if (t->kind == K_QUALIFIED) {
            bits |= t->quals;
            t = t->part;
        } else if (t->kind == K_TYPEDEF) {
            t = t->tdef->type_named;
        } else if (t->kind == K_ARRAY && through_arrays) {
            t = t->array->elem_type;
        } else {
            return bits;
        }
    }
}

void TYPE::check_nfrozen() const {
    if (complete && uid != 0) tp_die("Modifying frozen type:  TYPE::check_nfrozen");
}

void TYPE::set_is_complete(bool value) {
    if (descriptor->csu != nullptr) {
        descriptor->csu->complete = value;
    } else if (descriptor->enumeration != nullptr) {
        descriptor->enumeration->complete = value;
    } else if (descriptor->array != nullptr) {
        descriptor->array->complete = value;
    } else {
        check_nfrozen();
        complete = value;
    }
}

void TYPE::set_is_lowered(bool value) {
    if (tdef != nullptr) {
        tdef->lowered = value;
    } else if (descriptor->csu != nullptr) {
        descriptor->csu->low = value;
    } else if (descriptor->enumeration != nullptr) {
        descriptor->enumeration->lowered = value;
    }
}

// ------------------------------------------------------------------------------------------------------ tests

namespace {

bool int_kind(const TYPE* t, TYPE::IKIND k) { return t->is_integral() && t->descriptor->ikind == k; }
bool float_kind(const TYPE* t, TYPE::FKIND k) { return t->is_fltpt() && t->descriptor->fkind == k; }
bool complex_int(const TYPE* t, TYPE::IKIND k) { return t->is_complex() && int_kind(t->descriptor->part, k); }
bool complex_float(const TYPE* t, TYPE::FKIND k) { return t->is_complex() && float_kind(t->descriptor->part, k); }

bool ikind_is_signed(TYPE::IKIND k) {
    return k == TYPE::I_CHAR || k == TYPE::I_SHORT || k == TYPE::I_INT || k == TYPE::I_LONG || k == TYPE::I_LLONG;
}

// The integer descriptor of an integer or enum, null for all else.
const TYPE* integer_of(const TYPE* t) {
    const TYPE* d = t->descriptor;
    if (d->kind == TYPE::K_ENUM) d = d->enumeration->underlying_type->descriptor;
    return d->kind == TYPE::K_INTEGRAL ? d : nullptr;
}

} // namespace

bool TYPE::is_bool() const { return is_integral() && (descriptor->ikind == I_BOOL || descriptor->mark_b); }
bool TYPE::is_schar() const { return int_kind(this, I_CHAR); }
bool TYPE::is_uchar() const { return int_kind(this, I_UCHAR); }
bool TYPE::is_plain_char() const { return (is_schar() || is_uchar()) && !descriptor->mark_a; }
bool TYPE::is_wchar_t() const { return int_kind(this, I_WCHAR_T); }
bool TYPE::is_short() const { return int_kind(this, I_SHORT); }
bool TYPE::is_ushort() const { return int_kind(this, I_USHORT); }
bool TYPE::is_int() const { return int_kind(this, I_INT); }
bool TYPE::is_uint() const { return int_kind(this, I_UINT); }
bool TYPE::is_long() const { return int_kind(this, I_LONG); }
bool TYPE::is_ulong() const { return int_kind(this, I_ULONG); }
bool TYPE::is_llong() const { return int_kind(this, I_LLONG); }
bool TYPE::is_ullong() const { return int_kind(this, I_ULLONG); }
bool TYPE::is_float() const { return float_kind(this, F_FLOAT); }
bool TYPE::is_double() const { return float_kind(this, F_DOUBLE); }
bool TYPE::is_ldouble() const { return float_kind(this, F_LDOUBLE); }
bool TYPE::is_cchar() const { return complex_int(this, I_CHAR); }
bool TYPE::is_cshort() const { return complex_int(this, I_SHORT); }
bool TYPE::is_cint() const { return complex_int(this, I_INT); }
bool TYPE::is_clong() const { return complex_int(this, I_LONG); }
bool TYPE::is_cllong() const { return complex_int(this, I_LLONG); }
bool TYPE::is_cfloat() const { return complex_float(this, F_FLOAT); }
bool TYPE::is_cdouble() const { return complex_float(this, F_DOUBLE); }

bool TYPE::is_signed() const {
    const TYPE* i = integer_of(this);
    return i != nullptr && ikind_is_signed(i->ikind);
}

bool TYPE::is_unsigned() const {
    const TYPE* i = integer_of(this);
    return i != nullptr && !ikind_is_signed(i->ikind);
}

bool TYPE::is_arithmetic() const {
    KIND k = descriptor->kind;
    return (k >= K_INTEGRAL && k <= K_COMPLEX) || k == K_PTM || k == K_ENUM;
}

bool TYPE::is_scalar() const { return is_arithmetic() || is_ptr() || is_ref(); }
bool TYPE::is_udt() const { return descriptor->kind >= K_ENUM; }

bool TYPE::is_vpred() const {
    return is_struct() && descriptor->csu->members.size() == 1 && descriptor->csu->name == "__norvex_vpred_tp" &&
           descriptor->csu->members[0]->name == "__vpred_field";
}

bool TYPE::is_complete() const {
    if (!complete || !descriptor->complete) return false;
    if (descriptor->csu != nullptr) return descriptor->csu->complete;
    if (descriptor->array != nullptr) return descriptor->array->complete;
    if (descriptor->enumeration != nullptr) return descriptor->enumeration->complete;
    return true;
}

bool TYPE::is_lowered() const {
    if (tdef != nullptr) return tdef->lowered;
    if (descriptor->csu != nullptr) return descriptor->csu->low;
    return descriptor->enumeration != nullptr && descriptor->enumeration->lowered;
}

int TYPE::rank() const {
    const TYPE* i = integer_of(this);
    if (i == nullptr) tp_die("Bad type: TYPE::rank()");
    constexpr int ranks[12] = {0, 1, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5};
    return ranks[i->ikind];
}

uint32_t TYPE::ekind() const {
    const TYPE* d = descriptor;
    switch (d->kind) {
    case K_VOID: return E_VOID;
    case K_INTEGRAL:
        if (d->ikind > I_ULLONG) tp_die("Bad kind: TYPE::ekind()");
        return d->ikind;
    case K_FLOAT:
        if (d->fkind > F_LDOUBLE) tp_die("Bad fkind: TYPE::ekind()");
        return E_FLOAT + static_cast<uint32_t>(d->fkind);
    case K_FIXED: return E_FIXED;
    case K_COMPLEX: return E_COMPLEX;
    case K_POINTER: return E_POINTER;
    case K_REFERENCE: return E_REFERENCE;
    case K_ARRAY: return E_ARRAY;
    case K_PTM: return E_PTM;
    case K_FUNC: return E_FUNC;
    case K_ENUM: return E_ENUM;
    case K_CLASS: return E_CLASS;
    case K_STRUCT: return E_STRUCT;
    case K_UNION: return E_UNION;
    default: tp_die("unhandled type kind: TYPE::ekind()");
    }
}

uint32_t TYPE::storage_size() const {
    if (!is_scalar()) return size_bits;
    constexpr uint32_t highest = 1u << 31;
    uint32_t size = 1;
    while (size < size_bits && size < highest) size *= 2;
    return size;
}

bool TYPE::has_flex_array_member(bool recurse) {
    // Each struct is looked at once, however often it is a member.
    std::unordered_set<TYPE*> seen;
    std::vector<TYPE*> work{descriptor};
    while (!work.empty()) {
        TYPE* t = work.back();
        work.pop_back();
        if (t->csu == nullptr || t->csu->members.empty() || !seen.insert(t).second) continue;
        TYPE* last = t->csu->members.back()->type->descriptor;
        if (t->is_struct() && !t->cpp && last->kind == K_ARRAY && last->size_bits == 0) return true;
        if (!recurse) return false;
        for (auto& m : t->csu->members) {
            TYPE* inner = m->type->descriptor;
            while (inner->kind == K_ARRAY) inner = inner->array->elem_type->descriptor;
            work.push_back(inner);
        }
    }
    return false;
}

bool struct_contains_struct(TYPE* outer, TYPE* inner) {
    outer = outer->descriptor;
    inner = inner->descriptor;
    if (outer->csu == nullptr || inner->csu == nullptr) return false;
    auto found = tp->contained.try_emplace(outer);
    auto& contained = found.first->second;
    if (found.second) {
        std::vector<TYPE*> work{outer};
        while (!work.empty()) {
            TYPE* t = work.back();
            work.pop_back();
            auto visit = [&](TYPE* member) {
                member = member->descriptor;
                while (member->kind == TYPE::K_ARRAY) member = member->array->elem_type->descriptor;
                if (member->csu != nullptr && contained.insert(member).second) work.push_back(member);
            };
            for (auto& m : t->csu->members) visit(m->type);
            for (auto& b : t->csu->base_classes)
                if (b.type != nullptr) visit(b.type);
        }
    }
    return contained.contains(inner);
}

uint32_t struct_nesting(TYPE* csu) {
    constexpr uint32_t in_work = UINT32_MAX;
    struct FRAME {
        TYPE* t;
        size_t next = 0;
        uint32_t deepest = 0;
    };
    // The struct that the n-th member or base class holds, null if it holds none.
    auto held = [](TYPE* t, size_t n) -> TYPE* {
        const CSU_PART& c = *t->csu;
        TYPE* m = n < c.members.size() ? c.members[n]->type : c.base_classes[n - c.members.size()].type;
        if (m == nullptr) return nullptr;
        for (m = m->descriptor; m->kind == TYPE::K_ARRAY;) m = m->array->elem_type->descriptor;
        return m->csu != nullptr ? m : nullptr;
    };
    csu = csu->getr_csu();
    if (csu->csu->nesting != 0) return csu->csu->nesting;
    std::vector<FRAME> stack{{csu}};
    csu->csu->nesting = in_work;
    while (!stack.empty()) {
        FRAME& f = stack.back();
        const CSU_PART& c = *f.t->csu;
        if (f.next == c.members.size() + c.base_classes.size()) {
            uint32_t nesting = f.deepest + 1;
            if (nesting > max_type_depth) tp_die("struct type nested too deeply");
            f.t->csu->nesting = nesting;
            stack.pop_back();
            if (!stack.empty()) stack.back().deepest = std::max(stack.back().deepest, nesting);
            continue;
        }
        TYPE* inner = held(f.t, f.next++);
        if (inner == nullptr) continue;
        if (inner->csu->nesting == in_work) tp_die("struct type that contains itself");
        if (inner->csu->nesting != 0) {
            f.deepest = std::max(f.deepest, inner->csu->nesting);
        } else {
            inner->csu->nesting = in_work;
            stack.push_back({inner});
        }
    }
    return csu->csu->nesting;
}

// ------------------------------------------------------------------------------------------------------ comparison

namespace {

// Types may reach themselves through parameters and members. A pair that is being compared, or was, counts as equal:
// one difference anywhere makes the whole comparison fail. Beyond the depth limit types count as different.
struct COMPARISON {
    static constexpr int max_depth = 1000;
    std::set<std::pair<TYPE*, TYPE*>> seen; // look-up only
    int depth = 0;

    bool exact(TYPE* a, TYPE* b);
    bool exact_lists(TYPE* a, TYPE* b);
    bool compatible(TYPE* a, TYPE* b, bool strict);
    bool compatible_functions(const FUNC_PART& f, const FUNC_PART& g, bool strict);
    bool equiv(TYPE* a, TYPE* b);
    bool equiv_members(const CSU_PART& a, const CSU_PART& b);

    bool note(TYPE* a, TYPE* b) { return seen.emplace(a, b).second; }
};

struct DEPTH {
    int& depth;
    explicit DEPTH(int& d) : depth(d) { depth++; }
    ~DEPTH() { depth--; }
};

template <typename V, typename F> bool all_alike(const V& a, const V& b, F&& alike) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), alike);
}

// a and b may be null
bool same_or(COMPARISON& c, TYPE* a, TYPE* b) { return a == b || (a != nullptr && b != nullptr && c.exact(a, b)); }

bool exact_mdata(COMPARISON& c, const fkMDATA* a, const fkMDATA* b) {
    return a->bit_offset == b->bit_offset && a->bit_size == b->bit_size && a->is_bitfield == b->is_bitfield &&
           a->access == b->access && a->attribute == b->attribute && a->name == b->name && same_or(c, a->type, b->type);
}

bool COMPARISON::exact_lists(TYPE* a, TYPE* b) {
    if (a->enumeration != nullptr) {
        return exact(a->enumeration->underlying_type, b->enumeration->underlying_type) &&
               all_alike(a->enumeration->etors, b->enumeration->etors,
                         [](const fkETOR& x, const fkETOR& y) { return x.name == y.name && x.value == y.value; });
    }
    const CSU_PART& p = *a->csu;
    const CSU_PART& q = *b->csu;
    return p.complete == q.complete && p.class_word == q.class_word &&
           all_alike(p.members, q.members,
                     [&](const auto& x, const auto& y) { return exact_mdata(*this, x.get(), y.get()); }) &&
           all_alike(p.base_classes, q.base_classes,
                     [&](const fkBCLASS& x, const fkBCLASS& y) {
                         return x.offset == y.offset && x.access == y.access && x.is_virtual == y.is_virtual &&
                                same_or(*this, x.type, y.type);
                     }) &&
           all_alike(p.static_data, q.static_data,
                     [&](const fkSDATA& x, const fkSDATA& y) {
                         return x.access == y.access && x.name == y.name && same_or(*this, x.type, y.type);
                     }) &&
           all_alike(p.member_funcs, q.member_funcs,
                     [&](const fkMFUNC& x, const fkMFUNC& y) {
                         return x.access == y.access && x.virtual_index == y.virtual_index && x.name == y.name &&
                                same_or(*this, x.type, y.type);
                     }) &&
           all_alike(p.template_params, q.template_params,
                     [&](const fkPARAM& x, const fkPARAM& y) {
                         return x.kind == y.kind && x.name == y.name && same_or(*this, x.type, y.type);
                     }) &&
           p.access_decls.size() == q.access_decls.size() && p.friend_funcs.size() == q.friend_funcs.size() &&
           p.friend_classes.size() == q.friend_classes.size() && p.nested_types.size() == q.nested_types.size();
}

bool COMPARISON::exact(TYPE* a, TYPE* b) {
    if (a == b) return true;
    if (a->complete != b->complete || a->kind != b->kind || a->size_bits != b->size_bits ||
        a->align_bits != b->align_bits || a->cpp != b->cpp)
        return false;
    DEPTH deeper(depth);
    if (depth > max_depth) return false;
    switch (a->kind) {
    case TYPE::K_VOID: return true;
    case TYPE::K_INTEGRAL:
        return a->ikind == b->ikind && a->mark_a == b->mark_a && a->mark_b == b->mark_b && a->mark_c == b->mark_c;
    case TYPE::K_FLOAT: return a->fkind == b->fkind;
    case TYPE::K_FIXED: return a->binpt == b->binpt && exact(a->part, b->part);
    case TYPE::K_COMPLEX:
    case TYPE::K_POINTER:
    case TYPE::K_REFERENCE: return exact(a->part, b->part);
    case TYPE::K_QUALIFIED: return a->quals == b->quals && exact(a->part, b->part);
    case TYPE::K_TYPEDEF:
        return a->tdef->lowered == b->tdef->lowered && a->tdef->name == b->tdef->name &&
               exact(a->tdef->type_named, b->tdef->type_named);
    case TYPE::K_ARRAY:
        return a->array->count == b->array->count && a->array->complete == b->array->complete &&
               a->array->vector == b->array->vector && exact(a->array->elem_type, b->array->elem_type);
    case TYPE::K_PTM: return exact(a->part, b->part) && same_or(*this, a->ptm_class_, b->ptm_class_);
    case TYPE::K_FUNC: {
        const FUNC_PART& f = *a->func;
        const FUNC_PART& g = *b->func;
        if (!a->complete || f.cc_kind != g.cc_kind || f.vararg != g.vararg || f.proto != g.proto ||
            f.params.size() != g.params.size() || !exact(f.return_type, g.return_type))
            return false;
        if (!note(a, b)) return true;
        return all_alike(f.params, g.params, [&](const fkPARAM& x, const fkPARAM& y) {
            return x.kind == y.kind && x.name == y.name && same_or(*this, x.type, y.type);
        });
    }
    case TYPE::K_ENUM:
    case TYPE::K_CLASS:
    case TYPE::K_STRUCT:
    case TYPE::K_UNION:
        // While lists are open nobody knows what will stand in them.
        if (!a->complete || strcmp(a->name(), b->name()) != 0) return false;
        return !note(a, b) || exact_lists(a, b);
    default: tp_die("unhandled type kind: exact_types()");
    }
}

bool COMPARISON::compatible_functions(const FUNC_PART& f, const FUNC_PART& g, bool strict) {
    if (f.cc_kind != g.cc_kind || !compatible(f.return_type, g.return_type, strict)) return false;
    if (!strict && !f.proto && !g.proto) return true;
    if (!strict && f.proto != g.proto) {
        const FUNC_PART& known = f.proto ? f : g;
        if (known.vararg) return false;
        return std::all_of(known.params.begin(), known.params.end(), [](const fkPARAM& p) {
            return p.type == nullptr || tp->c_integral_promotions(p.type) == p.type;
        });
    }
    return f.proto == g.proto && f.vararg == g.vararg &&
           all_alike(f.params, g.params, [&](const fkPARAM& x, const fkPARAM& y) {
               return x.type == y.type ||
                      (x.type != nullptr && y.type != nullptr && compatible(x.type, y.type, strict));
           });
}

bool COMPARISON::compatible(TYPE* a, TYPE* b, bool strict) {
    if (a == b) return true;
    if (!a->complete || !b->complete) return false;
    a = a->stds();
    b = b->stds();
    if (a == b) return true;
    auto kind_of = [](const TYPE* t) { return t->kind == TYPE::K_CLASS ? TYPE::K_STRUCT : t->kind; };
    if (kind_of(a) != kind_of(b)) return false;
    if (a->kind == TYPE::K_ARRAY && a->array->vector != b->array->vector) return false;
    if (a->is_complete() && b->is_complete()) {
        if (strict && (a->size_bits != b->size_bits || a->align_bits != b->align_bits)) return false;
        if (!strict && !a->cpp && !b->cpp && a->size_bits != b->size_bits) return false;
    }
    DEPTH deeper(depth);
    if (depth > max_depth) return false;
    switch (a->kind) {
    case TYPE::K_VOID: return true;
    case TYPE::K_INTEGRAL:
        return a->ikind == b->ikind &&
               ((a->ikind != TYPE::I_CHAR && a->ikind != TYPE::I_UCHAR) || a->mark_a == b->mark_a);
    case TYPE::K_FLOAT: return a->fkind == b->fkind;
    case TYPE::K_FIXED: return a->binpt == b->binpt && exact(a->part, b->part);
    case TYPE::K_COMPLEX:
    case TYPE::K_POINTER:
    case TYPE::K_REFERENCE: return compatible(a->part, b->part, strict);
    case TYPE::K_QUALIFIED: return a->quals == b->quals && compatible(a->part, b->part, strict);
    case TYPE::K_ARRAY:
        return (!strict || a->array->count == b->array->count) &&
               compatible(a->array->elem_type, b->array->elem_type, strict);
    case TYPE::K_PTM:
        return compatible(a->part, b->part, strict) &&
               (a->ptm_class_ == b->ptm_class_ || (a->ptm_class_ != nullptr && b->ptm_class_ != nullptr &&
                                                   compatible(a->ptm_class_, b->ptm_class_, strict)));
    case TYPE::K_FUNC: return !note(a, b) || compatible_functions(*a->func, *b->func, strict);
    case TYPE::K_ENUM:
    case TYPE::K_CLASS:
    case TYPE::K_STRUCT:
    case TYPE::K_UNION: return strcmp(a->name(), b->name()) == 0;
    default: tp_die("unhandled type: compatible_types()");
    }
}

TYPE* machine_type(TYPE* t) {
    t = t->descriptor;
    return t->kind == TYPE::K_ENUM ? t->enumeration->underlying_type->descriptor : t;
}

bool COMPARISON::equiv_members(const CSU_PART& a, const CSU_PART& b) {
    return all_alike(a.members, b.members, [&](const auto& x, const auto& y) {
        return x->bit_offset == y->bit_offset && x->bit_size == y->bit_size && x->is_bitfield == y->is_bitfield &&
               equiv(x->type, y->type);
    });
}

bool COMPARISON::equiv(TYPE* a, TYPE* b) {
    if (a == b) return true;
    a = machine_type(a);
    b = machine_type(b);
    if (a == b) return true;
    if (!a->complete || !b->complete || a->size_bits != b->size_bits || a->align_bits != b->align_bits) return false;
    if (a->is_csu() ? !b->is_csu() || a->is_union() != b->is_union() : a->kind != b->kind) return false;
    DEPTH deeper(depth);
    if (depth > max_depth) return false;
    switch (a->kind) {
    case TYPE::K_VOID:
    case TYPE::K_FLOAT: return true;
    case TYPE::K_INTEGRAL: return a->is_signed() == b->is_signed();
    case TYPE::K_FIXED: return a->binpt == b->binpt && equiv(a->part, b->part);
    case TYPE::K_COMPLEX: return equiv(a->part, b->part);
    case TYPE::K_POINTER:
    case TYPE::K_REFERENCE: return a->part->is_func() == b->part->is_func();
    case TYPE::K_ARRAY:
        return a->array->count == b->array->count && a->array->vector == b->array->vector &&
               equiv(a->array->elem_type, b->array->elem_type);
    case TYPE::K_PTM: return a->part->is_func() == b->part->is_func();
    case TYPE::K_FUNC:
        if (!note(a, b)) return true;
        return a->func->cc_kind == b->func->cc_kind && a->func->vararg == b->func->vararg &&
               equiv(a->func->return_type, b->func->return_type) &&
               all_alike(a->func->params, b->func->params, [&](const fkPARAM& x, const fkPARAM& y) {
                   return x.type == y.type || (x.type != nullptr && y.type != nullptr && equiv(x.type, y.type));
               });
    case TYPE::K_CLASS:
    case TYPE::K_STRUCT:
    case TYPE::K_UNION:
        if (a->csu->complete != b->csu->complete) return false;
        return !note(a, b) || equiv_members(*a->csu, *b->csu);
    default: tp_die("unhandled type kind: equiv_mtypes()");
    }
}

} // namespace

bool exact_types(TYPE* a, TYPE* b) { return a == b || COMPARISON().exact(a, b); }
bool compatible_types(TYPE* a, TYPE* b, bool strict) { return a == b || COMPARISON().compatible(a, b, strict); }
bool equiv_mtypes(TYPE* a, TYPE* b) { return a == b || COMPARISON().equiv(a, b); }

bool mdata_equal(const fkMDATA* a, const fkMDATA* b) {
    COMPARISON comparison;
    return a == b || exact_mdata(comparison, a, b);
}

// The type of the earlier unit stays, the other becomes a link to it.
bool merge_types(TYPE* a, TYPE* b) {
    a = a->final_type();
    b = b->final_type();
    if (a == b) return true;
    if (!exact_types(a, b)) return false;
    if (std::pair(b->tu, b->uid) < std::pair(a->tu, a->uid)) std::swap(a, b);
    b->forward = a;
    b->merg = true;
    return true;
}

TYPE* find_equivalent_type(TYPE* t) {
    t = t->final_type();
    if (t->base == nullptr) return t;
    for (TYPE* other : t->base->based[t->map_name()])
        if (other != t && other->forward == nullptr && other->tu < t->tu && merge_types(other, t)) break;
    return t->final_type();
}

void TYPE::set_equiv(TYPE* t) { equiv = t->equiv != 0 ? t->equiv : t->equiv = t->uid; }

TYPE* find_type(TYPE* t) { return t != nullptr ? t->final_type() : nullptr; }

// ------------------------------------------------------------------------------------------------------ normal forms

TYPE* TYPE::normalized() {
    if (norm != nullptr) return norm;
    if (!complete) return this; // its lists are still open: nothing to keep yet
    return norm = normalized_type_uncached();
}

TYPE* TYPE::normalized_type_uncached() {
    switch (kind) {
    case K_VOID:
    case K_FIXED:
    case K_PTM:
    case K_ENUM:
    case K_CLASS:
    case K_STRUCT:
    case K_UNION: return this;
    case K_INTEGRAL: {
        TYPE* basic = tp->ints[ikind];
        return basic->size_bits == size_bits && basic->align_bits == align_bits ? basic->normalized() : this;
    }
    case K_FLOAT: {
        TYPE* basic = tp->floats[fkind];
        return basic->size_bits == size_bits && basic->align_bits == align_bits ? basic->normalized() : this;
    }
    case K_COMPLEX: {
        TYPE* n = part->normalized();
        return n != part ? tp->mk_complex(n, size_bits, align_bits) : this;
    }
    case K_POINTER: {
        TYPE* n = part->normalized();
        return n != part ? tp->mk_ptr(n, size_bits, align_bits) : this;
    }
    case K_REFERENCE: {
        TYPE* n = part->normalized();
        return n != part ? tp->mk_ref(n, size_bits, align_bits) : this;
    }
    case K_QUALIFIED: {
        constexpr uint32_t packed_alignment = 16;
        return tp->mk_qual(part->normalized(), quals, size_bits,
                           (quals & QUAL_PACKED) != 0 ? packed_alignment : align_bits);
    }
    case K_TYPEDEF: return tdef->type_named->normalized();
    case K_ARRAY: {
        TYPE* n = array->elem_type->normalized();
        if (n == array->elem_type) return this;
        if (array->vector) return tp->mk_vector(n, cpp, array->count, size_bits, align_bits);
        return tp->mk_array(n, array->count, size_bits, align_bits, cpp, array->complete);
    }
    case K_FUNC: {
        TYPE* n = func->return_type->normalized();
        if (n == func->return_type) return this;
        TYPE* f = tp->mk_func(n, cpp, func->vararg, func->proto, func->cc_kind, size_bits, align_bits);
        f->func->params = func->params;
        return tp->type_frozen(f);
    }
    default: tp_die("Tried to normalize unknown type kind");
    }
}

TYPE* normalized_underlying_type(TYPE* t) { return t->is_enum() ? t->underlying_type()->normalized() : t; }

// ------------------------------------------------------------------------------------------------------ promotions

TYPE* TYPE_PKG::c_integral_promotions(TYPE* t) {
    if (t->is_enum()) t = t->underlying_type();
    if (!t->is_integral()) return t;
    switch (t->descriptor->ikind) {
    case TYPE::I_CHAR:
    case TYPE::I_WCHAR_T:
    case TYPE::I_SHORT:
    case TYPE::I_INT: return ints[TYPE::I_INT];
    case TYPE::I_UCHAR:
    case TYPE::I_USHORT:
    case TYPE::I_UINT: return t->size_bits == ints[TYPE::I_INT]->size_bits ? ints[TYPE::I_UINT] : ints[TYPE::I_INT];
    default: return t;
    }
}

TYPE* TYPE_PKG::c_usual_arith_conv(TYPE* a, TYPE* b) {
    if (a->uid == 0 || b->uid == 0) tp_die("Unregistered type:  c_usual_arith_conv()");
    if (a->is_ptr()) return a;
    if (b->is_ptr()) return b;
    if (a->is_fltpt() || b->is_fltpt()) {
        if (!b->is_fltpt()) return a;
        if (!a->is_fltpt()) return b;
        return b->descriptor->fkind > a->descriptor->fkind ? b : a;
    }
    if (a->is_enum()) a = a->underlying_type();
    if (b->is_enum()) b = b->underlying_type();
    if (!a->is_integral() || !b->is_integral()) tp_die("Bad type:  c_usual_arith_conv()");
    TYPE* winner = b->rank() > a->rank() ? b : a;
    if (a->size_bits == b->size_bits && a->is_signed() != b->is_signed()) return mk_unsigned(winner);
    return winner;
}

TYPE* c_integral_promotions(TYPE* t) { return tp->c_integral_promotions(t); }
TYPE* c_usual_arith_conv(TYPE* a, TYPE* b) { return tp->c_usual_arith_conv(a, b); }
bool is_same_sign(TYPE* a, TYPE* b) { return a->is_signed() == b->is_signed(); }

TYPE* promoted_type(TYPE* t) {
    t = normalized_underlying_type(t);
    if (!t->is_integral()) return t;
    switch (t->descriptor->ikind) {
    case TYPE::I_BOOL:
    case TYPE::I_CHAR:
    case TYPE::I_SHORT: return tp->ints[TYPE::I_INT];
    case TYPE::I_INT: return tp->basic_int(t);
    case TYPE::I_UCHAR:
    case TYPE::I_WCHAR_T:
    case TYPE::I_USHORT:
        return tp->ints[t->size_bits == tp->ints[TYPE::I_INT]->size_bits || kr_flag ? TYPE::I_UINT : TYPE::I_INT];
    default: return t;
    }
}

TYPE* combined_type_for_types(TYPE* a, TYPE* b) {
    using T = TYPE;
    a = promoted_type(a);
    b = promoted_type(b);
    auto is_number = [](const TYPE* t) { return t->is_integral() || t->is_fltpt(); };
    if (!is_number(a)) return a;
    if (!is_number(b)) return b;
    for (T::FKIND k : {T::F_LDOUBLE, T::F_DOUBLE, T::F_FLOAT})
        for (TYPE* t : {a, b})
            if (float_kind(t, k)) return t->descriptor;
    for (T::IKIND k : {T::I_ULLONG, T::I_LLONG, T::I_ULONG})
        for (TYPE* t : {a, b})
            if (int_kind(t, k)) return tp->basic_int(t);
    for (auto [x, y] : {std::pair(a, b), std::pair(b, a)}) {
        if (!x->is_long()) continue;
        if (!y->is_uint()) return tp->basic_int(x);
        bool wider = tp->ints[T::I_LONG]->size_bits != tp->ints[T::I_INT]->size_bits;
        return wider && !kr_flag ? tp->basic_int(x) : tp->ints[T::I_ULONG];
    }
    for (TYPE* t : {a, b})
        if (t->is_uint()) return tp->basic_int(t);
    return tp->ints[T::I_INT];
}

TYPE* combined_type(NODE* x, NODE* y) { return combined_type_for_types(x->type, y->type); }

TYPE* next_wider_type(TYPE* t) {
    if (t->is_fltpt()) {
        TYPE::FKIND k = t->descriptor->fkind;
        return k == TYPE::F_LDOUBLE ? t : tp->floats[k + 1];
    }
    const TYPE* i = integer_of(t);
    if (i == nullptr) return t;
    for (uint32_t k = i->ikind + 1; k < 12; k++)
        if (tp->wider[k]->size_bits > i->size_bits) return tp->mk_signed(tp->wider[k]);
    return t;
}

TYPE* essential_type(TYPE* t) {
    t = normalized_underlying_type(t);
    return t->is_integral() ? tp->mk_signed(t) : t;
}

// ------------------------------------------------------------------------------------------------------ limits

namespace {

// Width, in bits, in which a value of the type is computed: 1 to 64.
unsigned width_of(const TYPE* t) { return std::clamp(t->size_bits, 1u, 64u); }

} // namespace

INT65 int_type_max(TYPE* t) {
    if (int_kind(t, TYPE::I_BOOL)) return 1;
    unsigned width = width_of(t);
    return INT65(~0ull).zero_extended(t->is_signed() ? width - 1 : width);
}

INT65 int_type_min(TYPE* t) {
    if (!t->is_signed()) return 0;
    return -int_type_max(t) - INT65(1);
}

INT65 type_mask(TYPE* t) { return INT65(~0ull).zero_extended(width_of(t)); }

bool value_fits_in_type(INT65 v, TYPE* t) { return v >= int_type_min(t) && v <= int_type_max(t); }

INT65 truncate_to_type(INT65 v, TYPE* t) {
    if (t->is_signed()) return v.sign_extended(width_of(t));
    return t->is_unsigned() || t->is_ptr() || t->is_ref() ? v.zero_extended(width_of(t)) : v;
}

INT65 sign_extend_by_type(INT65 v, TYPE* t) { return truncate_to_type(v, t); }
INT65 sign_extend_by_type_size(INT65 v, TYPE* t) { return v.sign_extended(width_of(t)); }

// ------------------------------------------------------------------------------------------------------ marking

namespace {

// The types that a type is made of, lists included; null entries are skipped.
template <typename F> void for_each_component(TYPE* t, F&& visit) {
    auto give = [&](TYPE* c) {
        if (c != nullptr) visit(c->final_type());
    };
    give(t->part);
    give(t->ptm_class_);
    if (t->tdef != nullptr) give(t->tdef->type_named);
    if (t->array != nullptr) give(t->array->elem_type);
    if (t->enumeration != nullptr) give(t->enumeration->underlying_type);
    if (t->func != nullptr) {
        give(t->func->return_type);
        for (auto& p : t->func->params) give(p.type);
    }
    if (t->csu == nullptr) return;
    for (auto& x : t->csu->base_classes) give(x.type);
    for (auto& x : t->csu->friend_funcs) give(x.type);
    for (auto& x : t->csu->friend_classes) give(x.type);
    for (auto& x : t->csu->nested_types) give(x.type);
    for (auto& x : t->csu->members) give(x->type);
    for (auto& x : t->csu->static_data) give(x.type);
    for (auto& x : t->csu->member_funcs) give(x.type);
    for (auto& x : t->csu->template_params) give(x.type);
}

// Marks what the types on the list, which have the mark themselves, reach.
void mark_reached(std::vector<TYPE*> work) {
    while (!work.empty()) {
        TYPE* t = work.back();
        work.pop_back();
        for_each_component(t, [&](TYPE* c) {
            if (c->refd) return;
            c->refd = true;
            work.push_back(c);
        });
    }
}

} // namespace

void TYPE::mark_refed_recur() {
    refd = true;
    mark_reached({this});
}

void TYPE::mark_csu_components() {
    for_each_component(getr_csu(), [](TYPE* c) { c->mark_refed_recur(); });
}

void TYPE::mark_func_args() {
    for (auto& p : getr(K_FUNC)->func->params)
        if (p.type != nullptr) p.type->final_type()->mark_refed_recur();
}

void TYPE::mark_refed_types() {
    std::vector<TYPE*> marked;
    for_each_based([&](TYPE* t) {
        TYPE* last = t->final_type();
        if (t->refd) last->refd = true;
        if (last->refd) marked.push_back(last);
    });
    mark_reached(std::move(marked));
}

void TYPE::mark_named_types(bool all) {
    for_each_based([all](TYPE* t) {
        if (t->forward != nullptr || (t->tdef == nullptr && t->enumeration == nullptr && t->csu == nullptr)) return;
        if (all ? t->from_input && t->is_complete() : t->tdef != nullptr && t->tdef->type_named->refd) t->refd = true;
    });
}
