// The type records of a file, writing: which types are written, in which order, and their records 116.
//
// A reader must know each type before it meets its typeref, so the parts of a type are written first. Structs, classes
// and unions are declared before all else and get their lists afterwards; a function type's lists may name the function
// itself, in which case its own record goes out early.
#include "icode/if.h"
#include "icode/type_records.h"
#include "ir/symbol.h"
#include "ir/types.h"

#include <iterator>

namespace {

// File kinds of the basic types by TYPE::ekind().
constexpr uint8_t file_kinds[27] = {0,        1,          2,        3,        4,        5,
                                    6,        7,          8,        9,            // integers by IKIND
                                    TR_LLONG, TR_ULLONG,  10,       11,       12, // float, double, long double
                                    TR_OTHER, TR_COMPLEX, TR_OTHER, TR_OTHER, TR_OTHER, TR_OTHER,
                                    TR_OTHER, TR_OTHER,   TR_OTHER, TR_OTHER, TR_OTHER, TR_VOID};

int file_kind(const TYPE* t) {
    uint32_t e = t->ekind();
    return e < std::size(file_kinds) ? file_kinds[e] : uint8_t{TR_OTHER};
}

void begin_record(I_FILE& f, const TYPE* t, int kind) {
    f.i_write_uint(t->uid);
    f.i_write_i8(kind);
}

void write_list_mark(I_FILE& f, const TYPE* t, int mark, int list_kind) {
    begin_record(f, t, mark);
    f.i_write_i8(list_kind);
    f.i_flush(REC_TYPE);
}

void write_extent(I_FILE& f, const TYPE* t) {
    f.i_write_uint(t->size_bits);
    f.i_write_uint(t->align_bits);
}

// One list: header, a record for each element, trailer. `fields(element)` writes what follows the element's K.
template <typename LIST, typename F>
void write_list(I_FILE& f, const TYPE* owner, int list_kind, int element_kind, const LIST& list, F&& fields) {
    write_list_mark(f, owner, TR_LIST, list_kind);
    for (const auto& element : list) {
        begin_record(f, owner, element_kind);
        fields(element);
        f.i_flush(REC_TYPE);
    }
    write_list_mark(f, owner, TR_LIST_END, list_kind);
}

// The same, but nothing at all for an empty list.
template <typename LIST, typename F>
void write_list_if_any(I_FILE& f, const TYPE* owner, int list_kind, int element_kind, const LIST& list, F&& fields) {
    if (!list.empty()) write_list(f, owner, list_kind, element_kind, list, fields);
}

// ------------------------------------------------------------------------------------------------------ single records

void write_int(I_FILE& f, TYPE* t) {
    begin_record(f, t, file_kind(t));
    f.i_write_bool(t->mark_a);
    write_extent(f, t);
    f.i_write_bool(t->is_bool());
    f.i_write_bool(t->mark_c);
}

void write_fxtpt(I_FILE& f, TYPE* t) {
    begin_record(f, t, TR_FIXED);
    f.i_write_i8(static_cast<int>(t->binpt));
    f.i_write_bool(t->part->descriptor->mark_a);
    f.i_write_typeref(t->part);
    write_extent(f, t);
}

void write_typedef(I_FILE& f, TYPE* t) {
    begin_record(f, t, TR_TYPEDEF);
    f.i_write_string(t->tdef->name.c_str());
    f.i_write_typeref(t->tdef->type_named);
    write_extent(f, t);
    f.i_write_bool(t->cpp);
    f.i_write_bool(t->tdef->lowered);
    f.i_write_psn(t->psn);
}

void write_array(I_FILE& f, TYPE* t) {
    begin_record(f, t, TR_ARRAY);
    f.i_write_typeref(t->array->elem_type);
    f.i_write_uint(t->array->count);
    write_extent(f, t);
    f.i_write_bool(t->cpp);
    f.i_write_bool(t->array->complete);
    f.i_write_bool(t->array->vector);
}

void write_func(I_FILE& f, TYPE* t) {
    begin_record(f, t, TR_FUNC);
    f.i_write_typeref(t->func->return_type);
    f.i_write_bool(t->func->vararg);
    f.i_write_bool(t->func->proto);
    f.i_write_i8(t->func->cc_kind);
    f.i_write_bool(t->cpp);
}

void write_enum(I_FILE& f, TYPE* t) {
    begin_record(f, t, TR_ENUM);
    f.i_write_string(t->enumeration->name.c_str());
    write_extent(f, t);
    f.i_write_typeref(t->enumeration->underlying_type);
    f.i_write_bool(t->cpp);
    f.i_write_psn(t->psn);
}

void write_part_type(I_FILE& f, TYPE* t) {
    switch (t->kind) {
    case TYPE::K_COMPLEX:
        begin_record(f, t, TR_COMPLEX);
        write_extent(f, t);
        f.i_write_typeref(t->part);
        return;
    case TYPE::K_POINTER: begin_record(f, t, TR_POINTER); break;
    case TYPE::K_REFERENCE: begin_record(f, t, TR_REFERENCE); break;
    case TYPE::K_QUALIFIED: begin_record(f, t, TR_QUALIFIED); break;
    default: begin_record(f, t, TR_PTM); break;
    }
    f.i_write_typeref(t->part);
    if (t->kind == TYPE::K_QUALIFIED) f.i_write_uint(t->quals);
    if (t->kind == TYPE::K_PTM) f.i_write_typeref(t->ptm_class_);
    write_extent(f, t);
}

void write_params(I_FILE& f, TYPE* owner, const std::vector<fkPARAM>& params) {
    write_list(f, owner, LK_PARAMS, TR_PARAM, params, [&](const fkPARAM& p) {
        f.i_write_typeref(p.type);
        f.i_write_bool(false);
        f.i_write_uint(p.kind);
        f.i_write_string(p.name.c_str());
    });
}

void write_etors(I_FILE& f, TYPE* t) {
    bool is_signed = t->is_signed();
    write_list(f, t, LK_ETORS, TR_ETOR, t->enumeration->etors, [&](const fkETOR& e) {
        f.i_write_string(e.name.c_str());
        if (is_signed)
            f.i_write_sint(static_cast<int32_t>(e.value.low));
        else
            f.i_write_uint(e.value.low);
        f.i_write_psn(e.psn);
    });
}

// ------------------------------------------------------------------------------------------------------ order

// The n-th type that the record of t names, or null behind the last one.
TYPE* named_by_record(TYPE* t, size_t n) {
    TYPE* first = t->part;
    if (t->tdef != nullptr) first = t->tdef->type_named;
    if (t->array != nullptr) first = t->array->elem_type;
    if (t->func != nullptr) first = t->func->return_type;
    if (t->enumeration != nullptr) first = t->enumeration->underlying_type;
    if (n == 0) return first;
    return n == 1 ? t->ptm_class_ : nullptr;
}

// The n-th type that must stand in the file before t is complete there. The lists of structs are another matter.
TYPE* needed_by(TYPE* t, size_t n) {
    if (t->func == nullptr || n == 0) return named_by_record(t, n);
    return n <= t->func->params.size() ? t->func->params[n - 1].type : nullptr;
}

// Writes the record of t, and before it whatever it names that is not out yet; at most max_type_depth deep.
void write_record(I_FILE& f, TYPE* t) {
    if (t->record_out) return;
    t->record_out = true;
    for (size_t n = 0; TYPE* part = named_by_record(t, n); n++) write_record(f, part->final_type());
    switch (t->kind) {
    case TYPE::K_INTEGRAL: write_int(f, t); break;
    case TYPE::K_FLOAT:
        begin_record(f, t, file_kind(t));
        write_extent(f, t);
        break;
    case TYPE::K_VOID: begin_record(f, t, file_kind(t)); break;
    case TYPE::K_FIXED: write_fxtpt(f, t); break;
    case TYPE::K_TYPEDEF: write_typedef(f, t); break;
    case TYPE::K_ARRAY: write_array(f, t); break;
    case TYPE::K_FUNC: write_func(f, t); break;
    case TYPE::K_ENUM: write_enum(f, t); break;
    case TYPE::K_CLASS:
    case TYPE::K_STRUCT:
    case TYPE::K_UNION: f.write_csu_type(t); return;
    default: write_part_type(f, t); break;
    }
    f.i_flush(REC_TYPE);
}

// Functions may be declared parameters of each other, so the walk keeps its own stack.
struct PENDING {
    TYPE* t;
    size_t next = 0;
};

} // namespace

