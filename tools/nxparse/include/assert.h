#ifndef _NX_ASSERT_FAIL
#define _NX_ASSERT_FAIL
void __assert_fail(const char* condition, const char* file, unsigned int line, const char* function)
    __attribute__((noreturn));
#endif
#undef assert
#ifdef NDEBUG
#define assert(condition) ((void)0)
#else
#define assert(condition) ((condition) ? (void)0 : __assert_fail(#condition, __FILE__, __LINE__, __func__))
#endif
#define static_assert _Static_assert
