// The type records of a file, reading: from records 116 to types of the package.
//
// Every type is defined before it is used, but a struct, enum or function type exists from its first record on and may
// be named while its lists are read. Its count of lists that are still to be closed stands in the map of typerefs; at 0
// the type is frozen, and an equal older function type may take its place.
#include "icode/if.h"
#include "icode/type_records.h"
#include "ir/types.h"

#include <algorithm>
#include <bit>

namespace {

constexpr int list_closed = 16; // lists_seen: bit of a closed list, from the bit of the opened one

// What an icode version brought.
constexpr int v_bit_size_first = -85; // members: bit size in front of three flags
constexpr int v_struct_vector = -84;
constexpr int v_cpp_flags = -81; // structs and enums say whether they come from C++
constexpr int v_union_kind = -80;
constexpr int v_vector = -76;
constexpr int v_array_extra_first = -75;
constexpr int v_array_extra_last = -74;
constexpr int v_member_attribute = -74;

constexpr uint32_t widest_scalar = 64; // bits

bool is_alignment(uint32_t align) { return std::has_single_bit(align); }

TYPE::IKIND ikind_of_record(int k) {
    if (k <= TR_ULONG) return static_cast<TYPE::IKIND>(k);
    if (k == TR_LLONG) return TYPE::I_LLONG;
    if (k == TR_ULLONG) return TYPE::I_ULLONG;
    return TYPE::I_INT;
}

struct EXTENT {
    uint32_t size;
    uint32_t align;
};

EXTENT read_extent(I_FILE& f) {
    uint32_t size = f.i_read_uint();
    return {size, f.i_read_uint()};
}

EXTENT read_scalar_extent(I_FILE& f) {
    EXTENT e = read_extent(f);
    if (e.size == 0 || e.size > widest_scalar || !is_alignment(e.align))
        f.bad_input("a scalar type of impossible size or alignment");
    return e;
}

// A typeref that must name a type.
TYPE* read_part(I_FILE& f) {
    TYPE* t = f.find_typeref(f.i_read_uint());
    if (t == nullptr) f.bad_input("a type without the type that it is made of");
    return t;
}

// A typedef or qualified scalar has the scalar's size: code is made by the one, storage by the other.
EXTENT read_extent_over(I_FILE& f, const TYPE* base) {
    EXTENT e = read_extent(f);
    if (base->is_scalar() && e.size != base->size_bits) f.bad_input("a type whose size is not that of its base");
    if (e.align != 0 && !is_alignment(e.align)) f.bad_input("a type of impossible alignment");
    return e;
}

std::string read_name(I_FILE& f) { return f.i_read_string(); }

bool if_read_type_is_cpp(I_FILE& f, const std::string& name) {
    if (f.version >= v_cpp_flags) return f.i_read_bool();
    bool is_cpp = false;
    f.types->demangle_type_name(name.c_str(), true, &is_cpp);
    return is_cpp;
}

void enter_final(I_FILE& f, uint32_t n, TYPE* t) { f.enter_type(n, {t, 0}); }

// ------------------------------------------------------------------------------------------------------ one per record

void tp_make_int(I_FILE& f, uint32_t n, int k) {
    bool expl_sign = f.i_read_bool();
    EXTENT e = read_scalar_extent(f);
    bool boolean = f.i_read_bool();
    bool ptm = f.i_read_bool();
    enter_final(f, n, f.types->mk_int(ikind_of_record(k), expl_sign, e.size, e.align, boolean, ptm));
}

void tp_make_fltpt(I_FILE& f, uint32_t n, int k) {
    EXTENT e = read_scalar_extent(f);
    if (e.size != 32 && e.size != 64) f.bad_input("a floating type of neither 32 nor 64 bits");
    enter_final(f, n, f.types->mk_fltpt(static_cast<TYPE::FKIND>(k - TR_FLOAT), e.size, e.align));
}

void tp_make_fxtpt(I_FILE& f, uint32_t n) {
    uint32_t binpt = f.i_read_u8();
    f.i_read_bool(); // explicit sign: a property of the underlying type
    TYPE* underlying = read_part(f);
    if (!underlying->is_integral()) f.bad_input("a fixed point type whose underlying type is no integer");
    EXTENT e = read_scalar_extent(f);
    enter_final(f, n, f.types->mk_fxtpt(underlying, binpt, e.size, e.align));
}

void tp_make_typedef(I_FILE& f, uint32_t n) {
    std::string name = read_name(f);
    TYPE* named = read_part(f);
    EXTENT e = read_extent_over(f, named);
    bool cpp = f.i_read_bool();
    bool lowered = f.i_read_bool();
    PSN* psn = f.i_read_psn();
    TYPE* t = f.types->mk_typedef(name.c_str(), lowered, named, e.size, e.align, cpp);
    if (t->psn == nullptr) t->psn = psn;
    enter_final(f, n, t);
}

void tp_make_ptr(I_FILE& f, uint32_t n, int k) {
    TYPE* to = read_part(f);
    EXTENT e = read_scalar_extent(f);
    enter_final(f, n, k == TR_POINTER ? f.types->mk_ptr(to, e.size, e.align) : f.types->mk_ref(to, e.size, e.align));
}

void tp_make_qual(I_FILE& f, uint32_t n) {
    TYPE* base = read_part(f);
    uint32_t bits = f.i_read_uint();
    EXTENT e = read_extent_over(f, base);
    enter_final(f, n, f.types->mk_qual(base, bits, e.size, e.align));
}

void tp_make_array(I_FILE& f, uint32_t n) {
    TYPE* elem = read_part(f);
    uint32_t count = f.i_read_uint();
    EXTENT e = read_extent(f);
    bool cpp = f.i_read_bool();
    bool complete = f.i_read_bool();
    bool vector = f.version >= v_vector && f.i_read_bool();
    if (f.version >= v_array_extra_first && f.version <= v_array_extra_last) f.i_read_bool();
    enter_final(f, n,
                vector ? f.types->mk_vector(elem, cpp, count, e.size, e.align)
                       : f.types->mk_array(elem, count, e.size, e.align, cpp, complete));
}

void tp_make_ptm(I_FILE& f, uint32_t n) {
    TYPE* member = read_part(f);
    TYPE* cls = read_part(f);
    EXTENT e = read_extent(f);
    if (!cls->is_csu()) f.bad_input("a pointer to member of a type that is no class");
    enter_final(f, n, f.types->mk_ptm(member, cls, e.size, e.align));
}

void tp_make_complex(I_FILE& f, uint32_t n) {
    EXTENT e = read_extent(f);
    TYPE* part = read_part(f);
    if (!part->is_integral() && !part->is_fltpt()) f.bad_input("a complex type whose part is no number");
    if (!is_alignment(e.align) || e.size < part->size_bits || e.size > 2 * widest_scalar)
        f.bad_input("a complex type of impossible size or alignment");
    enter_final(f, n, f.types->mk_complex(part, e.size, e.align));
}

void tp_make_func(I_FILE& f, uint32_t n) {
    TYPE* ret = f.find_typeref(f.i_read_uint());
    bool vararg = f.i_read_bool();
    bool proto = f.i_read_bool();
    int cc = f.i_read_u8();
    bool cpp = f.i_read_bool();
    f.enter_type(n, {f.types->mk_func(ret, cpp, vararg, proto, cc), 1});
}

void tp_make_enum(I_FILE& f, uint32_t n) {
    std::string name = read_name(f);
    EXTENT e = read_scalar_extent(f);
    TYPE* underlying = f.find_typeref(f.i_read_uint());
    if (underlying != nullptr && !underlying->is_integral())
        f.bad_input("an enum type whose underlying type is no integer");
    bool cpp = if_read_type_is_cpp(f, name);
    TYPE* t = f.types->mk_enum(name.c_str(), underlying, e.size, e.align, cpp);
    t->psn = f.i_read_psn();
    f.enter_type(n, {t, 1});
}

void tp_make_csu(I_FILE& f, uint32_t n, bool long_form) {
    constexpr TYPE::KIND kinds[3] = {TYPE::K_STRUCT, TYPE::K_UNION, TYPE::K_CLASS};
    unsigned kind = f.i_read_u8();
    std::string name = read_name(f);
    bool complete = f.i_read_bool();
    bool lowered = f.i_read_bool();
    EXTENT e = read_extent(f);
    uint32_t class_word = long_form ? f.i_read_uint() : 0;
    int open_lists = 0;
    for (int flags = long_form ? 9 : 1; flags > 0; flags--) open_lists += f.i_read_bool();
    bool struct_vector = f.version >= v_struct_vector && f.i_read_bool();
    bool cpp = if_read_type_is_cpp(f, name);
    PSN* psn = f.i_read_psn();
    if (kind >= std::size(kinds)) return;
    if (e.align != 0 && !is_alignment(e.align)) f.bad_input("a struct type of impossible alignment");
    TYPE* t = f.types->open_csu(kinds[kind], name.c_str(), e.size, e.align, cpp, class_word, complete, lowered,
                                struct_vector);
    t->psn = psn;
    t->csu->old_union = t->kind == TYPE::K_UNION && f.version < v_union_kind;
    if (open_lists == 0) f.types->type_frozen(t);
    f.enter_type(n, {t, open_lists});
}

// ------------------------------------------------------------------------------------------------------ lists

uint32_t* lists_seen(TYPE* t) {
    if (t->func != nullptr) return &t->func->lists_seen;
    if (t->enumeration != nullptr) return &t->enumeration->lists_seen;
    return t->csu != nullptr ? &t->csu->lists_seen : nullptr;
}

bool takes_list(const TYPE* t, int kind) {
    if (t->func != nullptr) return kind == LK_PARAMS;
    if (t->enumeration != nullptr) return kind == LK_ETORS;
    return t->csu != nullptr && kind != LK_ETORS && kind >= 0 && kind < LK_COUNT;
}

// The entry of a type that has an open list.
TYPE_INFO* open_entry(I_FILE& f, uint32_t n, int kind) {
    TYPE_INFO* info = f.type_info(n);
    if (info == nullptr || info->type == nullptr || info->open_lists == 0 || !takes_list(info->type, kind))
        tp_die("Unexpected type attribute");
    return info;
}

void tp_make_list(I_FILE& f, uint32_t n, int kind) {
    TYPE* t = open_entry(f, n, kind)->type;
    uint32_t* seen = lists_seen(t);
    if ((*seen >> kind & 1) != 0) {
        tp_die(t->func != nullptr          ? "Duplicate function parameters"
               : t->enumeration != nullptr ? "Duplicate enumerator attributes"
                                           : "Duplicate CSU attributes");
    }
    *seen |= 1u << kind;
}

// The type whose list of that kind is being read.
TYPE* list_owner(I_FILE& f, uint32_t n, int kind) {
    TYPE* t = open_entry(f, n, kind)->type;
    if ((*lists_seen(t) >> kind & (1u | 1u << list_closed)) != 1) tp_die("Unexpected type attribute");
    return t;
}

// Function types named in the lists may have given way to older ones.
void follow_links(TYPE* t) {
    auto follow = [](TYPE*& x) {
        if (x != nullptr) x = x->final_type();
    };
    if (t->func != nullptr)
        for (auto& x : t->func->params) follow(x.type);
    if (t->csu == nullptr) return;
    for (auto& x : t->csu->friend_funcs) follow(x.type);
    for (auto& x : t->csu->friend_classes) follow(x.type);
    for (auto& x : t->csu->nested_types) follow(x.type);
    for (auto& x : t->csu->members) follow(x->type);
    for (auto& x : t->csu->static_data) follow(x.type);
    for (auto& x : t->csu->member_funcs) follow(x.type);
    for (auto& x : t->csu->template_params) follow(x.type);
}

// In the body a struct can only hold what is complete; in the type section this is looked at when all lists are read.
void check_members(I_FILE& f, TYPE* t) {
    for (auto& m : t->csu->members)
        if (!m->type->descriptor->complete) f.bad_input("a member of a type that is not complete");
    struct_nesting(t);
}

void close_type(I_FILE& f, TYPE_INFO& info) {
    info.open_lists = 0;
    follow_links(info.type);
    if (info.type->csu != nullptr && !f.in_type_section) check_members(f, info.type);
    f.types->type_frozen(info.type);
    info.type->from_input = true;
}

void tp_end_list(I_FILE& f, uint32_t n, int kind) {
    TYPE* t = list_owner(f, n, kind);
    *lists_seen(t) |= 1u << (kind + list_closed);
    TYPE_INFO* info = f.type_info(n);
    if (--info->open_lists == 0) close_type(f, *info);
}

void tp_make_param(I_FILE& f, uint32_t n) {
    TYPE* owner = list_owner(f, n, LK_PARAMS);
    fkPARAM p;
    p.type = f.find_typeref(f.i_read_uint());
    f.i_read_bool();
    p.kind = f.i_read_uint();
    std::string name = read_name(f);
    if (p.kind == 2 || p.kind == 3) p.name = std::move(name);
    if (p.type == nullptr && owner->func != nullptr) f.bad_input("a parameter without a type");
    f.types->add_param(owner, std::move(p));
}

void tp_make_etor(I_FILE& f, uint32_t n) {
    TYPE* owner = list_owner(f, n, LK_ETORS);
    fkETOR e;
    e.name = read_name(f);
    if (owner->is_signed())
        e.value = INT65(f.i_read_sint());
    else
        e.value = INT65(f.i_read_uint());
    e.psn = f.i_read_psn();
    f.types->add_etor(owner, std::move(e));
}

void tp_make_member(I_FILE& f, uint32_t n) {
    TYPE* owner = list_owner(f, n, LK_MEMBERS);
    uint32_t id = f.i_read_uint();
    std::string name = read_name(f);
    TYPE* type = read_part(f);
    uint8_t access = f.i_read_u8();
    int32_t offset = f.i_read_sint();
    uint8_t attribute = f.version >= v_member_attribute ? f.i_read_u8() : 0;
    uint32_t bit_size;
    bool flags[3] = {};
    if (f.version >= v_bit_size_first) {
        bit_size = f.i_read_uint();
        for (bool& flag : flags) flag = f.i_read_bool();
    } else {
        flags[0] = f.i_read_bool();
        bit_size = f.i_read_uint();
        flags[1] = f.i_read_bool();
    }
    if (offset < 0) f.bad_input("a member in front of its struct");
    if (flags[0] && (bit_size == 0 || bit_size > type->size_bits || !(type->is_integral() || type->is_enum())))
        f.bad_input("a bit-field that its type cannot hold");
    auto m = std::make_unique<fkMDATA>(name.c_str(), type, offset, bit_size, flags[0]);
    m->file_id = id;
    m->access = access;
    m->attribute = attribute;
    if (attribute != 0) {
        char text[16];
        snprintf(text, sizeof text, "fti:%x", attribute);
        m->attribute_text = text;
    }
    m->mark[0] = flags[1];
    m->mark[1] = flags[2];
    m->psn = f.i_read_psn();
    f.types->add_member(owner, std::move(m));
}

void tp_make_base_class(I_FILE& f, uint32_t n) {
    TYPE* owner = list_owner(f, n, LK_BASE_CLASSES);
    fkBCLASS b;
    b.type = read_part(f);
    b.offset = f.i_read_sint();
    b.access = f.i_read_u8();
    b.is_virtual = f.i_read_bool();
    owner->csu->base_classes.push_back(b);
}

void tp_make_member_func(I_FILE& f, uint32_t n) {
    TYPE* owner = list_owner(f, n, LK_MEMBER_FUNCS);
    fkMFUNC m;
    m.name = read_name(f);
    m.type = f.find_typeref(f.i_read_uint());
    m.access = f.i_read_u8();
    m.virtual_index = f.i_read_sint();
    for (bool& mark : m.mark) mark = f.i_read_bool();
    owner->csu->member_funcs.push_back(std::move(m));
}

// The elements of the lists that only a C++ struct has.
void tp_make_class_element(I_FILE& f, uint32_t n, int k) {
    switch (k) {
    case TR_BASE_CLASS: tp_make_base_class(f, n); break;
    case TR_ACCESS_DECL: {
        TYPE* owner = list_owner(f, n, LK_ACCESS_DECLS);
        f.i_read_uint();
        owner->csu->access_decls.push_back({f.i_read_u8()});
        break;
    }
    case TR_FRIEND_FUNC: {
        TYPE* owner = list_owner(f, n, LK_FRIEND_FUNCS);
        std::string name = read_name(f);
        owner->csu->friend_funcs.push_back({std::move(name), f.find_typeref(f.i_read_uint())});
        break;
    }
    case TR_FRIEND_CLASS: {
        TYPE* owner = list_owner(f, n, LK_FRIEND_CLASSES);
        owner->csu->friend_classes.push_back({f.find_typeref(f.i_read_uint())});
        break;
    }
    case TR_NESTED_TYPE: {
        TYPE* owner = list_owner(f, n, LK_NESTED_TYPES);
        owner->csu->nested_types.push_back({f.find_typeref(f.i_read_uint())});
        break;
    }
    case TR_STATIC_DATA: {
        TYPE* owner = list_owner(f, n, LK_STATIC_DATA);
        std::string name = read_name(f);
        TYPE* type = f.find_typeref(f.i_read_uint());
        owner->csu->static_data.push_back({std::move(name), type, f.i_read_u8()});
        break;
    }
    default: tp_make_member_func(f, n); break;
    }
}

} // namespace

