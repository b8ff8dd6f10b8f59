#include "ir/vars.h"

#include "driver/safealloc.h"

#include <cstdarg>
#include <string>

SYMTAB* currfunc;
FUNINFO* currfuninfo;
FILEINFO* fileinfo;
I_FILE* i_file;
I_FILE* o_file;
FILE* fdebug;
FILE* finfo;
int print_debug;
int write_opt_info;
const char* curr_file = "NO_FILE";
bool function_prepass;
int lex;
bool no_outside_callers;
bool no_outside_writers;
uint32_t unique_call_index;
uint32_t user_error_count;

int alias_vars, memory_is_big_endian, program_mode = -1, dump_ocg_in_GDL, dwim_loops, dwim_aliases, far_externs,
                                      strict_fp = 1, kr_flag, max_unrolled_loop_size = 195, code_is_reentrant = 1,
                                      source_interlist, pass_args_in_regs, remove_hooks_when_inlining, inline_single,
                                      cache_sys_funinfo = 2, unsigned_ok_for_RPTB, old_const_pointer_behavior, use_g2,
                                      volit_vars, decode_mangle_scheme, inhibit_clustering;
int aux_cmd_flag[10];
int mini_mult, apply_symbolic_methods, memory_model, unsigned_index_wraps = 1, chars_alias_other_types = 1,
                                                     pointer_args_are_disjoint, loop_increments_are_not_zero;
bool do_MDF_vectorization, do_int_MVP = true, do_IP_MVP, do_beta_MVP;

OPTION_QUERIES option_queries;
void (*abort_hook)(const char*);
int trace_indentation;

void abort_optimizer() { abort_optimizer(nullptr); }

void abort_optimizer(const char* text) {
    if (abort_hook != nullptr)
        abort_hook(text);
    else {
        fputs("\n>>>> Internal error: run terminated\n", stderr);
        if (text != nullptr) fprintf(stderr, "\n>>>> %s.\n", text);
    }
    end_run(1);
}

void optassert(const char*, const char*, int) { abort_optimizer(); }

void dprintf(const char* format, ...) {
    if (fdebug == nullptr) return;
    va_list args;
    va_start(args, format);
    int written = vfprintf(fdebug, format, args);
    va_end(args);
    if (written < 0) optassert("written >= 0", __FILE__, __LINE__);
}

void tprintf(const char* format, ...) {
    if (!print_debug || fdebug == nullptr) return;
    dprintf("%*s", trace_indentation, "");
    va_list args;
    va_start(args, format);
    vfprintf(fdebug, format, args);
    va_end(args);
    fflush(fdebug);
}
