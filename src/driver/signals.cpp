#include "driver/signals.h"

#include "diag/handlers.h"
#include "driver/debug_log.h"
#include "driver/open_files.h"
#include "ir/symbol.h"
#include "ir/vars.h"

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

const char* tool_name;
volatile sig_atomic_t is_naming; // a fault on the way to the function's name must not ask for it again

void nxopt_signal_handler(int signal) {
    const char* function = "<unknown>";
    if (!is_naming) {
        is_naming = 1;
        if (is_plausible_pointer(currfunc) && is_plausible_pointer(currfunc->name)) function = currfunc->name;
    }
    common_signal_handler(signal, tool_name, "while processing function %s file %s", function, i_file_name);
}

// No lock is taken, for it may be half taken where the signal came, and the stream's memory stays, for the allocator
// may be at work there.
void end_log(FILE* log, int signal) {
    if (log == nullptr) return;
    fflush_unlocked(log);
    char text[100] = "\n>>>> Optimizer terminated by signal: ";
    sigstrnappend(text, signal_name(signal), sizeof text);
    sigstrnappend(text, ".\n", sizeof text);
    write_all(fileno(log), text);
    if (log != stderr) close(fileno(log));
}

// First what cannot fail: whatever happens to the logs, no unfinished output stays.
void nxopt_signal_callback(int signal) {
    discard_output_in_signal();
    FILE* logs[] = {fdebug, outer_debug_log(), finfo};
    fdebug = finfo = nullptr;
    for (FILE* log : logs) end_log(log, signal);
}

} // namespace

const char* signal_name(int signal) {
    switch (signal) {
#define NX_SIGNAL(name)                                                                                                \
    case name: return #name;
        NX_SIGNAL(SIGHUP)
        NX_SIGNAL(SIGINT)
        NX_SIGNAL(SIGILL)
        NX_SIGNAL(SIGTRAP)
        NX_SIGNAL(SIGABRT)
        NX_SIGNAL(SIGBUS)
        NX_SIGNAL(SIGFPE)
        NX_SIGNAL(SIGUSR1)
        NX_SIGNAL(SIGSEGV)
        NX_SIGNAL(SIGUSR2)
        NX_SIGNAL(SIGTERM)
        NX_SIGNAL(SIGURG)
        NX_SIGNAL(SIGXCPU)
        NX_SIGNAL(SIGXFSZ)
        NX_SIGNAL(SIGSYS)
#undef NX_SIGNAL
    default: return "<unknown>";
    }
}

void install_signal_handlers(const char* tool) {
    tool_name = tool;
    install_common_handlers(nxopt_signal_handler, nxopt_signal_callback);
}
