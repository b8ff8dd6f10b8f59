#ifndef _NX_STRING_H
#define _NX_STRING_H
#include <stddef.h>
void* memcpy(void* __restrict to, const void* __restrict from, size_t n);
void* memmove(void* to, const void* from, size_t n);
void* memset(void* to, int c, size_t n);
int memcmp(const void* a, const void* b, size_t n);
void* memchr(const void* s, int c, size_t n);
char* strcpy(char* __restrict to, const char* __restrict from);
char* strncpy(char* __restrict to, const char* __restrict from, size_t n);
char* strcat(char* __restrict to, const char* __restrict from);
char* strncat(char* __restrict to, const char* __restrict from, size_t n);
int strcmp(const char* a, const char* b);
int strncmp(const char* a, const char* b, size_t n);
int strcoll(const char* a, const char* b);
size_t strxfrm(char* __restrict to, const char* __restrict from, size_t n);
char* strchr(const char* s, int c);
char* strrchr(const char* s, int c);
size_t strspn(const char* s, const char* set);
size_t strcspn(const char* s, const char* set);
char* strpbrk(const char* s, const char* set);
char* strstr(const char* s, const char* find);
char* strtok(char* __restrict s, const char* __restrict set);
char* strerror(int number);
size_t strlen(const char* s);
#ifdef NX_EXTRA
#include <strings.h>
void* mempcpy(void* __restrict to, const void* __restrict from, size_t n);
void* memccpy(void* __restrict to, const void* __restrict from, int c, size_t n);
char* stpcpy(char* __restrict to, const char* __restrict from);
char* stpncpy(char* __restrict to, const char* __restrict from, size_t n);
char* strdup(const char* s);
char* strndup(const char* s, size_t n);
size_t strnlen(const char* s, size_t n);
char* strtok_r(char* __restrict s, const char* __restrict set, char** __restrict next);
char* strsep(char** __restrict s, const char* __restrict set);
#endif
#endif