// ------------------------------------------------------------------------------------------------------ the map

void I_FILE::if_type_init(TYPE_PKG* package) { types = package; }

TYPE_INFO* I_FILE::type_info(uint32_t n) {
    if (n < type_map.size()) return &type_map[n];
    auto entry = sparse_type_map.find(n);
    return entry != sparse_type_map.end() ? &entry->second : nullptr;
}

TYPE* I_FILE::find_typeref(uint32_t n) {
    if (n == 0) return nullptr;
    TYPE_INFO* info = type_info(n);
    if (info == nullptr || info->type == nullptr) tp_die("invalid forward reference");
    return info->type->final_type();
}

void I_FILE::enter_type(uint32_t n, TYPE_INFO info) {
    TYPE_INFO* entry = type_info(n);
    if (entry != nullptr && entry->type != nullptr) tp_die("read type twice");
    if (n == 0) bad_input("a type with the number 0");
    info.type->from_input = true;
    if (entry != nullptr) {
        *entry = info;
    } else if (n < input.size()) { // a number that a file of this length can reach: the dense part
        type_map.resize(std::max<size_t>(n + 1, std::min(type_map.size() * 2, input.size())));
        type_map[n] = info;
    } else {
        sparse_type_map[n] = info;
    }
}

fkMDATA* I_FILE::find_mdataref(uint32_t typeref, uint32_t member_id) {
    TYPE* csu = find_typeref(typeref);
    csu = csu != nullptr ? csu->get_csu() : nullptr;
    if (csu == nullptr) return nullptr;
    const auto& members = csu->csu->members;
    auto has_id = [member_id](const auto& m) { return (m->file_id != 0 ? m->file_id : m->id) == member_id; };
    // Ids are positions in most files.
    if (member_id != 0 && member_id <= members.size() && has_id(members[member_id - 1]))
        return members[member_id - 1].get();
    auto found = std::find_if(members.begin(), members.end(), has_id);
    return found != members.end() ? found->get() : nullptr;
}

