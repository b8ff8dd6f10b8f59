/* time.h on fixed times: breaking down, putting together with fields out of range, and formats. All times are UTC. */
#include <stdio.h>
#include <string.h>
#include <time.h>

static void show(time_t t) {
    char text[200];
    struct tm *parts = gmtime(&t);
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S %a %A %b %B %d %e %j %U %W %w %y %p %I %D %T %R %C %u %V %G %%", parts);
    printf("%ld: %s\n", (long)t, text);
    printf("%s", asctime(parts));
}

static void together(int year, int month, int day, int hour, int minute, int second) {
    struct tm t;
    time_t whole;
    t.tm_year = year - 1900;
    t.tm_mon = month - 1;
    t.tm_mday = day;
    t.tm_hour = hour;
    t.tm_min = minute;
    t.tm_sec = second;
    t.tm_isdst = 0;
    whole = mktime(&t);
    printf("%ld %d-%d-%d %d:%d:%d day %d %d\n", (long)whole, t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour,
           t.tm_min, t.tm_sec, t.tm_wday, t.tm_yday);
}

int main(void) {
    static const time_t times[] = {0, 951782400, 1000000000, 1230767999, 2147483647, -1, -2000000000};
    char small[5];
    time_t begin, end;
    struct tm fields;
    unsigned i;
    for (i = 0; i < sizeof times / sizeof times[0]; i++) show(times[i]);
    together(2000, 2, 30, 0, 0, 0);
    together(1999, 14, 1, 25, 61, 61);
    together(2001, 1, 0, 0, 0, -1);
    together(1970, -11, 400, 12, 0, 0);
    printf("%.1f\n", difftime(times[2], times[5]));
    memset(&fields, 0, sizeof fields);
    printf("[%d]", (int)strftime(small, sizeof small, "%Y", &fields));
    printf("[%d]", (int)strftime(small, 4, "%Y", &fields));
    printf("[%d]\n", (int)strftime(small, sizeof small, "%%", &fields));
    begin = time(0);
    end = time(&begin);
    printf("%d %d %s", end == begin, clock() <= clock(), ctime(&times[1]));
    return 0;
}