void I_FILE::if_write_type(TYPE* type) {
    auto settled = [this](TYPE* t) {
        t = t->final_type();
        return t->uid == 0 ? types->type_frozen(t) : t;
    };
    type = settled(type);
    if (type->writ) return;
    type->writ = true;
    std::vector<PENDING> stack{{type}};
    while (!stack.empty()) {
        PENDING& top = stack.back();
        TYPE* t = top.t;
        if (TYPE* needed = needed_by(t, top.next)) {
            top.next++;
            needed = settled(needed);
            if (!needed->writ) {
                needed->writ = true;
                stack.push_back({needed});
            }
            continue;
        }
        stack.pop_back();
        write_record(*this, t);
        if (t->func != nullptr) {
            // A parameter that is still on the stack leads back to this function.
            for (const fkPARAM& p : t->func->params)
                if (p.type != nullptr) write_record(*this, p.type->final_type());
            write_params(*this, t, t->func->params);
        } else if (t->enumeration != nullptr) {
            write_etors(*this, t);
        }
    }
}

// ------------------------------------------------------------------------------------------------------ aggregates

void I_FILE::write_csu_type(TYPE* t) {
    const CSU_PART& c = *t->csu;
    bool long_form = c.class_word != 0 || !c.base_classes.empty() || !c.access_decls.empty() ||
                     !c.friend_funcs.empty() || !c.friend_classes.empty() || !c.nested_types.empty() ||
                     !c.static_data.empty() || !c.member_funcs.empty() || !c.template_params.empty();
    constexpr int file_csu_kinds[3] = {2, 0, 1}; // class, struct, union
    uint32_t kind = t->ekind() - TYPE::E_CLASS;
    begin_record(*this, t, long_form ? TR_CSU_LONG : TR_CSU_SHORT);
    i_write_i8(kind < std::size(file_csu_kinds) ? file_csu_kinds[kind] : -1);
    i_write_string(c.name.c_str());
    i_write_bool(c.complete);
    i_write_bool(c.low);
    write_extent(*this, t);
    if (long_form) {
        i_write_uint(c.class_word);
        i_write_bool(!c.base_classes.empty());
        i_write_bool(!c.access_decls.empty());
        i_write_bool(!c.friend_funcs.empty());
        i_write_bool(!c.friend_classes.empty());
        i_write_bool(!c.nested_types.empty());
    }
    i_write_bool(!c.members.empty());
    if (long_form) {
        i_write_bool(!c.static_data.empty());
        i_write_bool(!c.member_funcs.empty());
        i_write_bool(!c.template_params.empty());
    }
    i_write_bool(c.is_struct_vector);
    i_write_bool(t->cpp);
    i_write_psn(t->psn);
    i_flush(REC_TYPE);
}

