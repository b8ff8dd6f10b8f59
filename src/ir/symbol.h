// SYMTAB: the one record for every named thing: globals, functions, parameters, locals and the optimizer's temporaries.
//
// Globals stand on `global_symbols`, locals on the lists of their FUNINFO; both are chains by `next`. A symbol lives
// for the run. Sizes, offsets and alignments are in bits.
#ifndef IR_SYMBOL_H
#define IR_SYMBOL_H

#include "ir/int65.h"
#include "ir/psn.h"

#include <cstdint>
#include <cstdio>
#include <string>

struct TYPE;
struct NODE;
struct LIST;
struct LS;
struct PRAGMA;
struct EXPR_LIST;
struct FUNINFO;

// Storage classes.
enum SCLASS : uint8_t {
    SC_AUTO = 1,
    SC_EXTERN_DEF = 2, // external, defined here
    SC_STATIC = 3,
    SC_REGISTER = 4,    // becomes 1
    SC_EXTERN_DECL = 5, // external, declared only
    SC_OMITTED = 6,     // left out of the local lists
    SC_PARM = 9,
    SC_PARM_REG = 17,
    SC_REGISTER2 = 22,    // as 4
    SC_PARM_VARARGS = 27, // the variadic area; becomes 9 and forbids inlining
    SC_PROMOTED_STATIC = 108,
    SC_PROMOTED_EXTERN = 109
};

// Bits of SYMTAB::scqual.
enum SCQUAL : uint16_t {
    CQ_INLINE = 0x04,
    CQ_CREGISTER = 0x10,
    CQ_INTERRUPT = 0x20,
    CQ_GLOBAL_REGISTER = 0x80,
    CQ_VOLATILE = 0x1000, // a volatile object
    CQ_ALIASED = 0x2000,  // its address is taken
    CQ_WRITTEN = 0x4000,
    CQ_REFERENCED = 0x8000, // named by what is written
    CQ_FILE_MASK = 0x19FF   // what is kept of the file's bits
};

// Bits of SYMTAB::flags.
enum SYM_FLAG : uint8_t {
    SYM_ALIASED = 1 << 0,     // its address may be held somewhere
    SYM_ORIGINAL = 1 << 2,    // set at creation
    SYM_FL_STATIC = 1 << 3,   // function-local static under study
    SYM_MAY_BE_AUTO = 1 << 4, // function-local static that may become auto
    SYM_HAS_INIT = 1 << 5,    // has an initialiser
    SYM_PROMOTED = 1 << 7
};

struct SYMTAB {
    char* name;      // private copy
    uint32_t size;   // bits; 0 for functions
    uint32_t offset; // bits, for class 9
    uint8_t sclass;
    uint8_t sclass_at_creation;
    uint16_t scqual;
    TYPE* type;   // normalized
    TYPE* otype;  // as read
    TYPE* type2;  // second type of the record, kept and written back
    uint32_t aln; // bits
    LS* scope = nullptr;
    void* position_of_use = nullptr;
    PSN* psn;
    PRAGMA* pragmas = nullptr;   // list, owned
    void* link[2] = {};          // cleared on copy
    EXPR_LIST* init = nullptr;   // initialiser of a global, owned; null if none
    NODE* known_value = nullptr; // globals: the value that the initialiser gives and nothing changes, owned
    uint32_t depth = 0;          // scope number in the icode file that names it now
    uint32_t index = 0;          // index in the file's global or local table
    uint32_t file_position;      // file offset of its body or initialiser, from the magic record; 0 if none
    uint32_t option_set;
    SYMTAB* next = nullptr;   // in the list that holds it
    void* use_link = nullptr; // null in a copy
    uint8_t level = 0;        // 0 global, 1 parameter, 2 local or temporary
    uint32_t sequence = 0;    // order of arrival in its function, from 0
    int16_t use_count = -1;
    uint32_t word[3] = {};
    uint8_t flags;

    // The type must have the size given, unless it is a function.
    SYMTAB(const char* name, uint32_t size, uint32_t offset, uint8_t sclass, uint16_t scqual, TYPE* type, TYPE* otype,
           uint32_t aln, PSN* psn, int option_set);
    SYMTAB(const SYMTAB&) = default; // used by copy_symbol, which makes the private parts its own
    SYMTAB& operator=(const SYMTAB&) = delete;

    bool aliased() const { return (flags & SYM_ALIASED) != 0; }
    bool is_parameter() const { return sclass == SC_PARM || sclass == SC_PARM_REG || sclass == SC_PARM_VARARGS; }
};

struct SYMLIST {
    SYMTAB* symbol;
    SYMLIST* next;
};
struct SYMALIST {
    SYMTAB* symbol;
    NODE* node;
    SYMALIST* next;
    int value;
};
struct SYMPAIRLIST {
    SYMTAB* first;
    SYMTAB* second;
    SYMPAIRLIST* next;
    int value;
};

extern SYMTAB* global_symbols; // newest first
extern SYMTAB* errno_symbol;   // the global int "errno" or "_Errno", null until seen

