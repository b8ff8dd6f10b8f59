// The closing of the globals: what is said of each before the file is closed, and their initialisers.
#ifndef DRIVER_CLOSE_GLOBALS_H
#define DRIVER_CLOSE_GLOBALS_H

void close_globals();

#endif
