// The store of debug switches, given with --debug:, --enable: and --disable:, and the handles of the fixed ones.
//
// A switch is a number under the name "<kind>:<switch>"; one that was not given is 0. pass_debug, pass_enable,
// pass_disable and process_debug_option, which work by name, are declared in ir/vars.h.
#ifndef DRIVER_DEBUG_SWITCHES_H
#define DRIVER_DEBUG_SWITCHES_H

#include <cstdio>

// A handle of a switch. Handles are global objects, made before main; those of one name are one switch.
class register_option {
  public:
    explicit register_option(const char* name); // with its kind: "debug:SIMD"
    operator int() const;
    operator bool() const { return static_cast<int>(*this) != 0; }
    register_option& operator=(int value);
    void dump(FILE*) const;
    static bool is_registered(const char* name);

  private:
    const char* name_;
};

#define DEBUG_SWITCH(kind, handle, name) extern register_option pass_##kind##_##handle;
#include "driver/debug_switches.def"

// The store, in ascending order of the names.
size_t debug_switch_count();
size_t debug_switch_capacity(); // grows by 100
const char* debug_switch_name(size_t i);
void clear_debug_switches();

#endif
