// The two ways in which a run ends early. Both are thrown as C++ exceptions and caught in nxrun.cpp.
#ifndef NXRUN_FAULT_H
#define NXRUN_FAULT_H

#include <cstdarg>
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
