// TYPE: the type descriptor of the whole program. TYPE_PKG: factory and registry of types.
//
// Derived types are hash-consed: two requests for the same pointer, qualified, array or function type give one object,
// so most code compares types by pointer first. Enums, structs, classes and unions are never unified. A type once
// frozen is not changed. All sizes and alignments are in bits; the target's addressable unit is 16 bits.
// Types belong to their package and live for the run. Faults are internal and end the run through tp_die.
#ifndef IR_TYPES_H
#define IR_TYPES_H

#include "ir/int65.h"
#include "ir/psn.h"

#include <cstdint>
#include <cstdio>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

struct TYPE;
struct TYPE_PKG;
struct NODE;

// ----------------------------------------------------------------------------------------------- list elements

struct fkPARAM { // parameter of a function, template parameter of a struct
    TYPE* type = nullptr;
    uint32_t kind = 0;
    std::string name; // kept only for kinds 2 and 3
};
struct fkETOR { // enumerator
    std::string name;
    INT65 value;
    PSN* psn = nullptr;
};
struct fkBCLASS { // base class
    TYPE* type = nullptr;
    int32_t offset = 0;
    uint8_t access = 0;
    bool is_virtual = false;
};
struct fkADECL { // access declaration
    uint8_t access = 0;
};
struct fkFFRIEND { // friend function
    std::string name;
    TYPE* type = nullptr;
};
struct fkTYPE_ELEM { // friend class, nested type
    TYPE* type = nullptr;
};
struct fkSDATA { // static member
    std::string name;
    TYPE* type = nullptr;
    uint8_t access = 0;
};
struct fkMFUNC { // member function
    std::string name;
    TYPE* type = nullptr;
    uint8_t access = 0;
    int32_t virtual_index = 0;
    bool mark[4] = {};
};
// Member of a struct. Ids are 0 in a new element; registering the struct numbers them from 1, in list order.
struct fkMDATA {
    uint32_t id = 0;
    uint32_t file_id = 0; // the id that the input file gave
    TYPE* type = nullptr;
    std::string name;
    uint8_t access = 0;
    int32_t bit_offset = 0; // from the start of the struct
    uint32_t bit_size = 0;  // of a plain member: the size of its type
    uint8_t attribute = 0;
    bool is_bitfield = false;
    bool mark[2] = {};
    std::string attribute_text; // "fti:%x" of a non-zero attribute byte
    PSN* psn = nullptr;
    fkMDATA* next = nullptr;

    fkMDATA() = default;
    // Also notes in the package that a bit-field was seen.
    fkMDATA(const char* member_name, TYPE* t, int32_t offset_bits, uint32_t size_bits, bool bitfield);
};

// ------------------------------------------------------------------------------------------------ subpart records

struct ARRAY_PART {
    TYPE* elem_type = nullptr;
    uint32_t count = 0;
    bool complete = true; // false: the bound is not known
    bool vector = false;
};
struct FUNC_PART {
    TYPE* return_type = nullptr;
    std::vector<fkPARAM> params;
    int cc_kind = 0; // calling convention, carried as a number
    bool vararg = false;
    bool proto = false;
    uint32_t lists_seen = 0; // the reader's, as in CSU_PART
};
struct ENUM_PART {
    TYPE* underlying_type = nullptr;
    std::string name;
    std::vector<fkETOR> etors;
    bool complete = false;
    bool lowered = false;
    uint32_t lists_seen = 0; // the reader's, as in CSU_PART
};
struct TYPEDEF_PART {
    TYPE* type_named = nullptr;
    std::string name;
    bool lowered = false;
};
struct CSU_PART { // class, struct or union
    std::string name;
    bool complete = false;
    bool low = false; // lowered
    bool is_struct_vector = false;
    bool old_union = false; // a union of an old file
    uint32_t nesting = 0;   // cache of struct_nesting(); 0 until asked
    uint32_t class_word = 0;
    uint32_t lists_seen = 0; // the reader's: bit k is set once list kind k was opened, bit k + 16 once it closed
    std::vector<fkBCLASS> base_classes;
    std::vector<fkADECL> access_decls;
    std::vector<fkFFRIEND> friend_funcs;
    std::vector<fkTYPE_ELEM> friend_classes;
    std::vector<fkTYPE_ELEM> nested_types;
    std::vector<std::unique_ptr<fkMDATA>> members; // in order; addresses are stable
    std::vector<fkSDATA> static_data;
    std::vector<fkMFUNC> member_funcs;
    std::vector<fkPARAM> template_params;
};

