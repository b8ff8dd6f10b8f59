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
void* malloc(size_t n);
void* calloc(size_t count, size_t size);
void* realloc(void* p, size_t n);
void free(void* p);
void exit(int status) __attribute__((noreturn));
void abort(void) __attribute__((noreturn));
int atexit(void (*f)(void));
int abs(int x);
long labs(long x);
div_t div(int a, int b);
ldiv_t ldiv(long a, long b);
int atoi(const char* s);
long atol(const char* s);
double atof(const char* s);
long strtol(const char* __restrict s, char** __restrict end, int base);
unsigned long strtoul(const char* __restrict s, char** __restrict end, int base);
double strtod(const char* __restrict s, char** __restrict end);
int rand(void);
void srand(unsigned int seed);
void qsort(void* base, size_t count, size_t size, int (*compare)(const void*, const void*));
void* bsearch(const void* key, const void* base, size_t count, size_t size,
              int (*compare)(const void*, const void*));
char* getenv(const char* name);
int system(const char* command);
int mblen(const char* s, size_t n);
int mbtowc(wchar_t* __restrict to, const char* __restrict s, size_t n);
int wctomb(char* to, wchar_t c);
size_t mbstowcs(wchar_t* __restrict to, const char* __restrict from, size_t n);
size_t wcstombs(char* __restrict to, const wchar_t* __restrict from, size_t n);
#ifdef NX_C99
typedef struct {
    long long quot, rem;
} lldiv_t;
void _Exit(int status) __attribute__((noreturn));
long long llabs(long long x);
lldiv_t lldiv(long long a, long long b);
long long atoll(const char* s);
long long strtoll(const char* __restrict s, char** __restrict end, int base);
unsigned long long strtoull(const char* __restrict s, char** __restrict end, int base);
float strtof(const char* __restrict s, char** __restrict end);
long double strtold(const char* __restrict s, char** __restrict end);
#endif
#ifdef NX_C11
void* aligned_alloc(size_t align, size_t n);
int at_quick_exit(void (*f)(void));
void quick_exit(int status) __attribute__((noreturn));
#endif
#ifdef NX_EXTRA
#include <alloca.h>
#endif
#endif
