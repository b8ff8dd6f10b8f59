#ifndef _NX_STRING_H
#define _NX_STRING_H
#include <stddef.h>
void* memcpy(void* restrict to, const void* restrict from, size_t n);
void* memmove(void* to, const void* from, size_t n);
void* memset(void* to, int c, size_t n);
int memcmp(const void* a, const void* b, size_t n);
void* memchr(const void* s, int c, size_t n);
char* strcpy(char* restrict to, const char* restrict from);
char* strncpy(char* restrict to, const char* restrict from, size_t n);
char* strcat(char* restrict to, const char* restrict from);
char* strncat(char* restrict to, const char* restrict from, size_t n);
int strcmp(const char* a, const char* b);
int strncmp(const char* a, const char* b, size_t n);
int strcoll(const char* a, const char* b);
size_t strxfrm(char* restrict to, const char* restrict from, size_t n);
char* strchr(const char* s, int c);
char* strrchr(const char* s, int c);
size_t strspn(const char* s, const char* set);
size_t strcspn(const char* s, const char* set);
char* strpbrk(const char* s, const char* set);
char* strstr(const char* s, const char* find);
char* strtok(char* restrict s, const char* restrict set);
char* strerror(int number);
size_t strlen(const char* s);
char* strdup(const char* s);
size_t strnlen(const char* s, size_t n);
#endif
