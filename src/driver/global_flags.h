// The flags of ir/vars.h, set from the options.
#ifndef DRIVER_GLOBAL_FLAGS_H
#define DRIVER_GLOBAL_FLAGS_H

class option_obj;

void reset_global_flags();          // the defaults
void set_global_flags(option_obj*); // what the options of the object say
void restore_global_flags();        // tells the options in force in the debug log; changes nothing

#endif
