#ifndef _NX_STDDEF_H
#define _NX_STDDEF_H
#include <nx_features.h>
typedef __SIZE_TYPE__ size_t;
typedef __PTRDIFF_TYPE__ ptrdiff_t;
typedef __WCHAR_TYPE__ wchar_t;
#ifdef NX_C11
typedef long long max_align_t;
#endif
#undef NULL
#define NULL ((void*)0)
#define offsetof(type, member) __builtin_offsetof(type, member)
#endif
