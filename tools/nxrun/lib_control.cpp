// Library functions by which control leaves where it is: the end of a program, signals, longjmp; and what surrounds the
// program.
#include "exec.h"
#include "library.h"

#include <cerrno>

namespace {

constexpr int status_of_signal = 128; // and its number: what a shell shows for a process that it ended
constexpr int64_t by_default = 0, ignored = 1, refused = UINT32_MAX;
constexpr int64_t abort_signal = 6;

bool add_function(std::vector<ADDRESS>& list, int64_t f) {
    constexpr size_t most = 1024;
    if (list.size() < most) list.push_back(address_of(f));
    return list.size() < most;
}

[[noreturn]] void end_by_signal(VM& vm, int64_t number) {
    vm.library->at_exit.clear();
    throw PROGRAM_EXIT{status_of_signal + static_cast<int>(number)};
}

void call_handler(VM& vm, ADDRESS handler, int64_t number) {
    static const SIGNATURE signature = [] {
        SIGNATURE s;
        s.params = {V_W};
        s.param_units = {0};
        return s;
    }();
    vm.call_back(handler, signature, {number});
}

bool is_signal(VM& vm, int64_t number) {
    if (number > 0 && number < static_cast<int64_t>(vm.library->signal_handlers.size())) return true;
    set_errno(vm, EINVAL);
    return false;
}

} // namespace

// ----------------------------------------------------------------------------------------------------------------- end

void lib_exit(VM&, int64_t* a) { throw PROGRAM_EXIT{static_cast<int>(a[0])}; }
void lib__Exit(VM& vm, int64_t* a) {
    vm.library->at_exit.clear();
    throw PROGRAM_EXIT{static_cast<int>(a[0])};
}
void lib_quick_exit(VM& vm, int64_t* a) {
    vm.library->at_exit.swap(vm.library->at_quick_exit);
    throw PROGRAM_EXIT{static_cast<int>(a[0])};
}
void lib_atexit(VM& vm, int64_t* a) { a[0] = add_function(vm.library->at_exit, a[0]) ? 0 : 1; }
void lib_at_quick_exit(VM& vm, int64_t* a) { a[0] = add_function(vm.library->at_quick_exit, a[0]) ? 0 : 1; }
void lib_abort(VM& vm, int64_t*) {
    ADDRESS handler = vm.library->signal_handlers[abort_signal];
    if (handler > ignored) call_handler(vm, handler, abort_signal);
    end_by_signal(vm, abort_signal);
}
// (expression, file, line, function)
void lib___assert_fail(VM& vm, int64_t* a) {
    auto text_at = [&](int64_t slot) { return vm.mem.read_text(address_of(slot)); };
    std::string text = text_at(a[1]) + ":" + std::to_string(static_cast<int32_t>(a[2])) + ": ";
    if (a[3] != 0) text += text_at(a[3]) + ": ";
    text += "Assertion `" + text_at(a[0]) + "' failed.\n";
    vm.library->streams.errors().put(std::u16string(text.begin(), text.end()));
    lib_abort(vm, a);
}

// ------------------------------------------------------------------------------------------------------------- signals

void lib_signal(VM& vm, int64_t* a) {
    if (!is_signal(vm, a[0])) {
        a[0] = refused;
        return;
    }
    ADDRESS& handler = vm.library->signal_handlers[static_cast<size_t>(a[0])];
    a[0] = handler;
    handler = address_of(a[1]);
}
// A handler stays in place.
void lib_raise(VM& vm, int64_t* a) {
    int64_t number = a[0];
    bool known = is_signal(vm, number);
    a[0] = known ? 0 : -1;
    if (!known) return;
    ADDRESS handler = vm.library->signal_handlers[static_cast<size_t>(number)];
    if (handler == by_default) end_by_signal(vm, number);
    if (handler != ignored) call_handler(vm, handler, number);
    a[0] = 0;
}

// --------------------------------------------------------------------------------------------------------------- jumps

void lib_setjmp(VM& vm, int64_t* a) {
    vm.mark_place(address_of(a[0]));
    a[0] = 0;
}
void lib_longjmp(VM& vm, int64_t* a) { vm.jump_to_place(address_of(a[0]), a[1] != 0 ? a[1] : 1); }

// -------------------------------------------------------------------------------------------------------- surroundings

// The environment is the one that the command line of the run gives, and no other.
void lib_getenv(VM& vm, int64_t* a) {
    std::string name = vm.mem.read_text(address_of(a[0])) + "=";
    a[0] = 0;
    for (const std::string& entry : vm.options.library.environment)
        if (entry.compare(0, name.size(), name) == 0) a[0] = vm.library->text(entry.substr(name.size()));
}
void lib_system(VM&, int64_t* a) { a[0] = a[0] == 0 ? 0 : -1; } // there is no command processor