namespace {

void write_member(I_FILE& f, const fkMDATA& m) {
    f.i_write_uint(m.id);
    f.i_write_string(m.name.c_str());
    f.i_write_typeref(m.type);
    f.i_write_i8(m.access);
    f.i_write_sint(m.bit_offset);
    f.i_write_i8(m.attribute);
    f.i_write_uint(m.bit_size);
    f.i_write_bool(m.is_bitfield);
    f.i_write_bool(m.mark[0]);
    f.i_write_bool(m.mark[1]);
    f.i_write_psn(m.psn);
}

void write_member_func(I_FILE& f, const fkMFUNC& m) {
    f.i_write_string(m.name.c_str());
    f.i_write_typeref(m.type);
    f.i_write_i8(m.access);
    f.i_write_sint(m.virtual_index);
    for (bool mark : m.mark) f.i_write_bool(mark);
}

} // namespace

void I_FILE::write_csu_type_lists(TYPE* t) {
    if (t->lists_out) return;
    t->lists_out = true;
    CSU_PART& c = *t->csu;
    auto need = [this](const auto& list) {
        for (const auto& x : list)
            if (x.type != nullptr) if_write_type(x.type);
    };
    need(c.base_classes);
    need(c.friend_funcs);
    need(c.friend_classes);
    need(c.nested_types);
    for (const auto& m : c.members) if_write_type(m->type);
    need(c.static_data);
    need(c.member_funcs);
    need(c.template_params);

    write_list_if_any(*this, t, LK_BASE_CLASSES, TR_BASE_CLASS, c.base_classes, [this](const fkBCLASS& b) {
        i_write_typeref(b.type);
        i_write_sint(b.offset);
        i_write_i8(b.access);
        i_write_bool(b.is_virtual);
    });
    write_list_if_any(*this, t, LK_ACCESS_DECLS, TR_ACCESS_DECL, c.access_decls, [this](const fkADECL& a) {
        i_write_uint(0);
        i_write_i8(a.access);
    });
    write_list_if_any(*this, t, LK_FRIEND_FUNCS, TR_FRIEND_FUNC, c.friend_funcs, [this](const fkFFRIEND& x) {
        i_write_string(x.name.c_str());
        i_write_typeref(x.type);
    });
    auto type_alone = [this](const fkTYPE_ELEM& x) { i_write_typeref(x.type); };
    write_list_if_any(*this, t, LK_FRIEND_CLASSES, TR_FRIEND_CLASS, c.friend_classes, type_alone);
    write_list_if_any(*this, t, LK_NESTED_TYPES, TR_NESTED_TYPE, c.nested_types, type_alone);
    write_list_if_any(*this, t, LK_MEMBERS, TR_MEMBER, c.members, [this](const auto& m) { write_member(*this, *m); });
    write_list_if_any(*this, t, LK_STATIC_DATA, TR_STATIC_DATA, c.static_data, [this](const fkSDATA& s) {
        i_write_string(s.name.c_str());
        i_write_typeref(s.type);
        i_write_i8(s.access);
    });
    write_list_if_any(*this, t, LK_MEMBER_FUNCS, TR_MEMBER_FUNC, c.member_funcs,
                      [this](const fkMFUNC& m) { write_member_func(*this, m); });
    if (!c.template_params.empty()) write_params(*this, t, c.template_params);
}

