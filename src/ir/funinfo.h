// FUNINFO: the record of a function, one for every function that the input names, kept for the whole run. It carries
// the body between the passes. FILEINFO: the record of the file.
//
// The records stand here, below everything that works on them; what fills them is in icode/opt_client and ipa/fileopt.
#ifndef IR_FUNINFO_H
#define IR_FUNINFO_H

#include "ir/bblk.h"
#include "ir/ls.h"
#include "ir/symbol.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

struct EHT_ENTRY;
struct Dominator;
struct RSET;

enum FUN_FLAG : uint32_t {
#define FUN_FLAG_ENTRY(bit, name) name = 1u << bit,
#include "ir/funflags.def"
};

// One cell of a function's list of callees; a callee stands in it once.
struct CALL_EDGE {
    FUNINFO* callee;
    uint32_t ncalls;
    CALL_EDGE* next;
};

struct FUNLIST {
    FUNINFO* fn;
    FUNLIST* next;
};
FUNLIST* mkFUNLIST(FUNINFO*, FUNLIST* next);

// Scope records of stack sharing: the locals of one block that may share storage with those of sibling blocks.
struct STACK_SHARING_SCOPE {
    STACK_SHARING_SCOPE* parent = nullptr;
    int level = 0;
    std::vector<SYMTAB*> vars;
    std::vector<STACK_SHARING_SCOPE*> children; // in order of opening, owned
};

// An open block while the function is read.
struct BLOCK_RECORD {
    PSN* start;
    std::vector<SYMTAB*> symbols;
};

struct FUNINFO {
    uint32_t number = 0;      // order of creation, from 0
    SYMTAB* symbol = nullptr; // null for a function that is only called
    SYMTAB* integrable_locals = nullptr;
    std::vector<SYMTAB*> fl_statics; // function-local statics
    LIST* integrable_body = nullptr;
    CALL_EDGE* callees = nullptr;
    BITVEC* reach = nullptr;
    CALL_EDGE* dfs_cursor = nullptr;
    TYPE* return_type = nullptr;
    EHT_ENTRY* eht = nullptr; // exception table, owned; null if none
    uint32_t eht_size = 0;    // entries of the table
    PSN* first_psn = nullptr; // the header
    PSN* args_end_psn = nullptr;
    PSN* locals_end_psn = nullptr;
    PSN* end_psn = nullptr;
    uint32_t scope_count = 1;
    uint32_t scope_depth = 1;
    uint32_t flags = 0; // FUN_FLAG bits
    uint32_t size = 0;
    int16_t cg_number = -1;
    uint16_t integrable_calls = 0;
    uint16_t ncallsites = 0;
    int8_t nargs_at_calls = -1;
    uint32_t profile_kind = 0;
    uint32_t entry_count = UINT32_MAX;
    std::vector<bool> inlined_sites;
    char* name = nullptr; // without prefix, owned
    uint32_t bb_count = 0;
    BBLK* bb_list = nullptr;         // first block in depth-first order
    BBLK* uo_list = nullptr;         // first block in creation order
    BBLK* exit_block = nullptr;      // its one statement is URETURN; label index -1
    std::vector<BBLK*> blocks;       // every block by serial number; null once erased
    LIST* statements = nullptr;      // before blocks exist: the body, last statement first
    NODE* arg_tree = nullptr;        // copy of the argument prolog, owned
    SYMTAB* locals = nullptr;        // as read: parameters and locals, newest first
    SYMTAB* temps = nullptr;         // the optimizer's temporaries, newest first
    SYMTAB* memory_locals = nullptr; // split by sym_split
    SYMTAB* scalar_locals = nullptr;
    SYM_RANGE* widened_symbols = nullptr;
    SYM_RANGE* shortened_symbols = nullptr;
    LIST* global_assertions = nullptr;
    LS* scopes = nullptr;                           // root of the scope tree
    LS* scope_cursor = nullptr;                     // the scope in work while the function is read
    STACK_SHARING_SCOPE* overlaps = nullptr;        // root of the stack-sharing records
    STACK_SHARING_SCOPE* overlaps_cursor = nullptr; // the open one
    RSET* rsets = nullptr;
    std::vector<BLOCK_RECORD> open_blocks; // while the function is read
    bool has_local_address = false;        // the address of a local is taken
    bool has_bitfields = false;
    bool has_marked_name = false; // names a volatile symbol
    bool is_leaf = true;          // makes no call
    bool has_restrict = false, has_vector_ops = false, has_complex_ops = false;
    bool is_synonym_neutral = false;
    uint32_t has_asserts = 0;
    uint32_t has_loop_asserts = 0;
    uint32_t return_profile_value = UINT32_MAX;
    int32_t next_label = -2;        // next generated label index; -1 is the exit block's
    int32_t temp_counter = 0;       // next number of a temporary without one of its own
    uint32_t local_index = 0;       // next index in the local table of the input
    Dominator* dominator = nullptr; // see cfg/dominator; its stale flag is set by every change of an edge list
    bool dominator_stale = true;
    BBLK* saved_bb_list = nullptr;
};

struct FILEINFO {
    FUNLIST* fundefs = nullptr;       // the defined functions, newest first
    FUNLIST* cg_order = nullptr;      // call-graph order; its first cell is the anonymous record
    FUNINFO* anonymous_fun = nullptr; // stands for every unknown caller and callee
    uint16_t cg_node_count = 0;
    uint8_t file_flags = 0; // 1 main is defined, 2 a root exists, 4 an external definition, 8 calls outside
    uint8_t pass_number = 1;
};

// The record of the function of that name (without prefix), made if there is none.
FUNINFO* make_FUNINFO(const char* name);
FUNINFO* find_FUNINFO(const char* name); // null if there is none
FUNINFO* find_FUNINFO_for_symbol(const SYMTAB* function);
bool function_is_defined(const FUNINFO*);    // its body is in this file
const std::vector<FUNINFO*>& all_FUNINFOs(); // in order of creation
void init_FUNINFO_table();                   // empties it

// The functions still in the run, in running order: filled as the input is read, replaced by the step
// "set call-graph order".
extern std::vector<SYMTAB*> functions;

#endif
