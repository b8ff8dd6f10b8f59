// The table of steps and the scheduler that takes every function through them.
#ifndef DRIVER_STEPS_H
#define DRIVER_STEPS_H

#include "driver/pass.h"

struct SYMTAB;

// Pairs of steps with the reason why the first stands before the second.
struct STEP_ORDER {
    const char* first;
    const char* second;
    const char* why;
};
extern const STEP_ORDER step_order[];
extern const int step_order_count;

extern std::vector<pass*> passes; // the pipeline without its last step

void build_step_table(); // makes all steps but the last
void make_last_step();   // makes "pass 2 trailer" behind them
void free_step_table();
void run_scheduler(); // runs until no function on `functions` has a step left

void erase_all(); // frees the current function's blocks, statements and scopes; nothing if there is none

#endif
