// The whole of the program as one call.
#ifndef DRIVER_NXOPT_H
#define DRIVER_NXOPT_H

// Runs on a command line. Returns the exit status of a finished run; every other end of the run goes through end_run.
int nxopt_main(int argc, char** argv);

// Forgets everything that a run left behind, so that another can start in the same process. Memory of the run's types,
// symbols and records is given up, not freed.
void reset_run_state();

#endif