// ------------------------------------------------------------------------------------------------------------ TYPE

using BASED_TYPE_CONTAINER = std::map<std::string, std::list<TYPE*>>;

// Qualifier bits, in the order of printing.
enum QUAL_KIND : uint32_t {
    QUAL_CONST = 1,
    QUAL_VOLATILE = 2,
    QUAL_PACKED = 4,
    QUAL_NEAR = 8,
    QUAL_FAR = 16,
    QUAL_RESTRICT = 64,
    QUAL_IOPORT = 32,
    QUAL_ONCHIP = 128
};

// How many derivations a type may stack (pointer to array of function returning ...). Whatever walks from a type to the
// types that it is made of may recurse that deep; lists of parameters and members are not counted.
constexpr uint32_t max_type_depth = 256;

struct TYPE {
    enum KIND : uint32_t {
        K_VOID,
        K_INTEGRAL,
        K_FLOAT,
        K_FIXED,
        K_COMPLEX,
        K_POINTER,
        K_REFERENCE,
        K_QUALIFIED,
        K_TYPEDEF,
        K_ARRAY,
        K_PTM,
        K_FUNC,
        K_ENUM,
        K_CLASS,
        K_STRUCT,
        K_UNION
    };
    enum IKIND : uint32_t {
        I_BOOL,
        I_CHAR,
        I_UCHAR,
        I_WCHAR_T,
        I_SHORT,
        I_USHORT,
        I_INT,
        I_UINT,
        I_LONG,
        I_ULONG,
        I_LLONG,
        I_ULLONG
    };
    enum FKIND : uint32_t { F_FLOAT, F_DOUBLE, F_LDOUBLE };
    // kind and subkind in one number: IKIND for integers, then these
    enum EKIND : uint32_t {
        E_FLOAT = 12,
        E_DOUBLE,
        E_LDOUBLE,
        E_FIXED,
        E_COMPLEX,
        E_POINTER,
        E_REFERENCE,
        E_ARRAY,
        E_PTM,
        E_FUNC,
        E_ENUM,
        E_CLASS,
        E_STRUCT,
        E_UNION,
        E_VOID
    };
    using CC_KIND = int;
    using BASED_TYPE_CONTAINER = ::BASED_TYPE_CONTAINER;

    uint32_t uid = 0; // 0 until registered; then unique, from 1
    KIND kind;
    uint32_t size_bits = 0;
    uint32_t align_bits = 0;
    TYPE_PKG* package = nullptr; // null until registered
    bool complete = true;        // usable; false for a struct, enum or function whose lists are still open
    bool merg = false;           // merged into another type (see forward)
    bool writ = false;           // written to the output file already
    bool refd = false;           // referenced from what will be written
    bool cpp = false;            // comes from C++
    bool from_input = false;     // defined by the input file
    bool record_out = false;     // the writer's: its record stands in the output (`writ` is set when writing starts)
    bool lists_out = false;      // the writer's: the lists of a class, struct or union stand there too
    bool mark_a = false;         // integral: expl_sign (the source said signed)
    bool mark_b = false;         // integral: is a boolean
    bool mark_c = false;         // integral: pointer-to-member (boolean-integer) mark of the file
    TYPE* descriptor;            // the type without typedefs and qualifiers; the type itself for a plain type
    PSN* psn = nullptr;
    TYPE* norm = nullptr; // cache of normalized()
    uint32_t tu = 0;      // translation unit counter of the package at registration
    uint32_t equiv = 0;
    uint32_t depth = 1;      // length of the chain of parts below, this type included; see max_type_depth
    TYPE* forward = nullptr; // the type that replaced this one; a chain, see final_type()
    TYPE* base = nullptr;    // the type whose `based` container holds this one

