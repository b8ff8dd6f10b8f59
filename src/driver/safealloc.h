// Allocators that never return null, case-insensitive string helpers, and the one way out of the process.
#ifndef DRIVER_SAFEALLOC_H
#define DRIVER_SAFEALLOC_H

#include <cstddef>

// Memory of n bytes (n * m bytes, cleared, for safecalloc). On failure: "ERROR: out of memory\n" on standard error and
// exit status 1.
void* safemalloc(size_t n);
void* saferealloc(void* p, size_t n);
void* safecalloc(size_t n, size_t m);
char* safestrdup(const char* text); // free with free()

int strcaseicmp(const char* a, const char* b);
int strcaseincmp(const char* a, const char* b, size_t n);
const char* strcaseistr(const char* text, const char* part);

// Removes an output file that must not stay. A device or anything else that is no regular file stays.
void remove_output_file(const char* name);

// Ends the run with the status. Everything that ends the process in an orderly way goes through here, so that a
// program that holds the optimizer as a library (the fuzz targets) can catch it: with NX_FUZZ defined it throws
// run_ended instead.
[[noreturn]] void end_run(int status);
// Called first by end_run, with the status; null if nothing is to be done.
extern void (*end_run_hook)(int status);
struct run_ended {
    int status;
};

#endif
