// The option sets of a run: one option_obj for each set that the input file records, the command line on top of it; and
// the questions that the optimizer asks of the set in force.
#ifndef DRIVER_OPTION_SETS_H
#define DRIVER_OPTION_SETS_H

#include "driver/optobj.h"

#include <vector>

struct OPTION_SET;

extern option_obj* cmdline_options; // owned; made by open_files
extern option_obj* file_options;    // set 0

// Makes the objects of all option sets: what the file recorded, then the options of the command line. A file without
// sets gets one, number 0. Also fills option_queries. A recorded text that is no option ends the run with status 1.
void make_all_option_sets(const std::vector<OPTION_SET>&);
bool any_option_set_is_level_0();
void reset_options(); // forgets all objects
// A word that is no option, as it was typed. `where` stands in front of the message: empty for the command line.
[[noreturn]] void report_invalid_option(const char* as_typed, const char* where = "");

// ---- queries. Each answers, anew at each call, from the set of the current function, or of the file when there is no
// current function or its set is not in the file.
option_obj* options_in_force(); // null before there are any
int option_opt_level();         // 0 to 4; 1 if not given
int option_size_speed_goal();   // 0 to 5; 4 if not given
int auto_inline();
bool fp_add_is_associative();
bool saturating_add_is_associative();
int interrupt_threshold();
bool use_llvm();

long print_debug_option(); // --print_debug of the file, 0 if not given
bool vectorize_is_on();

#endif
