#ifndef _NX_TIME_H
#define _NX_TIME_H
#include <stddef.h>
#define CLOCKS_PER_SEC 1000000
typedef int time_t;
typedef int clock_t;
clock_t clock(void);
time_t time(time_t* t);
#endif