void init_symbols(); // empties the lists of globals and the intern table
// Makes the symbol of a record: normalized type, masked qualifiers; enters it in the lists (sym_def), in the scope and
// in the stack-sharing records. `level` is the reader's depth: 0 global, 1 parameter, 2 and more local.
SYMTAB* make_symbol(const char* name, TYPE* type, TYPE* type2, uint32_t size, uint32_t aln, uint32_t offset,
                    uint8_t sclass, uint16_t scqual, PSN* psn, uint32_t position, uint32_t option_set, int level);
void sym_def(SYMTAB*);
// Splits the function's locals and temporaries into register candidates (scalar_locals) and all others
// (memory_locals). Gathers what earlier calls split, so that nothing is lost or listed twice.
void sym_split(FUNINFO*);
// A temporary of the current function, "$O$<kind><n>"; a negative n takes the next value of the function's counter. An
// enum stands for int. The scope defaults to the function's outer block.
SYMTAB* sym_temp(char kind, long n, TYPE*, LS* scope);

SYMTAB* revsymtab(SYMTAB* head, SYMTAB* tail = nullptr); // reverses the chain up to `tail`, excluded
SYMLIST* revsymlist(SYMLIST*);
SYMALIST* revsymalist(SYMALIST*);
SYMTAB* unlink_symbol(SYMTAB* sym, SYMTAB* head); // returns the new head
SYMLIST* mk_symlist(SYMTAB*, SYMLIST*);
SYMALIST* mk_symalist(SYMTAB*, NODE*, SYMALIST*, int value);
SYMPAIRLIST* mk_symplist(SYMTAB*, SYMTAB*, SYMPAIRLIST*, int value);
bool symbol_in_list(const SYMTAB*, const SYMTAB* chain);
SYMLIST* remove_sym_from_symlist(const SYMTAB*, SYMLIST*);
SYMLIST* find_sym_in_symlist(const SYMTAB*, SYMLIST*);
SYMPAIRLIST* find_sym_in_sympairlist(const SYMTAB*, SYMPAIRLIST*);
SYMTAB*
find_global(const char* name); // by its name without prefix, the newest if there are more; null if there is none
// The definition (class 2) that belongs to a declaration (class 5) of a global; else the symbol itself.
SYMTAB* get_sym_def_for_decl(SYMTAB*);
SYMTAB* copy_symbol(const SYMTAB*, int);                // own name, no scope, no use link, not in any list
SYMTAB* intern_symbol(SYMTAB*, FUNINFO*);               // an identity that outlives the function; globals are their own
SYMTAB* find_interned_symbol(SYMTAB*);                  // null if it was not interned
void map_over_interned_symbols(void (*visit)(SYMTAB*)); // in the order of interning
void interned_stats();

bool is_internal_name(const char*); // begins with "$O"
bool is_internal_symbol(const SYMTAB*);
bool is_optimizer_temp(const char* name, char from, char to); // "$O$<c>..." with from <= c <= to
const char* skip_name_prefix(const char*);                    // skips one leading '_' or '.'
bool name_has_prefix(const char*);
bool is_operator_new_symbol(const SYMTAB*);
PRAGMA* symbol_has_pragma(const SYMTAB*, int kind); // the first pragma of the kind, or null
PRAGMA* remove_pragma(int kind, PRAGMA* list);      // without the pragmas of the kind, which are deleted
bool sym_appears_in_EHT(const SYMTAB*);             // in the exception table of the current function

// The value in a symbol's initialiser at an offset in 16-bit units, read as `type`: a node of the initialiser, or a
// shared constant (0 for what the initialiser skips); neither is to be changed or erased. Null if there is no single
// such value.
NODE* lookup_autoinit(SYMTAB*, uint32_t offset, TYPE*);
NODE* lookup_autoinit(NODE* lvalue); // NAME, STDOT chain with a constant place
NODE* lookup_array_autoinit(SYMTAB*, uint32_t index);
void forget_autoinit_constants(); // erases the shared constants; done by init_symbols

// Stack sharing (ir/stack_sharing): locals of sibling blocks share storage.
void init_stack_sharing();
void begin_stack_sharing_scope(int level);
void end_stack_sharing_scope();
void add_stack_sharing_variable(SYMTAB*);
void delete_stack_sharing_variable(SYMTAB*);
void build_stack_sharing_type();

// Splitting of local structs (ir/explode).
void explode_auto_struct_vars();

// Function-local statics (ir/fl_statics).
void identify_fl_statics_safe_for_auto();
void convert_safe_fl_statics_to_auto(FUNINFO*);

// Symbols that later passes treat as wider or narrower than declared.
struct SYM_RANGE {
    SYMTAB* symbol;
    TYPE* type;
    INT65 min, max, known_zeros, known_ones;
    SYM_RANGE* next;
};
void widen_user_variables();
SYM_RANGE* make_widened_symbol_entry(SYMTAB*, TYPE*, INT65 min, INT65 max, INT65 known_zeros, INT65 known_ones);
SYM_RANGE* find_widened_symbol_entry(const SYMTAB*);
SYM_RANGE* make_shortened_symbol_entry(SYMTAB*, TYPE*);
SYM_RANGE* find_shortened_symbol_entry(const SYMTAB*);

#endif
