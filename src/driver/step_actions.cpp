#include "driver/step_actions.h"

#include "cfg/bbutils.h"
#include "cfg/buildcfg.h"
#include "cfg/layout.h"
#include "cfg/seqtrees.h"
#include "cfg/simpcfg.h"
#include "cfg/unsimplify.h"
#include "cfg/validate.h"
#include "driver/debug_log.h"
#include "driver/dump_graph.h"
#include "driver/global_flags.h"
#include "driver/open_files.h"
#include "driver/option_sets.h"
#include "driver/pass.h"
#include "driver/pending.h"
#include "driver/steps.h"
#include "icode/if.h"
#include "icode/opt_client.h"
#include "icode/write.h"
#include "ipa/fileopt.h"
#include "ir/funinfo.h"
#include "ir/opt_expr.h"
#include "ir/symbol.h"
#include "ir/types.h"
#include "ir/vars.h"
#include "simp/simp.h"

#include <algorithm>

void step_nothing() {}

// ------------------------------------------------------------------------------------------------------------- pass 1

void step_pass_1() {
    if (opt_level() > 1) {
        fast_CP(4, 0);
        elim_dead_assigns(false, false);
    }
    fast_CP(4, 0);
    if (opt_level() > 1) {
        init_dd_aliasing();
        do_value_propagation();
    }
    if (!pass_disable("newinline")) collect_inliner_info();
    // The function's body stays with its record: with no current record there is nothing that erase_all could free.
    currfuninfo = nullptr;
    erase_all();
    currfunc = nullptr;
    restore_global_flags();
}

void step_intermission() {
    function_prepass = false;
    analyze_call_graph();
    dump_call_graph();
    erase_all();
    currfunc = nullptr;
    restore_global_flags();
    global_symbols = revsymtab(global_symbols);
    for (SYMTAB* sym = global_symbols; sym != nullptr; sym = sym->next) o_file->if_enter_global(sym);
    global_symbols = revsymtab(global_symbols);
}

void step_pass_2_header() {
    fileinfo->pass_number = 2;
    if (write_opt_info && finfo != nullptr) fflush(finfo);
    if (print_debug) {
        fflush(fdebug);
        printf("%s Pass 2\n", nxopt_banner);
        fflush(stdout);
    }
}

void step_set_call_graph_order() {
    std::vector<FUNINFO*> order;
    for (FUNLIST* cell = fileinfo->cg_order; cell != nullptr; cell = cell->next)
        if (cell->fn != fileinfo->anonymous_fun) order.push_back(cell->fn);
    if (opt_level() >= 2)
        std::reverse(order.begin(), order.end());
    else
        std::stable_sort(order.begin(), order.end(),
                         [](const FUNINFO* a, const FUNINFO* b) { return a->symbol->sequence < b->symbol->sequence; });
    functions.clear();
    for (FUNINFO* f : order) {
        bool suppressed = (f->flags & FUN_is_suppressed) && !(f->flags & FUN_cannot_suppress);
        if (!(f->flags & FUN_is_processed) && !suppressed) functions.push_back(f->symbol);
    }
}

// ------------------------------------------------------------------------------------------------------------- pass 2

void step_pass_2_inits() {
    OPTASSERT(LS_validate(currfuninfo->scopes));
    integrate_calls_in_function();
    promote_all_embedded_assignments();
    if (step_gate("stack sharing")) build_stack_sharing_type();
    disguise_vector_operations();
    disclose_vector_operations();
    coalesce_local_vector_symbols();
    lower_vector_statements();
    disguise_vector_operations();
    sym_split(currfuninfo);
    beta_parms();
    beta_convert();
    simpcfg(false, false);
}

void step_fast_CP_4_1() {
    simplify_function();
    fast_CP(4, 1);
}
void step_fast_CP_0_1() { fast_CP(0, 1); }

void step_MVP_global_assertions() {
    if (do_IP_MVP) add_MVP_IP_global_assertions();
}

void step_intraprocedural_MVP() {
    if (opt_level() < 2 || !do_int_MVP) return;
    initialize_ssa_pointsto_mvp();
    if (do_int_MVP) do_integer_value_propagation();
    if (do_int_MVP) wrap_up_ssa_pointsto_mvp();
}

void step_value_propagation_for_SIMD() {
    if (opt_level() < 2 || !do_MDF_vectorization) return;
    init_dd_aliasing();
    do_value_propagation();
    simpcfg(false, false);
    rebuildcfg();
    simpcfg(false, false);
}

void step_explode_auto_structs() {
    if (opt_level() >= 2) explode_auto_struct_vars();
}

namespace {

void in_SSA_form(void (*action)()) {
    if (opt_level() < 2) return;
    construct_SSA_form(0, 0, 1);
    action();
    deconstruct_SSA_form();
}

} // namespace

void step_clone_SSA_NASSERTs() { in_SSA_form(clone_SSA_NASSERTs); }
void step_SSA_CP() {
    in_SSA_form([] { propagate_SSA_constants(1); });
}
void step_SSA_EDA() { in_SSA_form(eliminate_dead_SSA_assignments); }
void step_SSA_RP() {
    if (opt_level() >= 2) promote_vars_to_registers(1);
}
void step_SSA_propagate() { propagate_SSA_constants(3); }
void step_SSA_reg_promote() { promote_vars_to_registers(0); }
void step_SSA_reg_promote_with_simpcfg() {
    promote_vars_to_registers(0);
    simpcfg(false, false);
}

