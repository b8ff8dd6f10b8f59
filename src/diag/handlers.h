// What a tool does when a signal ends it: it says so, cleans up through a callback of its own, and exits with status 2.
//
// The handlers do only what may be done at any point of a program: text is put together in buffers on the stack and
// written with write(). They run on a stack of their own, so that a full stack is told, too. A second fault inside the
// handler goes on behind the step that failed; the exit is always reached.
#ifndef DIAG_HANDLERS_H
#define DIAG_HANDLERS_H

#include <cstddef>

using SIGNAL_HANDLER = void (*)(int signal);

constexpr int signal_exit_status = 2;

// Installs the handler for SIGILL, SIGABRT, SIGFPE, SIGSEGV, SIGTERM, SIGINT, SIGHUP, SIGTRAP, SIGBUS, SIGSYS, SIGXCPU
// and SIGXFSZ, and keeps the callback (may be null) for common_signal_handler.
void install_common_handlers(SIGNAL_HANDLER handler, SIGNAL_HANDLER callback);

// Tells of the signal on standard error, with the formatted text (format may be null), calls the callback, and ends the
// process with status 2. A request to end (SIGHUP, SIGINT, SIGTERM) is one line, anything else asks for a report.
[[noreturn]] void common_signal_handler(int signal, const char* tool, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// What the user is asked to do after an internal error.
const char* support_message_text();

// Whether a pointer can be one: small numbers come from fields of a null record.
bool is_plausible_pointer(const void* p);

// Puts the text behind the one in the buffer of `size` bytes, cut where the buffer ends.
void sigstrnappend(char* buffer, const char* text, size_t size);
void write_all(int file, const char* text); // write() until all is written or it fails

void try_gen_corefile(int signal);     // does nothing
void debug_signal_handler(int signal); // goes on, and stays the signal's handler

#endif