    // By kind:
    IKIND ikind = I_INT;        // integral
    FKIND fkind = F_FLOAT;      // float
    TYPE* part = nullptr;       // fixed point, complex, pointer, reference, qualified, pointer to member: the part
    TYPE* ptm_class_ = nullptr; // pointer to member: the class
    uint32_t quals = 0;         // qualified: QUAL_KIND bits
    uint32_t binpt = 0;         // fixed point: binary point
    std::unique_ptr<ARRAY_PART> array;
    std::unique_ptr<FUNC_PART> func;
    std::unique_ptr<ENUM_PART> enumeration;
    std::unique_ptr<TYPEDEF_PART> tdef;
    std::unique_ptr<CSU_PART> csu; // class, struct, union

    std::string map_name_;      // cache of map_name()
    BASED_TYPE_CONTAINER based; // types based on this one, by map name, in order of registration
    uint32_t based_count = 0;
    std::vector<TYPE*> based_list; // the same, in order of registration, for dumps

    TYPE(KIND k, uint32_t size, uint32_t align) : kind(k), size_bits(size), align_bits(align), descriptor(this) {}
    virtual ~TYPE() = default;
    TYPE(const TYPE&) = delete;
    TYPE& operator=(const TYPE&) = delete;

    TYPE* final_type(); // follows `forward` to its end
    uint32_t size() const { return size_bits; }
    uint32_t align() const { return align_bits; }
    uint32_t align_in_bits() const { return align_bits; }
    uint32_t size_in_bytes() const { return size_bits / 16; } // 16-bit units, rounded toward zero
    uint32_t storage_size() const;                            // scalars: smallest power of two at or above the size

    TYPE* stds();       // removes typedefs at the top
    TYPE* stqs();       // removes typedefs and qualifiers at the top
    TYPE* getr(KIND k); // the descriptor, which must be of that kind
    TYPE* getd(KIND k); // the descriptor if it is of that kind, else null
    TYPE* get_csu();    // the descriptor if it is a class, struct or union, else null
    TYPE* getr_csu();   // the descriptor, which must be one
    const char* name(); // of a typedef, enum, class, struct or union (through qualifiers); else ""
    // Accessors that look through typedefs and qualifiers; the type must be of the kind.
    TYPE* type_pointed_to(); // pointer, reference
    TYPE* underlying_type(); // enum, fixed point
    TYPE* part_type();       // complex
    TYPE* elem_type();       // array, vector
    uint32_t elem_count();   // array, vector
    TYPE* return_type();     // function
    TYPE* ptm_member();      // pointer to member
    TYPE* ptm_class();
    TYPE* type_qualified(); // the type without qualifiers: the base of a qualified type, else the type
    uint32_t qual_kind(bool through_arrays = false); // qualifier bits at the top, through typedefs; 0 if none
    bool is_const() { return (qual_kind(true) & QUAL_CONST) != 0; }
    bool is_volatile() { return (qual_kind(true) & QUAL_VOLATILE) != 0; }

