// The debug log ".odb": opening, switching to a log of one function, and what is listed there.
#ifndef DRIVER_DEBUG_LOG_H
#define DRIVER_DEBUG_LOG_H

#include <cstdio>

// Opens the log, named after the input and the suffix (null: none), and makes it `fdebug`; a log that is open stays
// open. On failure ends the run, or falls back on standard error.
void open_debug_file(int exit_on_failure, const char* suffix);
void close_debug_file();     // with the closing line
void write_debug_header();   // the head of a function's part, in front of its first step of a round
void close_function_log();   // closes the log of one function and takes up the one before it
FILE* outer_debug_log();     // while a function has a log of its own: the one before it; else null
void dump_function_header(); // file and function to standard output, the function's option set to the log
void prbbinfix();            // the blocks and statements of the current function

#endif
