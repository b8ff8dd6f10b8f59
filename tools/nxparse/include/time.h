/* The time zone is UTC. */
#ifndef _NX_TIME_H
#define _NX_TIME_H
#include <stddef.h>
#define CLOCKS_PER_SEC 1000000
typedef long time_t;
typedef long clock_t;
struct tm {
    int tm_sec, tm_min, tm_hour;
    int tm_mday, tm_mon, tm_year;
    int tm_wday, tm_yday, tm_isdst;
};
clock_t clock(void);
time_t time(time_t* to);
double difftime(time_t end, time_t begin);
time_t mktime(struct tm* t);
struct tm* gmtime(const time_t* t);
struct tm* localtime(const time_t* t);
char* asctime(const struct tm* t);
char* ctime(const time_t* t);
size_t strftime(char* __restrict to, size_t n, const char* __restrict format, const struct tm* __restrict t);
#ifdef NX_C11
#define TIME_UTC 1
struct timespec {
    time_t tv_sec;
    long tv_nsec;
};
int timespec_get(struct timespec* to, int base);
#endif
#ifdef NX_EXTRA
struct tm* gmtime_r(const time_t* __restrict t, struct tm* __restrict to);
struct tm* localtime_r(const time_t* __restrict t, struct tm* __restrict to);
char* asctime_r(const struct tm* __restrict t, char* __restrict to);
char* ctime_r(const time_t* t, char* to);
#endif
#endif
