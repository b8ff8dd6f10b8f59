/* strtol, strtoul, atoi, strtod and the ends they report, range errors, and a hand-written scanner that must agree. */
#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>

static int scan_int(const char* s, int base, const char** end) {
    const char* start = s;
    int v = 0, negative = 0, seen = 0;
    while (*s == ' ' || *s == '\t' || *s == '\n') s++;
    if (*s == '-' || *s == '+') negative = *s++ == '-';
    if ((base == 0 || base == 16) && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
        s += 2;
        base = 16;
    } else if (base == 0) {
        base = *s == '0' ? 8 : 10;
    }
    for (;; s++) {
        int d = *s >= '0' && *s <= '9'   ? *s - '0'
                : *s >= 'a' && *s <= 'z' ? *s - 'a' + 10
                : *s >= 'A' && *s <= 'Z' ? *s - 'A' + 10
                                         : 99;
        if (d >= base) break;
        v = v * base + d;
        seen = 1;
    }
    *end = seen ? s : start;
    return negative ? -v : v;
}

static void integers(void) {
    static const struct {
        const char* text;
        int base;
    } tests[] = {{"42", 10},  {"  -17 rest", 10}, {"+8", 10},         {"0x1F", 16},       {"ff", 16},    {"0x7fffG", 0},
                 {"0755", 0}, {"099", 0},         {"z", 36},          {"1010102", 2},     {"", 10},      {"abc", 10},
                 {"-", 10},   {"7-8", 10},        {"2147483647", 10}, {"-2147483647", 0}, {"\t\n12", 0}, {"12e3", 10}};
    int differences = 0;
    for (unsigned i = 0; i < sizeof tests / sizeof tests[0]; i++) {
        char* end;
        const char* mine;
        errno = 0;
        int v = (int)strtol(tests[i].text, &end, tests[i].base);
        int w = scan_int(tests[i].text, tests[i].base, &mine);
        differences += v != w || end != mine || errno != 0;
        printf("%d/%d ", v, (int)(end - tests[i].text));
    }
    printf("\ndifferences %d\n", differences);
}

static void limits(void) {
    char* end;
    errno = 0;
    long v = strtol("99999999999999999999999", &end, 10);
    printf("%d %d %d\n", v == LONG_MAX, errno == ERANGE, *end == 0);
    errno = 0;
    v = strtol("-99999999999999999999999x", &end, 10);
    printf("%d %d %c\n", v == LONG_MIN, errno == ERANGE, *end);
    errno = 0;
    unsigned long u = strtoul("4294967295", NULL, 10);
    printf("%d %d\n", u == 4294967295ul, errno);
    printf("%d %d %d %d %d\n", atoi("123"), atoi("-45abc"), atoi("   6"), atoi("x"), atoi(""));
    printf("%ld\n", atol("-1234567"));
}

static void reals(void) {
    static const char* const tests[] = {"1.5",     "-0.25",       "3",  ".5",   "2.",      "1e3",
                                        "12.5e-1", "  7.75 tail", "1e", "none", "-.125e2x"};
    for (unsigned i = 0; i < sizeof tests / sizeof tests[0]; i++) {
        char* end;
        double d = strtod(tests[i], &end);
        printf("%g/%d ", d, (int)(end - tests[i]));
    }
    printf("%g\n", atof("6.5") * 2);
}

static int sum_list(const char* s) {
    int sum = 0;
    for (;;) {
        char* end;
        int v = (int)strtol(s, &end, 0);
        if (end == s) return sum;
        sum += v;
        s = end;
        while (*s == ',' || *s == ';') s++;
    }
}

static int version_compare(const char* a, const char* b) {
    while (*a || *b) {
        char *ea, *eb;
        int x = (int)strtol(a, &ea, 10), y = (int)strtol(b, &eb, 10);
        if (x != y) return x < y ? -1 : 1;
        a = *ea == '.' ? ea + 1 : ea;
        b = *eb == '.' ? eb + 1 : eb;
    }
    return 0;
}

int main(void) {
    integers();
    limits();
    reals();
    printf("%d %d\n", sum_list("1,2;0x10, 010,-5"), sum_list("none"));
    printf("%d %d %d\n", version_compare("1.2.10", "1.2.9"), version_compare("2", "2.0"),
           version_compare("1.9", "1.10"));
    return 0;
}
