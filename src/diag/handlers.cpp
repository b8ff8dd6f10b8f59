#include "diag/handlers.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <unistd.h>

namespace {

constexpr uintptr_t lowest_pointer = 100001;
constexpr size_t text_size = 2048;
constexpr size_t stack_size = size_t{128} * 1024; // the widest register files take some 10 KB of a signal's frame

SIGNAL_HANDLER callback_m;
alignas(16) char handler_stack[stack_size];

// How far the end of the process has come. Each step is entered once: a fault in it leads to the next one.
volatile sig_atomic_t steps_done;
enum END_STEP { TELL = 1, CALL_BACK = 2 };

const char* description_of(int signal) {
    switch (signal) {
    case SIGILL: return "executed an illegal instruction";
    case SIGTRAP: return "received a TRAP signal";
    case SIGABRT: return "had an internal inconsistency and aborted";
    case SIGBUS: return "experienced a bus alignment fault";
    case SIGFPE: return "received a floating point exception";
    case SIGSEGV: return "experienced a segmentation fault";
    case SIGXCPU: return "exceeded the CPU time limit";
    case SIGXFSZ: return "exceeded the file size limit";
    case SIGSYS: return "experienced a bad system call";
    default: return "experienced a fatal internal fault";
    }
}

[[noreturn]] void call_back_and_exit(int signal) {
    if (steps_done < CALL_BACK) {
        steps_done = CALL_BACK;
        if (callback_m != nullptr) callback_m(signal);
    }
    _Exit(signal_exit_status);
}

void tell_request(const char* before, const char* tool, const char* after) {
    char text[text_size] = "";
    sigstrnappend(text, before, sizeof text);
    sigstrnappend(text, tool, sizeof text);
    sigstrnappend(text, after, sizeof text);
    write_all(STDERR_FILENO, text);
}

void tell_fault(int signal, const char* tool, const char* details) {
    char text[2 * text_size] = "\nINTERNAL ERROR: ";
    sigstrnappend(text, tool, sizeof text);
    sigstrnappend(text, " ", sizeof text);
    sigstrnappend(text, description_of(signal), sizeof text);
    sigstrnappend(text, "\n", sizeof text);
    if (details[0] != 0) {
        sigstrnappend(text, "                  ", sizeof text);
        sigstrnappend(text, details, sizeof text);
        sigstrnappend(text, "\n", sizeof text);
    }
    sigstrnappend(text, "\n", sizeof text);
    write_all(STDERR_FILENO, text);
    write_all(STDERR_FILENO, support_message_text());
}

} // namespace

void install_common_handlers(SIGNAL_HANDLER handler, SIGNAL_HANDLER callback) {
    callback_m = callback;
    steps_done = 0;
    stack_t stack = {};
    stack.ss_sp = handler_stack;
    stack.ss_size = sizeof handler_stack;
    sigaltstack(&stack, nullptr);

    struct sigaction action = {};
    action.sa_handler = handler;
    // Faults inside the handler come back to it; what others send waits until the exit.
    action.sa_flags = SA_ONSTACK | SA_NODEFER;
    sigemptyset(&action.sa_mask);
    for (int sent : {SIGHUP, SIGINT, SIGTERM, SIGXCPU, SIGXFSZ}) sigaddset(&action.sa_mask, sent);
    for (int signal :
         {SIGILL, SIGABRT, SIGFPE, SIGSEGV, SIGTERM, SIGINT, SIGHUP, SIGTRAP, SIGBUS, SIGSYS, SIGXCPU, SIGXFSZ})
        sigaction(signal, &action, nullptr);
}

void common_signal_handler(int signal, const char* tool, const char* format, ...) {
    if (steps_done >= TELL) call_back_and_exit(signal);
    steps_done = TELL;
    if (!is_plausible_pointer(tool)) tool = "unknown";
    if (signal == SIGHUP || signal == SIGINT) {
        tell_request("[", tool, " forced exit]\n");
        call_back_and_exit(signal);
    }
    if (signal == SIGTERM) {
        tell_request("[", tool, " received a terminate signal]\n");
        call_back_and_exit(signal);
    }
    char details[text_size] = "";
    if (is_plausible_pointer(format)) {
        va_list args;
        va_start(args, format);
        vsnprintf(details, sizeof details, format, args);
        va_end(args);
    }
    tell_fault(signal, tool, details);
    fflush_unlocked(stdout); // a lock may be half taken where the signal came
    call_back_and_exit(signal);
}

const char* support_message_text() {
    return "This is caused by a defect in the compiler itself. Norvex Customer\n"
           "Support may be able to suggest a workaround to avoid this.\n"
           "\n"
           "Upgrading to the newest version of the compiler may fix this problem.\n"
           "\n"
           "Please report the problem to the support forum. Include the whole of this\n"
           "message and a preprocessed source file with which it happens.\n";
}

bool is_plausible_pointer(const void* p) { return reinterpret_cast<uintptr_t>(p) >= lowest_pointer; }

void sigstrnappend(char* buffer, const char* text, size_t size) {
    size_t used = strnlen(buffer, size);
    while (*text != 0 && used + 1 < size) buffer[used++] = *text++;
    if (used < size) buffer[used] = 0;
}

void write_all(int file, const char* text) {
    for (size_t left = strlen(text); left != 0;) {
        ssize_t written = write(file, text, left);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        text += written;
        left -= static_cast<size_t>(written);
    }
}

void try_gen_corefile(int) {}

void debug_signal_handler(int number) { signal(number, debug_signal_handler); }
