#ifndef _NX_ALLOCA_H
#define _NX_ALLOCA_H
#undef alloca
#define alloca(size) __builtin_alloca(size)
#endif
