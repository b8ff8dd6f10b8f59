// What this program does when a signal ends it: the message names the function and the input file, the open logs end
// with the signal's name, and the unfinished output file goes away.
#ifndef DRIVER_SIGNALS_H
#define DRIVER_SIGNALS_H

// For the program's own main: a process that holds the optimizer as a library has handlers of its own. `tool` is the
// name that the messages give; it must stay.
void install_signal_handlers(const char* tool);

const char* signal_name(int signal); // "SIGSEGV"; "<unknown>" for one without a name here

#endif