    // Tests. All look through typedefs and qualifiers.
    bool is_void() const { return descriptor->kind == K_VOID; }
    bool is_integral() const { return descriptor->kind == K_INTEGRAL; }
    bool is_fltpt() const { return descriptor->kind == K_FLOAT; }
    bool is_fixed() const { return descriptor->kind == K_FIXED; }
    bool is_complex() const { return descriptor->kind == K_COMPLEX; }
    bool is_ptr() const { return descriptor->kind == K_POINTER; }
    bool is_ref() const { return descriptor->kind == K_REFERENCE; }
    bool is_ptm() const { return descriptor->kind == K_PTM; }
    bool is_array() const { return descriptor->kind == K_ARRAY; } // vectors included
    bool is_vector() const { return is_array() && descriptor->array->vector; }
    bool is_func() const { return descriptor->kind == K_FUNC; }
    bool is_enum() const { return descriptor->kind == K_ENUM; }
    bool is_class() const { return descriptor->kind == K_CLASS; }
    bool is_struct() const { return descriptor->kind == K_STRUCT; }
    bool is_union() const { return descriptor->kind == K_UNION; }
    bool is_csu() const { return descriptor->kind >= K_CLASS; }
    bool is_qualified() const { return kind == K_QUALIFIED; }
    bool is_typedef() const { return kind == K_TYPEDEF; }
    bool is_bool() const; // IKIND 0, or any integral with the boolean mark
    bool is_schar() const, is_uchar() const, is_plain_char() const, is_wchar_t() const, is_short() const,
        is_ushort() const, is_int() const, is_uint() const, is_long() const, is_ulong() const, is_llong() const,
        is_ullong() const, is_float() const, is_double() const, is_ldouble() const, is_cchar() const, is_cshort() const,
        is_cint() const, is_clong() const, is_cllong() const, is_cfloat() const, is_cdouble() const;
    bool is_signed() const;     // signed integer (an enum by its underlying type), false for all else
    bool is_unsigned() const;   // unsigned integer (an enum by its underlying type), false for all else
    bool is_arithmetic() const; // kinds integral, float, fixed point, complex, pointer to member, enum
    bool is_scalar() const;     // the same, and pointer and reference
    bool is_udt() const;        // enum, class, struct, union
    bool is_vpred() const;
    bool is_complete() const; // usable, and of a struct, enum or array also its own complete mark
    bool is_lowered() const;
    void set_is_complete(bool);
    void set_is_lowered(bool);
    int rank() const;       // integer rank, 0 bool to 5 long long
    uint32_t ekind() const; // EKIND
    bool has_flex_array_member(bool recurse);

    TYPE* normalized(); // canonical type with the same machine meaning, cached
    TYPE* normalized_type_uncached();

    const std::string& map_name();
    std::string print(bool names_only = false, bool members = false); // C-like text of the type
    std::string printstr(bool members = false) { return print(false, members); }
    void println(FILE*);
    void print_parts(std::string& left, std::string& right, bool names_only, bool members);
    void dump(FILE*);
    void dump_based_list(FILE*, int depth);

    // Over the tree of based types below this one:
    void mark_refed_types(); // whatever a type with refd reaches gets refd
    // refd for named types (typedef, enum, class, struct, union) that should be written although no code names them:
    // with `all` every complete one that the input defined, so that debug information keeps it; otherwise only the
    // typedefs of types that have refd.
    void mark_named_types(bool all);
    void mark_refed_recur(); // sets refd on this type and everything that it reaches
    void mark_csu_components();
    void mark_func_args();
    void set_equiv(TYPE*);
    void check_nfrozen() const; // ends the run when a frozen type would be changed

    // Visits every type of the tree below this one, base before based, each container in key order.
    template <typename F> void for_each_based(F&& visit);
};

template <typename F> void TYPE::for_each_based(F&& visit) {
    // An explicit stack: chains of derived types may be long.
    std::vector<TYPE*> stack{this};
    while (!stack.empty()) {
        TYPE* t = stack.back();
        stack.pop_back();
        visit(t);
        for (auto bucket = t->based.rbegin(); bucket != t->based.rend(); ++bucket)
            for (auto it = bucket->second.rbegin(); it != bucket->second.rend(); ++it) stack.push_back(*it);
    }
}

// ---------------------------------------------------------------------------------------------------------- TYPE_PKG

