// The library functions that a program may call without defining them.
#ifndef NXRUN_LIBRARY_H
#define NXRUN_LIBRARY_H

#include "bytecode.h"
#include "streams.h"

#include <array>
#include <functional>
#include <map>
#include <string>

struct LIBRARY_ENTRY {
    const char* name;      // as in C
    const char* signature; // result, ':', parameters, '.' if variadic; letters in library.def
    LIBRARY_HANDLER handler;
};

// The entry of that name, or null.
const LIBRARY_ENTRY* find_library_function(const std::string& name);
SIGNATURE library_signature(const LIBRARY_ENTRY&);

// Objects that the library defines and a program only declares: errno, stdin, stdout, stderr.
bool is_library_object(const std::string& name);

// What the functions keep between calls. A run has one.
struct LIBRARY_STATE {
    explicit LIBRARY_STATE(VM&);

    // The address of a constant text in the program's memory; equal texts share one. 0 if there is no room.
    ADDRESS text(const std::string&);
    // The address of `units` units that stay for the run, made when `at` is 0. 0 if there is no room.
    ADDRESS object(ADDRESS& at, uint32_t units);

    VM& vm;
    STREAMS streams;
    int error_number = 0; // errno, where the program does not declare it
    uint32_t random_state = 1;
    int64_t clock = 0; // microseconds since the start of the run: each question takes one
    ADDRESS strtok_next = 0;
    ADDRESS broken_down_time = 0, time_text = 0, locale = 0, file_name = 0; // results in the library's own storage
    uint32_t temporary_names = 0;                                           // how many tmpnam made
    std::vector<ADDRESS> at_exit, at_quick_exit;
    std::array<ADDRESS, 65> signal_handlers{}; // by number; 0: the default, 1: ignored

  private:
    std::map<std::string, ADDRESS> texts_;
};

// errno. A program that does not declare it can still print what it stands for.
void set_errno(VM&, int number);
int get_errno(VM&);

// Calls a comparison function: the result is its int.
int call_comparison(VM&, ADDRESS function, ADDRESS a, ADDRESS b);

// Text of a printf format with the arguments in the variadic area.
std::u16string format_text(VM&, ADDRESS format, ADDRESS area);
// Runs a scanf format. `read` gives the next character, or -1 at the end; `unread` takes back the last one.
int scan_text(VM&, ADDRESS format, ADDRESS area, const std::function<int()>& read,
              const std::function<void(int)>& unread);

// A slot as an address.
inline ADDRESS address_of(int64_t slot) { return static_cast<ADDRESS>(slot); }

#define LIB(name, signature) void lib_##name(VM&, int64_t*);
#include "library.def"

#endif
