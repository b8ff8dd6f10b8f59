// The files of the run: opened from the command line, closed at the end, removed when the run fails.
#ifndef DRIVER_OPEN_FILES_H
#define DRIVER_OPEN_FILES_H

#include <cstddef>

constexpr const char* nxopt_banner = "Orvane C/C++ Optimizer";

constexpr size_t file_name_size = 4096;
extern char i_file_name[file_name_size]; // as given
extern char o_file_name[file_name_size];

void open_files(int argc, char** argv);
// Closes input, output and logs. Returns false if the output could not be written.
bool close_files();
// Closes what is open and removes the output file: for every end of the run but the good one.
void discard_files();
void discard_output_in_signal(); // removes the unfinished output file: system calls only
const char* next_arg();          // the next word of the command line, or null: for options that take one
void emit_cmd_line_text();
const char* build_id();

#endif
