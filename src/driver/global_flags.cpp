#include "driver/global_flags.h"

#include "diag/diagnostic.h"
#include "driver/option_sets.h"
#include "ir/types.h"
#include "ir/vars.h"

#include <algorithm>

void reset_global_flags() {
    alias_vars = 0;
    memory_is_big_endian = 0;
    program_mode = -1;
    dump_ocg_in_GDL = 0;
    dwim_loops = dwim_aliases = 0;
    far_externs = 0;
    strict_fp = 1;
    kr_flag = 0;
    max_unrolled_loop_size = 195;
    code_is_reentrant = 1;
    source_interlist = 0;
    pass_args_in_regs = 0;
    remove_hooks_when_inlining = 0;
    inline_single = 0;
    cache_sys_funinfo = 2;
    unsigned_ok_for_RPTB = 0;
    old_const_pointer_behavior = 0;
    use_g2 = 0;
    volit_vars = 0;
    decode_mangle_scheme = 0;
    TYPE_PKG::abi = 0;
    inhibit_clustering = 0;
    std::fill(std::begin(aux_cmd_flag), std::end(aux_cmd_flag), 0);
    mini_mult = 0;
    apply_symbolic_methods = 0;
    memory_model = 0;
    unsigned_index_wraps = 1;
    chars_alias_other_types = 1;
    pointer_args_are_disjoint = 0;
    loop_increments_are_not_zero = 0;
    DIAGNOSTIC::wrap_enabled_m = true;
}

namespace {

void set_debug_switches(const option_obj& o, option_id id, const char* kind) {
    for (size_t i = 0; i < o.getargcount(id); i++) process_debug_option(kind, o.getstrarg(id, i));
}

void set_aux_flags(const option_obj& o) {
    for (size_t i = 0; i < o.getargcount(OPT_aux_cmd_flag); i++) {
        char digit = o.getstrarg(OPT_aux_cmd_flag, i)[0];
        if (digit >= '0' && digit <= '9') aux_cmd_flag[digit - '0'] = 1;
    }
}

[[noreturn]] void bad_value(const char* text, long value) {
    fprintf(stderr, text, value);
    abort_optimizer();
}

// By rising id: where two options set one flag, the higher id wins.
void set_from_option(const option_obj& o, option_id id) {
    switch (id) {
    case OPT_abi:
        if (o.getnumarg(id) == 2) TYPE_PKG::abi = decode_mangle_scheme = 1;
        break;
    case OPT_aliased_variables: alias_vars = 1; break;
    case OPT_aux_cmd_flag: set_aux_flags(o); break;
    case OPT_big_endian: memory_is_big_endian = 1; break;
    case OPT_call_assumptions: program_mode = static_cast<int>(o.getnumarg(id)); break;
    case OPT_debug: set_debug_switches(o, id, "debug"); break;
    case OPT_diag_wrap: DIAGNOSTIC::wrap_enabled_m = o.getnumarg(id) != 0; break;
    case OPT_disable: set_debug_switches(o, id, "disable"); break;
    case OPT_dump_call_graph: dump_ocg_in_GDL = 1; break;
    case OPT_dwim_loops: dwim_loops = 1; break;
    case OPT_enable: set_debug_switches(o, id, "enable"); break;
    case OPT_endian: memory_is_big_endian = o.getnumarg(id) == ENDIAN_BIG; break;
    case OPT_far_externs: far_externs = 1; break;
    case OPT_fp_mode: strict_fp = o.getnumarg(id) == FP_MODE_STRICT; break;
    case OPT_kr_compatible: kr_flag = 1; break;
    case OPT_max_unrolled_loop_size: max_unrolled_loop_size = static_cast<int>(o.getnumarg(id)); break;
    case OPT_no_bad_aliases: dwim_aliases = dwim_loops = 1; break;
    case OPT_nonreentrant: code_is_reentrant = 0; break;
    case OPT_opt_level:
        if (o.getnumarg(id) < OPT_LEVEL_OFF || o.getnumarg(id) > 4)
            bad_value("--opt_level given invalid value: %ld\n", o.getnumarg(id));
        break;
    case OPT_optimizer_interlist: source_interlist = 1; break;
    case OPT_pass_args_in_regs: pass_args_in_regs = 1; break;
    case OPT_remove_hooks_when_inlining: remove_hooks_when_inlining = 1; break;
    case OPT_single_inline: inline_single = 1; break;
    case OPT_size_speed_goal:
        if (o.getnumarg(id) < 0 || o.getnumarg(id) > 5)
            bad_value("--size_speed_goal given invalid value:  %ld\n", o.getnumarg(id));
        break;
    case OPT_std_lib_func_defined: cache_sys_funinfo = 1; break;
    case OPT_std_lib_func_not_defined: cache_sys_funinfo = 2; break;
    case OPT_std_lib_func_redefined: cache_sys_funinfo = 0; break;
    case OPT_unsigned_ok_for_rptb: unsigned_ok_for_RPTB = 1; break;
    case OPT_use_const_for_alias_analysis: old_const_pointer_behavior = 1; break;
    case OPT_use_g2vm: use_g2 = 1; break;
    case OPT_use_g3vm: use_g2 = 0; break;
    case OPT_volit_vars: volit_vars = 1; break;
    default: break; // asked for where it matters
    }
}

} // namespace

void set_global_flags(option_obj* o) {
    for (int id = 0; id < COUNT_OPTIONS; id++)
        if (o->isset(static_cast<option_id>(id))) set_from_option(*o, static_cast<option_id>(id));
    const option_obj* file = file_options != nullptr ? file_options : o;
    if (!file->isset(OPT_print_debug)) std::fill(std::begin(aux_cmd_flag), std::end(aux_cmd_flag), 0);
    if (dwim_aliases) {
        alias_vars = 0;
        chars_alias_other_types = 0;
        pointer_args_are_disjoint = 1;
    }
    if (dwim_loops) loop_increments_are_not_zero = 1;
    if (option_opt_level() == 0) alias_vars = 1;
    if (any_option_set_is_level_0()) inhibit_clustering = 1;
}

void restore_global_flags() {
    if (!print_debug) return;
    dprintf("[Restoring options");
    dprintf(" --> -o%d -i%d", option_opt_level(), auto_inline());
    dprintf(" --opt_for_speed=%d", option_size_speed_goal());
    dprintf("]\n");
}
