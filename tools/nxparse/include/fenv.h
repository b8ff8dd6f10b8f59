/* The machine rounds to nearest and has no flags: there is no macro of an exception or of another direction, which is
   how a program can tell. The functions give 0 unless something is asked that the machine does not have. */
#ifndef _NX_FENV_H
#define _NX_FENV_H
typedef unsigned int fexcept_t;
typedef struct {
    unsigned int __none;
} fenv_t;
#define FE_ALL_EXCEPT 0
#define FE_TONEAREST 0
#define FE_DFL_ENV ((const fenv_t*)-1)
static __inline int feclearexcept(int which) { return which != 0; }
static __inline int feraiseexcept(int which) { return which != 0; }
static __inline int fetestexcept(int which) { return which & 0; }
static __inline int fegetexceptflag(fexcept_t* flags, int which) {
    *flags = 0;
    return which != 0;
}
static __inline int fesetexceptflag(const fexcept_t* flags, int which) {
    (void)flags;
    return which != 0;
}
static __inline int fegetround(void) { return FE_TONEAREST; }
static __inline int fesetround(int direction) { return direction != FE_TONEAREST; }
static __inline int fegetenv(fenv_t* env) {
    env->__none = 0;
    return 0;
}
static __inline int feholdexcept(fenv_t* env) { return fegetenv(env); }
static __inline int fesetenv(const fenv_t* env) {
    (void)env;
    return 0;
}
static __inline int feupdateenv(const fenv_t* env) { return fesetenv(env); }
#endif
