// The ways in which a run ends early or goes back. All are thrown as C++ exceptions; nxrun.cpp and the dispatch loop
// catch them.
#ifndef NXRUN_FAULT_H
#define NXRUN_FAULT_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

// The program did what has no meaning (null access, division by zero, ...). The position is added by the dispatch loop.
struct TRAP {
    std::string cause;
};

// The program ended by exit(), abort() or a failed assertion.
struct PROGRAM_EXIT {
    int status;
};

// Control goes back to a call of setjmp, which gives the value.
struct LONG_JUMP {
    size_t frame; // activation, counted from the outermost
    size_t pc;    // the call: index of its instruction
    uint32_t top; // where the stack ended
    int64_t value;
};

// The file cannot be run: it is damaged or not well formed. `text` says what and where.
struct BAD_FILE {
    std::string text;
};

[[gnu::format(printf, 1, 2)]] inline std::string text_of(const char* format, ...) {
    char buffer[512];
    va_list args;
    va_start(args, format);
    int n = vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    return std::string(buffer, n < 0 ? 0 : n < int(sizeof buffer) ? n : int(sizeof buffer) - 1);
}

[[noreturn]] inline void trap(std::string cause) { throw TRAP{std::move(cause)}; }

#endif
