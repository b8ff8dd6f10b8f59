#ifndef _NX_CTYPE_H
#define _NX_CTYPE_H
#include <nx_features.h>
int isalnum(int c);
int isalpha(int c);
int iscntrl(int c);
int isdigit(int c);
int isgraph(int c);
int islower(int c);
int isprint(int c);
int ispunct(int c);
int isspace(int c);
int isupper(int c);
int isxdigit(int c);
int tolower(int c);
int toupper(int c);
#ifdef NX_C99
int isblank(int c);
#endif
#ifdef NX_EXTRA
int isascii(int c);
int toascii(int c);
#endif
#endif