struct TYPE_PKG {
    TYPE* ints[12] = {};  // the basic integer types by IKIND
    TYPE* floats[3] = {}; // by FKIND
    TYPE* void_type = nullptr;
    TYPE* void_ptr = nullptr;
    uint32_t tu = 0;
    uint32_t next_uid = 1;
    TYPE* complexes[7] = {}; // of char, short, int, long, long long, float, double; made by init_types()
    TYPE* wider[12] = {};    // normalised integer types by IKIND, for next_wider_type; filled by init_types()

    static uint32_t wchar_t_size_in_bits; // 16
    static bool seen_small_enums, seen_enum_type, seen_bitfield;
    static int abi, tp_count, cpu_version;
    static bool large_code_model, byte_mode, flat_memory_model;
    static uint32_t tot_types, tot_structs, tot_enums, tot_funcs, tot_ptrs, tot_arrays, tot_vectors, tot_quals,
        tot_tdefs, tot_basics, tot_complexes;
    static TYPE* root_type; // a void type, the base of everything that is based on nothing

    // A package with the default sizes of the basic types (the files' own replace them, see adopt_basic_type).
    void init_type_pkg();
    void normalize_basic_types();

    TYPE* bool_type() const { return ints[TYPE::I_BOOL]; }
    TYPE* char_type() const { return ints[TYPE::I_CHAR]; }
    TYPE* uchar_type() const { return ints[TYPE::I_UCHAR]; }
    TYPE* short_type() const { return ints[TYPE::I_SHORT]; }
    TYPE* ushort_type() const { return ints[TYPE::I_USHORT]; }
    TYPE* int_type() const { return ints[TYPE::I_INT]; }
    TYPE* uint_type() const { return ints[TYPE::I_UINT]; }
    TYPE* long_type() const { return ints[TYPE::I_LONG]; }
    TYPE* ulong_type() const { return ints[TYPE::I_ULONG]; }
    TYPE* llong_type() const { return ints[TYPE::I_LLONG]; }
    TYPE* ullong_type() const { return ints[TYPE::I_ULLONG]; }
    TYPE* float_type() const { return floats[TYPE::F_FLOAT]; }
    TYPE* double_type() const { return floats[TYPE::F_DOUBLE]; }
    TYPE* ldouble_type() const { return floats[TYPE::F_LDOUBLE]; }
    TYPE* ptr_int() const;  // the signed integer of pointer width
    TYPE* ptr_uint() const; // the unsigned one
    TYPE* ptrdiff_type() const { return ptr_int(); }

    // A basic type that the file defines takes the place of the package's own of that kind (and a pointer to void that
    // of void_ptr), so that every size that reaches code is the file's. Returns whether anything changed; then call
    // basic_types_changed() once, after the last.
    bool adopt_basic_type(TYPE* from_file);
    void basic_types_changed(); // normalises anew, drops cached normal forms, runs init_types()

