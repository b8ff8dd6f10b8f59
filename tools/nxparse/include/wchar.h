/* A wide character is one unit, as a char is, and means the same. */
#ifndef _NX_WCHAR_H
#define _NX_WCHAR_H
#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#ifndef WEOF
#define WEOF (-1)
typedef __WINT_TYPE__ wint_t;
#endif
#ifndef WCHAR_MAX
#define WCHAR_MIN 0
#define WCHAR_MAX __WCHAR_MAX__
#endif
typedef struct {
    int __none;
} mbstate_t;
struct tm;
size_t wcslen(const wchar_t* s);
wchar_t* wcscpy(wchar_t* __restrict to, const wchar_t* __restrict from);
wchar_t* wcsncpy(wchar_t* __restrict to, const wchar_t* __restrict from, size_t n);
wchar_t* wcscat(wchar_t* __restrict to, const wchar_t* __restrict from);
wchar_t* wcsncat(wchar_t* __restrict to, const wchar_t* __restrict from, size_t n);
int wcscmp(const wchar_t* a, const wchar_t* b);
int wcsncmp(const wchar_t* a, const wchar_t* b, size_t n);
int wcscoll(const wchar_t* a, const wchar_t* b);
size_t wcsxfrm(wchar_t* __restrict to, const wchar_t* __restrict from, size_t n);
wchar_t* wcschr(const wchar_t* s, wchar_t c);
wchar_t* wcsrchr(const wchar_t* s, wchar_t c);
size_t wcsspn(const wchar_t* s, const wchar_t* set);
size_t wcscspn(const wchar_t* s, const wchar_t* set);
wchar_t* wcspbrk(const wchar_t* s, const wchar_t* set);
wchar_t* wcsstr(const wchar_t* s, const wchar_t* find);
wchar_t* wcstok(wchar_t* __restrict s, const wchar_t* __restrict set, wchar_t** __restrict next);
wchar_t* wmemcpy(wchar_t* __restrict to, const wchar_t* __restrict from, size_t n);
wchar_t* wmemmove(wchar_t* to, const wchar_t* from, size_t n);
wchar_t* wmemset(wchar_t* to, wchar_t c, size_t n);
int wmemcmp(const wchar_t* a, const wchar_t* b, size_t n);
wchar_t* wmemchr(const wchar_t* s, wchar_t c, size_t n);
long wcstol(const wchar_t* __restrict s, wchar_t** __restrict end, int base);
unsigned long wcstoul(const wchar_t* __restrict s, wchar_t** __restrict end, int base);
long long wcstoll(const wchar_t* __restrict s, wchar_t** __restrict end, int base);
unsigned long long wcstoull(const wchar_t* __restrict s, wchar_t** __restrict end, int base);
double wcstod(const wchar_t* __restrict s, wchar_t** __restrict end);
float wcstof(const wchar_t* __restrict s, wchar_t** __restrict end);
long double wcstold(const wchar_t* __restrict s, wchar_t** __restrict end);
int wprintf(const wchar_t* __restrict format, ...);
int fwprintf(FILE* __restrict stream, const wchar_t* __restrict format, ...);
int swprintf(wchar_t* __restrict to, size_t n, const wchar_t* __restrict format, ...);
int vwprintf(const wchar_t* __restrict format, va_list ap);
int vfwprintf(FILE* __restrict stream, const wchar_t* __restrict format, va_list ap);
int vswprintf(wchar_t* __restrict to, size_t n, const wchar_t* __restrict format, va_list ap);
int wscanf(const wchar_t* __restrict format, ...);
int fwscanf(FILE* __restrict stream, const wchar_t* __restrict format, ...);
int swscanf(const wchar_t* __restrict from, const wchar_t* __restrict format, ...);
wint_t fgetwc(FILE* stream);
wint_t getwc(FILE* stream);
wint_t getwchar(void);
wint_t ungetwc(wint_t c, FILE* stream);
wint_t fputwc(wchar_t c, FILE* stream);
wint_t putwc(wchar_t c, FILE* stream);
wint_t putwchar(wchar_t c);
wchar_t* fgetws(wchar_t* __restrict to, int n, FILE* __restrict stream);
int fputws(const wchar_t* __restrict s, FILE* __restrict stream);
int fwide(FILE* stream, int mode);
wint_t btowc(int c);
int wctob(wint_t c);
int mbsinit(const mbstate_t* state);
size_t mbrlen(const char* __restrict s, size_t n, mbstate_t* __restrict state);
size_t mbrtowc(wchar_t* __restrict to, const char* __restrict s, size_t n, mbstate_t* __restrict state);
size_t wcrtomb(char* __restrict to, wchar_t c, mbstate_t* __restrict state);
size_t mbsrtowcs(wchar_t* __restrict to, const char** __restrict from, size_t n, mbstate_t* __restrict state);
size_t wcsrtombs(char* __restrict to, const wchar_t** __restrict from, size_t n, mbstate_t* __restrict state);
size_t wcsftime(wchar_t* __restrict to, size_t n, const wchar_t* __restrict format, const struct tm* __restrict t);
#endif
