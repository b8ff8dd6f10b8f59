#ifndef _NX_STDLIB_H
#define _NX_STDLIB_H
#include <stddef.h>
#define EXIT_SUCCESS 0
#define EXIT_FAILURE 1
#define RAND_MAX 32767
#define MB_CUR_MAX 1
typedef struct {
    int quot, rem;
} div_t;
typedef struct {
    long quot, rem;
} ldiv_t;
typedef struct {
    long long quot, rem;
} lldiv_t;
void* malloc(size_t n);
void* calloc(size_t count, size_t size);
void* realloc(void* p, size_t n);
void free(void* p);
void exit(int status) __attribute__((noreturn));
void _Exit(int status) __attribute__((noreturn));
void abort(void) __attribute__((noreturn));
int atexit(void (*f)(void));
int abs(int x);
long labs(long x);
long long llabs(long long x);
div_t div(int a, int b);
ldiv_t ldiv(long a, long b);
lldiv_t lldiv(long long a, long long b);
int atoi(const char* s);
long atol(const char* s);
long long atoll(const char* s);
double atof(const char* s);
long strtol(const char* restrict s, char** restrict end, int base);
unsigned long strtoul(const char* restrict s, char** restrict end, int base);
long long strtoll(const char* restrict s, char** restrict end, int base);
unsigned long long strtoull(const char* restrict s, char** restrict end, int base);
double strtod(const char* restrict s, char** restrict end);
float strtof(const char* restrict s, char** restrict end);
int rand(void);
void srand(unsigned int seed);
void qsort(void* base, size_t count, size_t size, int (*compare)(const void*, const void*));
void* bsearch(const void* key, const void* base, size_t count, size_t size,
              int (*compare)(const void*, const void*));
char* getenv(const char* name);
int system(const char* command);
#endif