    // Factories. Each registers its result, so that it may be an older, equal object.
    TYPE* mk_void();
    TYPE* mk_int(TYPE::IKIND, bool expl_sign = false);
    TYPE* mk_int(TYPE::IKIND, bool expl_sign, uint32_t size, uint32_t align, bool boolean = false, bool ptm = false);
    TYPE* mk_boolean_int(TYPE*);
    TYPE* mk_ptm_int(TYPE*);
    TYPE* mk_fxtpt(TYPE*, uint32_t binpt);
    TYPE* mk_fxtpt(TYPE*, uint32_t binpt, uint32_t size, uint32_t align);
    TYPE* mk_fltpt(TYPE::FKIND);
    TYPE* mk_fltpt(TYPE::FKIND, uint32_t size, uint32_t align);
    TYPE* mk_typedef(const char* name, bool lowered, TYPE*, bool cpp);
    TYPE* mk_typedef(const char* name, bool lowered, TYPE*, uint32_t size, uint32_t align, bool cpp);
    TYPE* mk_ptr(TYPE*); // with the size and alignment of void_ptr
    TYPE* mk_ptr(TYPE*, uint32_t size, uint32_t align);
    TYPE* mk_ref(TYPE*);
    TYPE* mk_ref(TYPE*, uint32_t size, uint32_t align);
    TYPE* mk_qual(TYPE*, uint32_t bits); // with the type's own bits added; the type itself if there is nothing to add
    TYPE* mk_qual(TYPE*, uint32_t bits, uint32_t size, uint32_t align);
    TYPE* mk_ptm(TYPE* member, TYPE* cls, uint32_t size, uint32_t align);
    TYPE* mk_array(TYPE* elem, bool cpp); // bound not known
    TYPE* mk_array(TYPE* elem, uint32_t count, bool cpp);
    TYPE* mk_array(TYPE* elem, uint32_t count, uint32_t size, uint32_t align, bool cpp);
    TYPE* mk_array(TYPE* elem, uint32_t count, uint32_t size, uint32_t align, bool cpp, bool bound_known);
    TYPE* mk_vector(TYPE* elem, bool cpp, uint32_t count);
    TYPE* mk_vector(TYPE* elem, bool cpp, uint32_t count, uint32_t size, uint32_t align);
    TYPE* mk_unsigned(TYPE*);
    TYPE* mk_signed(TYPE*);
    // Open until type_frozen(): add parameters, enumerators or members in between.
    TYPE* mk_func(TYPE* ret, bool cpp, bool vararg, bool proto, TYPE::CC_KIND, uint32_t size = 0, uint32_t align = 0);
    TYPE* mk_enum(const char* name, TYPE* underlying, bool cpp);
    TYPE* mk_enum(const char* name, TYPE* underlying, uint32_t size, uint32_t align, bool cpp);
    TYPE* mk_class(const char* name);
    TYPE* mk_class(const char* name, uint32_t size, uint32_t align, bool cpp, uint32_t class_word, bool complete,
                   bool lowered, bool struct_vector);
    TYPE* mk_struct(const char* name);
    TYPE* mk_struct(const char* name, uint32_t size, uint32_t align, bool cpp, uint32_t class_word, bool complete,
                    bool lowered, bool struct_vector);
    TYPE* mk_union(const char* name);
    TYPE* mk_union(const char* name, uint32_t size, uint32_t align, bool cpp, uint32_t class_word, bool complete,
                   bool lowered, bool struct_vector);
    TYPE* mk_complex(TYPE* part);
    TYPE* mk_complex(TYPE* part, uint32_t size, uint32_t align);
    TYPE* mk_vpred(TYPE* elem);

    // Fillers of an open type; each ends the run on a frozen one.
    void add_param(TYPE* func_or_csu, fkPARAM);
    void add_etor(TYPE* enumeration, fkETOR);
    fkMDATA* add_member(TYPE* csu, std::unique_ptr<fkMDATA>); // the package owns it from now on

    TYPE* type_frozen(TYPE*& t); // closes the type; `t` and the result are the type to use from now on
    TYPE* register_type(TYPE* t, TYPE* base);
    TYPE* base_type(const TYPE*);
    void delete_type_tree(TYPE*, bool recursive, bool force);
    TYPE* replace_array_elem(TYPE* array, const TYPE* old_elem, TYPE* new_elem);
    TYPE* remove_known_qual(TYPE*, uint32_t bits);
    TYPE* c_integral_promotions(TYPE*);
    TYPE* c_usual_arith_conv(TYPE*, TYPE*);
    std::string demangle_type_name(const char* name, bool, bool* is_cpp); // identity: no C++ name reaches this program
    int compare_type_names(TYPE*, TYPE*);
    std::string fix_fake_name(const char* name);
    void print_stats(FILE*);
    void dump_all(FILE*);

