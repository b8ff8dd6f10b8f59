// The optimizer's side of the reader: makes symbols, function records and statements of the records of a file.
//
// At the end of a function it runs the first passes through PASS_HOOKS, so that a function that has been read stands as
// a control-flow graph. This floor knows the passes only by these hooks; the driver fills them in.
#ifndef ICODE_OPT_CLIENT_H
#define ICODE_OPT_CLIENT_H

#include "icode/if.h"

struct FUNINFO;
struct LS;

// What reading and writing a function ask of the floors above. A null hook does nothing.
struct PASS_HOOKS {
    void (*check_for_synonym_function_in_pass_1)() = nullptr;
    void (*check_integrable_definition)(FUNINFO*) = nullptr;
    void (*seq_trees)() = nullptr;
    void (*buildcfg)() = nullptr;
    void (*simpcfg)(bool, bool) = nullptr;
    void (*fast_CP)(int, int) = nullptr;
    void (*preprocess_fundef)(FUNINFO*) = nullptr;
    void (*scan_for_funinfo)(NODE*, FUNINFO*) = nullptr;
    void (*scan_for_calls_and_uses)(NODE*) = nullptr;
    void (*unsuppress_inline_function)(FUNINFO*) = nullptr;
    void (*init_FUNINFO_flags)(FUNINFO*) = nullptr;
    void (*dump_function_header)() = nullptr;
    NODE* (*simp_node)(NODE*) = nullptr;
    NODE* (*insert_mandatory_casts)(NODE*) = nullptr;
    void (*identify_fl_statics_safe_for_auto)() = nullptr;
    void (*convert_safe_fl_statics_to_auto)(FUNINFO*) = nullptr;
    void (*after_reading)(FUNINFO*) = nullptr; // checks of a function that has just become blocks
    void (*wrasmr)(int kind, const char* text, PSN*) = nullptr;
};
extern PASS_HOOKS pass_hooks;

IF_CLIENT* opt_client(); // the one client of the run

void reset_opt_client(); // forgets what it noted of an earlier file

// The option sets of the file, in its order.
extern std::vector<OPTION_SET> icode_optionlist;

void opt_process_pragma(SYMTAB*, PRAGMA*);
void opt_symbol_init(SYMTAB*, EXPR_LIST*);
// Brings a tree just read to the form that the passes expect; gives the tree to use.
NODE* expr_cleanup(NODE*);

bool func_is_nonconforming(SYMTAB*); // on the list that FUNC_IS_NONCONFORMING fills
bool is_barrier_MCALL(SYMTAB*);      // no builtin of this target is a barrier: false
bool symbol_is_preemptible(SYMTAB*);
bool symbol_is_outside_accessible(SYMTAB*);
bool symbol_is_protected(SYMTAB*);
bool symbol_will_be_indirected(SYMTAB*);
bool pragma_says_preemptible(PRAGMA*);
bool pragma_says_outside_accessible(PRAGMA*);

// PPRAGMA trees.
void set_PPRAGMA_tree_info(NODE*, uint32_t kind, uint32_t count);
const char* get_PPRAGMA_tree_arg(NODE*, uint32_t i);
void set_PPRAGMA_tree_arg(NODE*, uint32_t i, const char* text);
long get_PPRAGMA_tree_int_arg(NODE*, uint32_t i);
void set_PPRAGMA_tree_int_arg(NODE*, uint32_t i, long value);
NODE* copy_ppragma_tree(NODE*);
NODE* mk_PPRAGMA(PRAGMA*, LS* scope); // takes the record

#endif
