#include "driver/safealloc.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>
#include <sys/stat.h>

namespace {

[[noreturn]] void out_of_memory() {
    fputs("ERROR: out of memory\n", stderr);
    end_run(1);
}

} // namespace

void* safemalloc(size_t n) {
    void* p = malloc(n != 0 ? n : 1);
    if (p == nullptr) out_of_memory();
    return p;
}

void* saferealloc(void* p, size_t n) {
    void* q = realloc(p, n != 0 ? n : 1);
    if (q == nullptr) out_of_memory();
    return q;
}

void* safecalloc(size_t n, size_t m) {
    void* p = calloc(n != 0 ? n : 1, m != 0 ? m : 1);
    if (p == nullptr) out_of_memory();
    return p;
}

char* safestrdup(const char* text) {
    size_t n = strlen(text) + 1;
    return static_cast<char*>(memcpy(safemalloc(n), text, n));
}

int strcaseicmp(const char* a, const char* b) { return strcasecmp(a, b); }
int strcaseincmp(const char* a, const char* b, size_t n) { return strncasecmp(a, b, n); }
const char* strcaseistr(const char* text, const char* part) { return strcasestr(text, part); }

void remove_output_file(const char* name) {
    struct stat status;
    if (stat(name, &status) == 0 && S_ISREG(status.st_mode)) remove(name);
}

void (*end_run_hook)(int status);

void end_run(int status) {
    if (end_run_hook != nullptr) end_run_hook(status);
#ifdef NX_FUZZ
    throw run_ended{status};
#else
    exit(status);
#endif
}