    // Implementation. Types that are not yet, or no longer, in the tree are owned here.
    ~TYPE_PKG();
    TYPE* make_part(TYPE::KIND, TYPE* part, uint32_t size, uint32_t align);
    TYPE* open_type(std::unique_ptr<TYPE>);
    TYPE* open_csu(TYPE::KIND, const char* name, uint32_t size, uint32_t align, bool cpp, uint32_t class_word,
                   bool is_complete, bool lowered, bool struct_vector);
    void link_type(TYPE* t, TYPE* base);
    void count_type(const TYPE*);
    TYPE* basic_int(TYPE*); // the basic type of an integer's kind if it has its size, else the type unqualified
    std::unordered_set<TYPE*> open_types;            // struct, enum, function: lists still open
    std::vector<std::unique_ptr<TYPE>> merged_types; // functions that an older, equal one replaced; `forward` is set
    std::unordered_map<uint64_t, std::vector<TYPE*>> registry;      // registered types by base and shape; look-up only
    std::unordered_map<TYPE*, std::unordered_set<TYPE*>> contained; // cache of struct_contains_struct; look-up only
    std::map<uint32_t, TYPE*> vpreds;                               // by the element's uid
};

extern TYPE_PKG* tp; // the run's package, made by tp_alloc() and init_type_pkg()
TYPE_PKG* tp_alloc();
void tp_release(); // gives up the run's package; deletes the tree of types with the last one

[[noreturn]] void tp_die(const char* text); // "TP>> internal error: %s\n" on standard error, exit status 1

// ------------------------------------------------------------------------------------------------------ free functions

bool exact_types(TYPE*, TYPE*);                   // structural identity
bool compatible_types(TYPE*, TYPE*, bool strict); // the optimizer's type test
bool equiv_mtypes(TYPE*, TYPE*);                  // alike in the machine
bool merge_types(TYPE*, TYPE*);
TYPE* find_equivalent_type(TYPE*);
bool mdata_equal(const fkMDATA*, const fkMDATA*);
bool is_same_sign(TYPE*, TYPE*);
TYPE* c_integral_promotions(TYPE*);
TYPE* c_usual_arith_conv(TYPE*, TYPE*);
TYPE* find_type(TYPE*);
TYPE* normalized_underlying_type(TYPE* enum_type); // an enum's underlying type, normalised; else the type
TYPE* next_wider_type(TYPE*);
TYPE* promoted_type(TYPE*);
TYPE* essential_type(TYPE*);
TYPE* combined_type(NODE*, NODE*);
TYPE* combined_type_for_types(TYPE*, TYPE*);
INT65 int_type_max(TYPE*); // bool: 1. Enums by their underlying type, pointers as unsigned
INT65 int_type_min(TYPE*);
bool value_fits_in_type(INT65, TYPE*);
INT65 truncate_to_type(INT65, TYPE*);         // cut to the type's width, then extended by its signedness (pointers: as
                                              // the unsigned integer of their width)
INT65 sign_extend_by_type(INT65, TYPE*);      // extended by the type's signedness from its width
INT65 sign_extend_by_type_size(INT65, TYPE*); // sign-extended from the type's width
INT65 type_mask(TYPE*);                       // the type's width in one bits
uint32_t type_stride(TYPE*);                  // bits: the size rounded up to the alignment
bool is_fake_name(const char*);
std::string make_fake_name(); // "$$fake%u", a number that no type so far has in its name
bool is_legal_container_for_field(TYPE* container, TYPE* field_type, uint32_t bit_offset, uint32_t bits,
                                  bool allow_cross, uint32_t& offset);
bool get_container_offset_for_field(uint32_t container_bits, uint32_t alignment, uint32_t bit_offset,
                                    uint32_t field_bits, uint32_t& offset);

// Complex types, alignment and stride limits, and the table of next_wider_type. Call once the package stands, and again
// through basic_types_changed().
void init_types();
extern uint32_t max_scalar_alignment, pointer_type_stride, max_scalar_stride; // bits
TYPE* complex_type_for_part(TYPE* part);
bool struct_contains_struct(TYPE* outer, TYPE* inner); // directly or through members and arrays
// How deep the struct's members nest by value, 1 if no member holds a struct. Ends the run if it holds itself, or if
// the nesting exceeds max_type_depth: whatever walks members by value may recurse.
uint32_t struct_nesting(TYPE* csu);

#endif
