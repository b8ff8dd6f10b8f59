#ifndef _NX_WCHAR_H
#define _NX_WCHAR_H
#include <stddef.h>
typedef unsigned int wint_t;
#endif
