#ifndef _NX_ERRNO_H
#define _NX_ERRNO_H
extern int errno;
#define EDOM 33
#define ERANGE 34
#define EILSEQ 84
#endif
