// What the steps of the pipeline do: each puts together the passes that it names.
#ifndef DRIVER_STEP_ACTIONS_H
#define DRIVER_STEP_ACTIONS_H

void step_pass_1();
void step_intermission();
void step_pass_2_header();
void step_set_call_graph_order();
void step_pass_2_inits();
void step_fast_CP_4_1();
void step_fast_CP_0_1();
void step_MVP_global_assertions();
void step_intraprocedural_MVP();
void step_value_propagation_for_SIMD();
void step_explode_auto_structs();
void step_clone_SSA_NASSERTs();
void step_SSA_CP();
void step_SSA_EDA();
void step_SSA_RP();
void step_SSA_propagate();
void step_SSA_reg_promote();
void step_SSA_reg_promote_with_simpcfg();
void step_global_opts();
void step_local_opts();
void step_pass_2_trailer();
void step_nothing();

// The hooks through which the reader and the writer reach the passes.
void install_pass_hooks();

#endif