void step_global_opts() {
    if (opt_level() < 2 || currfuninfo->bb_count < 2) return;
    copyprop(1);
    annotate_cfg();
    gcse();
    restructure_loops();
    clean_up_gdflow_bitvecs();
    clean_up_alias_analysis_bitvecs_etc();
    clean_up_assert_RELOPs();
    rename_symbols();
    merge_symbols();
}

namespace {

// Drops the optimizer's temporaries that nothing names.
void drop_unused_temporaries() {
    FUNINFO* f = currfuninfo;
    SYMTAB** const lists[] = {&f->locals, &f->temps, &f->scalar_locals, &f->memory_locals};
    for (SYMTAB** list : lists)
        for (SYMTAB* s = *list; s != nullptr; s = s->next)
            if (is_internal_symbol(s)) s->use_count = 0;
    for (BBLK* bb = f->bb_list; bb != nullptr; bb = bb->dflink)
        for (LIST* cell = bb->stmts; cell != nullptr; cell = cell->rest)
            walk_tree(cell->first, [](NODE* node) {
                if (node->op == NAME && node->u.sym != nullptr && is_internal_symbol(node->u.sym))
                    node->u.sym->use_count = 1;
            });
    for (SYMTAB** list : lists) {
        SYMTAB** link = list;
        while (*link != nullptr) {
            SYMTAB* s = *link;
            if (is_internal_symbol(s) && s->level == 2 && s->use_count == 0 && !sym_appears_in_EHT(s)) {
                *link = s->next;
                s->next = nullptr;
            } else
                link = &s->next;
        }
    }
}

} // namespace

void step_local_opts() {
    subst_csu_returning_temp_for_local_var();
    if (opt_level() < 1) return;
    optimize_superblocks_in_cfg();
    reset_alias_info();
    lcse_subrange_assignments();
    elim_dead_subrange_assigns();
    drop_unused_temporaries();
    copyprop(1);
    if (opt_level() >= 2) convert_sti_to_cinit();
    lcse();
    simplify_function();
    propagate_increments();
}

void step_pass_2_trailer() {
    combine_asgs_to_memory();
    if (opt_level() >= 1 && step_gate("optimize_SWITCH_cases")) optimize_SWITCH_cases();
    init_reg_defs();
    allocate_regs();
    elim_dead_assigns(false, false);
    if (!(currfuninfo->flags & FUN_is_suppressed)) {
        write_func_header();
        fold_ANDBASGs();
        do_dd_analysis_for_be();
        simpcfg(true, false);
        if (opt_level() >= 1 && step_gate("rotate_loops")) rotate_loops();
        if (fileinfo->pass_number == 2 && step_gate("straighten_traces_in_cfg")) straighten_traces_in_cfg();
        disclose_vector_operations();
        unsimplify();
        disguise_vector_operations();
        if (pass_enable("verify") != 0) validate_function("before writing");
        dump_flow_graph(graph_before_writing);
        finalize_dd_edges();
        disclose_vector_operations();
        write_func_body();
    }
    currfuninfo->bb_count = currfuninfo->bb_list != nullptr ? currfuninfo->bb_count : 0;
    erase_all();
    currfuninfo = nullptr;
    currfunc = nullptr;
    restore_global_flags();
    close_function_log();
}

// ------------------------------------------------------------------------------------------------- freeing a function

void erase_all() {
    FUNINFO* f = currfuninfo;
    if (f == nullptr) return;
    f->statements = erase_tree_list(f->statements);
    f->arg_tree = erase_tree(f->arg_tree);
    for (BBLK* bb = f->uo_list; bb != nullptr;) {
        BBLK* next = bb->uolink;
        erase_bblock(bb);
        delete bb;
        bb = next;
    }
    f->bb_list = f->uo_list = f->exit_block = nullptr;
    f->blocks.clear();
    f->blocks.shrink_to_fit();
    f->bb_count = 0;
    LS_erase(f->scopes);
    f->scopes = f->scope_cursor = nullptr;
}

// ----------------------------------------------------------------------------------------------------------- the hooks

namespace {

// A function has been read and stands as blocks.
void check_function_read(FUNINFO*) {
#ifdef NX_DEBUG
    validate_function("reading");
#else
    if (pass_enable("verify") != 0) validate_function("reading");
#endif
}

} // namespace

void install_pass_hooks() {
    pass_hooks = {};
    pass_hooks.check_for_synonym_function_in_pass_1 = check_for_synonym_function_in_pass_1;
    pass_hooks.check_integrable_definition = check_integrable_definition;
    pass_hooks.seq_trees = seq_trees;
    pass_hooks.buildcfg = buildcfg;
    pass_hooks.simpcfg = [](bool before_writing, bool flag) { simpcfg(before_writing, flag); };
    pass_hooks.fast_CP = fast_CP;
    pass_hooks.preprocess_fundef = preprocess_fundef;
    pass_hooks.unsuppress_inline_function = unsuppress_inline_function;
    pass_hooks.dump_function_header = dump_function_header;
    pass_hooks.simp_node = [](NODE* tree) { return simp_node(tree); };
    pass_hooks.insert_mandatory_casts = insert_mandatory_casts;
    pass_hooks.identify_fl_statics_safe_for_auto = [] {
        if (opt_level() >= 1) identify_fl_statics_safe_for_auto();
    };
    pass_hooks.convert_safe_fl_statics_to_auto = convert_safe_fl_statics_to_auto;
    pass_hooks.after_reading = check_function_read;
    pass_hooks.wrasmr = wrasmr;
}