// All aggregates are declared before any list can name them. Returns whether anything was written.
bool I_FILE::write_all_csu_types() {
    std::vector<TYPE*> aggregates;
    for (auto& [name, list] : TYPE_PKG::root_type->based)
        for (TYPE* t : list)
            if (t->csu != nullptr && t->refd && t->forward == nullptr) aggregates.push_back(t);
    for (TYPE* t : aggregates) if_write_type(t);
    for (TYPE* t : aggregates) write_csu_type_lists(t);
    return !aggregates.empty();
}

bool I_FILE::write_type_tree() {
    bool any = false;
    std::vector<TYPE*> late; // aggregates that only another type's record brought in
    TYPE_PKG::root_type->for_each_based([&](TYPE* t) {
        t = t->final_type();
        if (t == TYPE_PKG::root_type) return;
        if (t->refd && !t->writ) {
            if_write_type(t);
            any = true;
        }
        if (t->csu != nullptr) late.push_back(t);
    });
    for (bool more = true; more;) {
        more = false;
        for (TYPE* t : late) {
            if (!t->writ || t->lists_out) continue;
            write_csu_type_lists(t); // may name further ones
            more = true;
        }
    }
    return any;
}

void I_FILE::if_reference_type(TYPE* t) {
    for (TYPE* x : {t, t->descriptor, t->stds()}) x->final_type()->refd = true;
}

void I_FILE::if_write_all_types(bool mark_all) {
    auto mark = [](TYPE* t) {
        if (t != nullptr) t->final_type()->refd = true;
    };
    for (SYMTAB* sym : globals) {
        mark(sym->type);
        mark(sym->type2);
    }
    // The basic types that the input defined, so that whoever reads the output has the same model.
    auto keep = [&](TYPE* t) {
        if (t->from_input) mark(t);
    };
    for (TYPE* t : types->ints) keep(t);
    for (TYPE* t : types->floats) keep(t);
    keep(types->void_type);
    keep(types->void_ptr);
    TYPE_PKG::root_type->mark_named_types(mark_all);
    TYPE_PKG::root_type->mark_refed_types();

    long start = if_tell();
    bool any = write_all_csu_types();
    any |= write_type_tree();
    if (!any) return;
    type_offset = static_cast<uint32_t>(start);
    i_write_eof();
}