namespace {

// Visits the entries of the map that hold a type, by typeref.
template <typename F> void for_each_entry(I_FILE& f, F&& visit) {
    for (TYPE_INFO& info : f.type_map)
        if (info.type != nullptr) visit(info);
    std::vector<uint32_t> numbers;
    for (const auto& entry : f.sparse_type_map) numbers.push_back(entry.first);
    std::sort(numbers.begin(), numbers.end());
    for (uint32_t n : numbers) visit(f.sparse_type_map[n]);
}

} // namespace

void I_FILE::if_types_read() {
    in_type_section = false;
    for_each_entry(*this, [this](TYPE_INFO& info) {
        if (info.open_lists == 0) return;
        info.open_lists = 0; // the file announced lists that never came
        types->type_frozen(info.type);
    });
    for_each_entry(*this, [](TYPE_INFO& info) { follow_links(info.type); });
    for_each_entry(*this, [](TYPE_INFO& info) {
        if (info.type->csu != nullptr) struct_nesting(info.type);
    });
    // The basic types and `void*` of the package take the sizes of the file's. Those that the source qualified with
    // `signed` come last, for files that have no others.
    for (bool expl_sign : {false, true}) {
        for_each_entry(*this, [&](TYPE_INFO& info) {
            bool has_sign = info.type->kind == TYPE::K_INTEGRAL && info.type->mark_a;
            if (has_sign == expl_sign) types->adopt_basic_type(info.type);
        });
    }
    types->basic_types_changed();
}

