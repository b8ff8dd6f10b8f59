// Passes that are not built yet: each leaves the code as it is. A function moves from here to its own file when it is
// built; this file goes away with the last one.
#include "driver/pending.h"

// value propagation and clean-up over the whole function
void fast_CP(int, int) {}
void copyprop(int) {}
void elim_dead_assigns(bool, bool) {}
void lcse() {}
void lcse_subrange_assignments() {}
void elim_dead_subrange_assigns() {}
void combine_asgs_to_memory() {}
void convert_sti_to_cinit() {}
void propagate_increments() {}
void fold_ANDBASGs() {}
void reset_alias_info() {}
void init_dd_aliasing() {}
void do_value_propagation() {}
void straighten_cond_paths() {}
void expand_bitfields() {}
void subst_csu_returning_temp_for_local_var() {}
void optimize_superblocks_in_cfg() {}

// global data flow
void annotate_cfg() {}
void gcse() {}
void restructure_loops() {}
void clean_up_gdflow_bitvecs() {}
void clean_up_alias_analysis_bitvecs_etc() {}
void clean_up_assert_RELOPs() {}
void rename_symbols() {}
void merge_symbols() {}

// the call graph and inlining
void collect_inliner_info() {}
void check_for_synonym_function_in_pass_1() {}
void check_integrable_definition(FUNINFO*) {}
void preprocess_fundef(FUNINFO*) {}
void beta_parms() {}
void beta_convert() {}
void integrate_calls_in_function() {}
void promote_all_embedded_assignments() {}
void unsuppress_inline_function(FUNINFO*) {}

// SSA form and what works on it
void construct_SSA_form(int, int, int) {}
void deconstruct_SSA_form() {}
void clone_SSA_NASSERTs() {}
void propagate_SSA_constants(int) {}
void eliminate_dead_SSA_assignments() {}
void hoist_SSA_region_constants() {}
void promote_vars_to_registers(int) {}
void initialize_ssa_pointsto_mvp() {}
void do_integer_value_propagation() {}
void wrap_up_ssa_pointsto_mvp() {}
void add_MVP_IP_global_assertions() {}

// loops and regions
void add_loop_annotation_from_profile() {}
void do_cd_vectorization() {}
void do_cd_ilp() {}
void do_dd_analysis_for_be() {}
void dd_forward_substitution() {}
void dd_loop_assertions() {}
void dd_undeltafy() {}
void dd_add_downcounters() {}
void dd_collapse_loops() {}
void dd_circular_addressing() {}
void dd_loop_if_interchange() {}
void dd_cd_unroll_by_request() {}
void dd_unroll_and_jam() {}
void dd_PT_info() {}
void dd_old_SIMD() {}
void dd_explode_arrays() {}
void dd_unroll_for_SP() {}
void dd_alias_advice() {}
void dd_reduction_interleaving() {}
void dd_value_propagation() {}
void dd_DIVs_by_ICONs() {}

// vectors, registers, the low-level form
void disguise_vector_operations() {}
void disclose_vector_operations() {}
void coalesce_local_vector_symbols() {}
void lower_vector_statements() {}
void early_LIR() {}
void late_LIR() {}
void init_reg_defs() {}
void allocate_regs() {}
void expand_cluster_refs() {}
