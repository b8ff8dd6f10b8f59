// The handful of globals of the program, each declared once, with who sets it and when.
#ifndef IR_VARS_H
#define IR_VARS_H

#include <cstdint>
#include <cstdio>

struct SYMTAB;
struct FUNINFO;
struct FILEINFO;
struct I_FILE;

// The function in work: set by the reader while it reads a function and by the scheduler for each step; null between
// functions and while a barrier runs. Whoever changes them for a moment uses CURRENT_FUNCTION.
extern SYMTAB* currfunc;
extern FUNINFO* currfuninfo;
extern FILEINFO* fileinfo; // the record of the file; set by init_fileopts

extern I_FILE* i_file; // set by open_files, null after close_files
extern I_FILE* o_file;
extern FILE* fdebug;          // debug log, or null
extern FILE* finfo;           // information file, or null
extern int print_debug;       // level of --print_debug
extern int write_opt_info;    // level of --gen_opt_info
extern const char* curr_file; // file name of the function in work, "NO_FILE" or "NO_PSN_FILE"

extern bool function_prepass;      // true while the input is read and during "pass 1"
extern int lex;                    // reader: 0 outside functions, 1 in the parameters, 2 and more in the blocks
extern bool no_outside_callers;    // nothing outside the file calls in
extern bool no_outside_writers;    // nothing outside the file writes its globals
extern uint32_t unique_call_index; // calls numbered so far in the function in work
extern uint32_t user_error_count;

// Flags that the options set (driver/global_flags), read everywhere.
extern int alias_vars, memory_is_big_endian, program_mode, dump_ocg_in_GDL, dwim_loops, dwim_aliases, far_externs,
    strict_fp, kr_flag, max_unrolled_loop_size, code_is_reentrant, source_interlist, pass_args_in_regs,
    remove_hooks_when_inlining, inline_single, cache_sys_funinfo, unsigned_ok_for_RPTB, old_const_pointer_behavior,
    use_g2, volit_vars, decode_mangle_scheme, inhibit_clustering;
extern int aux_cmd_flag[10];
extern int mini_mult, apply_symbolic_methods, memory_model, unsigned_index_wraps, chars_alias_other_types,
    pointer_args_are_disjoint, loop_increments_are_not_zero;
extern int trace_indentation; // blanks in front of traced lines
extern bool do_MDF_vectorization, do_int_MVP, do_IP_MVP, do_beta_MVP;

// Makes another function the one in work until the end of the scope.
class CURRENT_FUNCTION {
  public:
    CURRENT_FUNCTION(SYMTAB* function, FUNINFO* info) : function_(currfunc), info_(currfuninfo) {
        currfunc = function;
        currfuninfo = info;
    }
    ~CURRENT_FUNCTION() {
        currfunc = function_;
        currfuninfo = info_;
    }
    CURRENT_FUNCTION(const CURRENT_FUNCTION&) = delete;
    CURRENT_FUNCTION& operator=(const CURRENT_FUNCTION&) = delete;

  private:
    SYMTAB* function_;
    FUNINFO* info_;
};

// Queries that floors below the driver ask. The driver fills the table in (driver/option_sets); a tool that is no optimizer
// keeps these defaults.
struct OPTION_QUERIES {
    int (*opt_level)() = nullptr;
    int (*size_speed_goal)() = nullptr;
};
extern OPTION_QUERIES option_queries;
inline int opt_level() { return option_queries.opt_level != nullptr ? option_queries.opt_level() : 0; }
inline int size_speed_goal() {
    return option_queries.size_speed_goal != nullptr ? option_queries.size_speed_goal() : 4;
}

// Internal faults. All three end the run and do not return: the files are closed, the output file is deleted, the fault
// is told on standard error, exit status 1 (driver/main fills in the clean-up through abort_hook).
[[noreturn]] void abort_optimizer();
[[noreturn]] void abort_optimizer(const char* text);
[[noreturn]] void optassert(const char* expression, const char* file, int line);
extern void (*abort_hook)(const char* text); // closes and deletes; null in tools

// Internal check, on in every build that is not made without checks.
#ifdef NX_CHECKS
#define OPTASSERT(expr) ((expr) ? (void)0 : optassert(#expr, __FILE__, __LINE__))
#else
#define OPTASSERT(expr) ((void)sizeof((expr) ? 1 : 0))
#endif

// Writes to the debug log, if there is one; a failed write is an internal fault.
void dprintf(const char* format, ...) __attribute__((format(printf, 1, 2)));
// The same with the trace indentation in front, under --print_debug only.
void tprintf(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Debug switches by name ("debug:name" and so on): their value, 0 if not given.
int pass_debug(const char* name);
int pass_enable(const char* name);
bool pass_disable(const char* name);
void process_debug_option(const char* kind, const char* text); // comma list of name or name=value

#endif
