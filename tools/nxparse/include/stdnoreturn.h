#ifndef _NX_STDNORETURN_H
#define _NX_STDNORETURN_H
#define noreturn _Noreturn
#endif
