// The interpreter as a library: loads one file or several, runs them, gives what it printed, its status and its counts.
#ifndef NXRUN_NXRUN_H
#define NXRUN_NXRUN_H

#include "count.h"
#include "streams.h"

#include <cstdint>
#include <string>
#include <vector>

struct RUN_OPTIONS {
    bool count = false;         // fill RUN_RESULT::counts
    int64_t max_steps = 0;      // executed tree nodes; 0: no limit
    bool check_asserts = false; // evaluate NASSERTs; a false one is a trap
    bool strict = false;        // differing operand types are an error; float conversions out of range are reported
    bool trap_overflow = false; // signed overflow is a trap
    bool capture = false;       // output goes to RUN_RESULT, and standard input is `input`
    std::string input;
    std::vector<std::string> args; // the program's arguments; the first is its name
    LIBRARY_OPTIONS library;       // what the program sees of the host
};

struct RUN_RESULT {
    enum HOW { RAN, BAD, TRAPPED_ } how = RAN;
    int status = 0;             // exit status: the program's, 1 for a bad file, 3 for a trap
    std::string message;        // BAD, TRAPPED_: what and where
    std::string output, errors; // with capture: standard output and standard error
    COUNTS counts;
};

constexpr int status_of_bad_file = 1, status_of_trap = 3;

// The program that the files make; usually one.
RUN_RESULT run_icode_files(const std::vector<std::string>& paths, const RUN_OPTIONS&);
// A file that stands in memory; `name` is for messages.
RUN_RESULT run_icode(const void* bytes, size_t size, const std::string& name, const RUN_OPTIONS&);

#endif
