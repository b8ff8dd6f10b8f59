/* Dates: day numbers both ways, weekdays by two rules, Easter, month calendars, differences, parsing and comparing. */
#include <stdio.h>

typedef struct {
    int year;
    short month, day;
} DATE;

static int is_leap(int y) { return y % 4 == 0 && (y % 100 || y % 400 == 0); }

static int month_days(int y, int m) {
    static const signed char days[2][12] = {{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31},
                                            {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31}};
    return days[is_leap(y)][m - 1];
}

/* days since 1 March of the year 0, the year taken to begin in March */
static int to_number(DATE d) {
    int y = d.month <= 2 ? d.year - 1 : d.year;
    int m = (d.month + 9) % 12;
    return y * 365 + y / 4 - y / 100 + y / 400 + (153 * m + 2) / 5 + d.day - 1;
}

static DATE from_number(int n) {
    int century = (4 * n + 3) / 146097;
    n -= century * 146097 / 4;
    int year = (4 * n + 3) / 1461;
    n -= year * 1461 / 4;
    int m = (5 * n + 2) / 153;
    DATE d;
    d.day = (short)(n - (153 * m + 2) / 5 + 1);
    d.month = (short)(m < 10 ? m + 3 : m - 9);
    d.year = century * 100 + year + (m >= 10);
    return d;
}

static int weekday(DATE d) { return (to_number(d) + 3) % 7; } /* 0 is Sunday */

static int weekday_by_table(DATE d) {
    static const char shift[] = {0, 3, 2, 5, 0, 3, 5, 1, 4, 6, 2, 4};
    int y = d.year - (d.month < 3);
    return (y + y / 4 - y / 100 + y / 400 + shift[d.month - 1] + d.day) % 7;
}

static DATE easter(int y) {
    int a = y % 19, b = y / 100, c = y % 100, d = b / 4, e = b % 4, f = (b + 8) / 25, g = (b - f + 1) / 3;
    int h = (19 * a + b - d - g + 15) % 30, i = c / 4, k = c % 4, l = (32 + 2 * e + 2 * i - h - k) % 7;
    int m = (a + 11 * h + 22 * l) / 451, n = h + l - 7 * m + 114;
    return (DATE){y, (short)(n / 31), (short)(n % 31 + 1)};
}

static void print_month(int y, int m) {
    int first = weekday((DATE){y, (short)m, 1}), n = month_days(y, m);
    printf("  %d-%02d\n", y, m);
    for (int i = 0; i < first; i++) printf("   ");
    for (int d = 1; d <= n; d++) printf("%2d%c", d, (d + first) % 7 == 0 || d == n ? '\n' : ' ');
}

static int parse(const char* s, DATE* d) {
    int part[3] = {0}, k = 0, digits = 0;
    for (; *s; s++) {
        if (*s == '-' && digits && k < 2) {
            k++;
            digits = 0;
        } else if (*s >= '0' && *s <= '9' && digits < 4) {
            part[k] = part[k] * 10 + *s - '0';
            digits++;
        } else {
            return 0;
        }
    }
    if (k != 2 || !digits || part[1] < 1 || part[1] > 12 || part[2] < 1 || part[2] > month_days(part[0], part[1]))
        return 0;
    *d = (DATE){part[0], (short)part[1], (short)part[2]};
    return 1;
}

static DATE add_months(DATE d, int n) {
    int m = d.year * 12 + d.month - 1 + n;
    d.year = m / 12;
    d.month = (short)(m % 12 + 1);
    int most = month_days(d.year, d.month);
    if (d.day > most) d.day = (short)most;
    return d;
}

static void show(DATE d) {
    static const char names[] = "SunMonTueWedThuFriSat";
    printf("%.3s %04d-%02d-%02d, ", names + 3 * weekday(d), d.year, d.month, d.day);
}

int main(void) {
    int wrong = 0;
    DATE previous = from_number(to_number((DATE){1899, 12, 31}));
    for (int n = to_number((DATE){1900, 1, 1}); n < to_number((DATE){2101, 1, 1}); n += 1) {
        DATE d = from_number(n);
        int next_day = d.day == previous.day + 1 && d.month == previous.month;
        int next_month = d.day == 1 && previous.day == month_days(previous.year, previous.month);
        wrong += !(next_day || next_month) || to_number(d) != n || weekday(d) != weekday_by_table(d);
        previous = d;
    }
    printf("wrong %d\n", wrong);
    show((DATE){2000, 1, 1});
    show((DATE){1969, 7, 20});
    show((DATE){2024, 2, 29});
    printf("\n");
    static const int years[] = {1961, 2000, 2016, 2024, 2038};
    for (int i = 0; i < 5; i++) show(easter(years[i]));
    printf("\n");
    print_month(2024, 2);
    print_month(2026, 11);
    static const char* const texts[] = {"2024-02-29", "2023-02-29", "1999-12-31", "2000-13-01",
                                        "2000-1",     "x",          "2001-9-09-1"};
    for (int i = 0; i < 7; i++) {
        DATE d;
        if (parse(texts[i], &d))
            show(d);
        else
            printf("bad %s, ", texts[i]);
    }
    printf("\n");
    DATE end = {2023, 10, 31};
    for (int n = 0; n <= 8; n += 2) show(add_months(end, n));
    printf("\n%d days\n", to_number((DATE){2100, 1, 1}) - to_number((DATE){2000, 1, 1}));
    int thirteenths = 0;
    for (int y = 2001; y <= 2400; y++)
        for (short m = 1; m <= 12; m++) thirteenths += weekday((DATE){y, m, 13}) == 5;
    printf("%d Fridays the 13th in 400 years\n", thirteenths);
    return 0;
}
