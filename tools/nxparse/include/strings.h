#ifndef _NX_STRINGS_H
#define _NX_STRINGS_H
#include <stddef.h>
int bcmp(const void* a, const void* b, size_t n);
void bcopy(const void* from, void* to, size_t n);
void bzero(void* to, size_t n);
char* index(const char* s, int c);
char* rindex(const char* s, int c);
int ffs(int x);
int strcasecmp(const char* a, const char* b);
int strncasecmp(const char* a, const char* b, size_t n);
#endif