void I_FILE::if_merge_type_defs() {
    for_each_entry(*this, [](TYPE_INFO& info) { find_equivalent_type(info.type); });
}

void I_FILE::if_read_type() {
    uint32_t n = i_read_uint();
    int k = i_read_u8();
    if (k <= TR_ULONG || k == TR_LLONG || k == TR_ULLONG) return tp_make_int(*this, n, k);
    if (k <= TR_LDOUBLE) return tp_make_fltpt(*this, n, k);
    switch (k) {
    case TR_VOID: enter_final(*this, n, types->mk_void()); break;
    case TR_FIXED: tp_make_fxtpt(*this, n); break;
    case TR_TYPEDEF: tp_make_typedef(*this, n); break;
    case TR_POINTER:
    case TR_REFERENCE: tp_make_ptr(*this, n, k); break;
    case TR_QUALIFIED: tp_make_qual(*this, n); break;
    case TR_ARRAY: tp_make_array(*this, n); break;
    case TR_PTM: tp_make_ptm(*this, n); break;
    case TR_COMPLEX: tp_make_complex(*this, n); break;
    case TR_FUNC: tp_make_func(*this, n); break;
    case TR_ENUM: tp_make_enum(*this, n); break;
    case TR_CSU_SHORT:
    case TR_CSU_LONG: tp_make_csu(*this, n, k == TR_CSU_LONG); break;
    case TR_PARAM: tp_make_param(*this, n); break;
    case TR_ETOR: tp_make_etor(*this, n); break;
    case TR_MEMBER: tp_make_member(*this, n); break;
    case TR_BASE_CLASS:
    case TR_ACCESS_DECL:
    case TR_FRIEND_FUNC:
    case TR_FRIEND_CLASS:
    case TR_NESTED_TYPE:
    case TR_STATIC_DATA:
    case TR_MEMBER_FUNC: tp_make_class_element(*this, n, k); break;
    case TR_LIST: tp_make_list(*this, n, i_read_u8()); break;
    case TR_LIST_END: tp_end_list(*this, n, i_read_u8()); break;
    default: bad_input("a type record of unknown kind");
    }
}
