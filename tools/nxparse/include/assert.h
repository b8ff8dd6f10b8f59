#ifndef _NX_ASSERT_FAIL
#define _NX_ASSERT_FAIL
#include <nx_features.h>
void __assert_fail(const char* condition, const char* file, unsigned int line, const char* function)
    __attribute__((noreturn));
#ifdef NX_C11
#define static_assert _Static_assert
#endif
#endif
#undef assert
#ifdef NDEBUG
#define assert(condition) ((void)0)
#else
#define assert(condition) ((condition) ? (void)0 : __assert_fail(#condition, __FILE__, __LINE__, __func__))
#endif
