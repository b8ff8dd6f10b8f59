/* Signals that the program raises itself; none comes from outside. */
#ifndef _NX_SIGNAL_H
#define _NX_SIGNAL_H
typedef int sig_atomic_t;
typedef void (*__nx_handler)(int);
#define SIG_DFL ((__nx_handler)0)
#define SIG_IGN ((__nx_handler)1)
#define SIG_ERR ((__nx_handler)-1)
#define SIGINT 2
#define SIGILL 4
#define SIGABRT 6
#define SIGFPE 8
#define SIGSEGV 11
#define SIGTERM 15
__nx_handler signal(int number, __nx_handler handler);
int raise(int number);
#endif
