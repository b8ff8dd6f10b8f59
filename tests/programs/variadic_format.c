/* A small printf of our own over va_list with width, flags, precision and bases, compared against sprintf. */
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

typedef struct {
    char* at;
    int room;
    int wanted;
} SINK;

static void put(SINK* s, char c) {
    if (s->room > 1) {
        *s->at++ = c;
        s->room--;
    }
    s->wanted++;
}

static void pad(SINK* s, char c, int n) {
    while (n-- > 0) put(s, c);
}

enum { LEFT = 1, ZERO = 2, PLUS = 4, SPACE = 8, ALTERNATE = 16 };

static void put_number(SINK* s, unsigned long long v, int negative, int base, int upper, int flags, int width,
                       int precision) {
    char digits[70];
    int n = 0;
    const char* set = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    const char* prefix = negative ? "-" : flags & PLUS ? "+" : flags & SPACE ? " " : "";
    if (flags & ALTERNATE && base == 16 && v) prefix = upper ? "0X" : "0x";
    while (v) {
        digits[n++] = set[v % (unsigned)base];
        v /= (unsigned)base;
    }
    int zeros = (precision < 0 ? 1 : precision) - n;
    if (flags & ALTERNATE && base == 8 && zeros <= 0) zeros = 1;
    if (zeros < 0) zeros = 0;
    int total = (int)strlen(prefix) + zeros + n;
    if (precision < 0 && flags & ZERO && !(flags & LEFT) && width > total) {
        zeros += width - total;
        total = width;
    }
    if (!(flags & LEFT)) pad(s, ' ', width - total);
    while (*prefix) put(s, *prefix++);
    pad(s, '0', zeros);
    while (n) put(s, digits[--n]);
    if (flags & LEFT) pad(s, ' ', width - total);
}

static int format_list(char* out, int size, const char* f, va_list ap) {
    SINK s = {out, size, 0};
    for (; *f; f++) {
        if (*f != '%') {
            put(&s, *f);
            continue;
        }
        int flags = 0, width = 0, precision = -1, longs = 0;
        for (f++;; f++) {
            if (*f == '-')
                flags |= LEFT;
            else if (*f == '0')
                flags |= ZERO;
            else if (*f == '+')
                flags |= PLUS;
            else if (*f == ' ')
                flags |= SPACE;
            else if (*f == '#')
                flags |= ALTERNATE;
            else
                break;
        }
        if (*f == '*') {
            width = va_arg(ap, int);
            if (width < 0) {
                flags |= LEFT;
                width = -width;
            }
            f++;
        } else {
            while (*f >= '0' && *f <= '9') width = width * 10 + *f++ - '0';
        }
        if (*f == '.') {
            precision = 0;
            if (*++f == '*') {
                precision = va_arg(ap, int);
                f++;
            } else {
                while (*f >= '0' && *f <= '9') precision = precision * 10 + *f++ - '0';
            }
        }
        while (*f == 'l') {
            longs++;
            f++;
        }
        switch (*f) {
        case 'd':
        case 'i': {
            long long v = longs ? va_arg(ap, long long) : va_arg(ap, int);
            put_number(&s, v < 0 ? 0ull - (unsigned long long)v : (unsigned long long)v, v < 0, 10, 0, flags, width,
                       precision);
            break;
        }
        case 'u':
        case 'x':
        case 'X':
        case 'o': {
            unsigned long long v = longs ? va_arg(ap, unsigned long long) : va_arg(ap, unsigned);
            put_number(&s, v, 0,
                       *f == 'u'   ? 10
                       : *f == 'o' ? 8
                                   : 16,
                       *f == 'X', flags & ~(PLUS | SPACE), width, precision);
            break;
        }
        case 'c': {
            char c = (char)va_arg(ap, int);
            if (!(flags & LEFT)) pad(&s, ' ', width - 1);
            put(&s, c);
            if (flags & LEFT) pad(&s, ' ', width - 1);
            break;
        }
        case 's': {
            const char* t = va_arg(ap, const char*);
            int n = 0;
            while ((precision < 0 || n < precision) && t[n]) n++;
            if (!(flags & LEFT)) pad(&s, ' ', width - n);
            for (int i = 0; i < n; i++) put(&s, t[i]);
            if (flags & LEFT) pad(&s, ' ', width - n);
            break;
        }
        case '%': put(&s, '%'); break;
        default: put(&s, '?'); break;
        }
    }
    *s.at = '\0';
    return s.wanted;
}

static int failures, tests;

static void check(const char* f, ...) {
    char mine[64], theirs[64];
    va_list ap, again;
    va_start(ap, f);
    va_copy(again, ap);
    int n = format_list(mine, 64, f, ap);
    vsprintf(theirs, f, again);
    va_end(again);
    va_end(ap);
    tests++;
    if (strcmp(mine, theirs) != 0 || n != (int)strlen(theirs)) {
        failures++;
        printf("%s: [%s] but [%s]\n", f, mine, theirs);
    }
    if (tests % 3 == 1) printf("[%s]\n", mine);
}

int main(void) {
    check("%d %d %d", 0, -1, 2147483647);
    check("%5d|%-5d|%05d|%+d|% d", 42, 42, 42, 42, 42);
    check("%5d|%-5d|%05d|%+d|% d", -42, -42, -42, -42, -42);
    check("%x %X %#x %#X %08x", 255u, 255u, 255u, 255u, 0xbeefu);
    check("%o %#o %#o", 8u, 8u, 0u);
    check("%u %10u %-10u|", 4000000000u, 7u, 7u);
    check("%.3d %.0d %.0d| %8.3d %-8.3d|", 5, 0, 1, -5, -5);
    check("%s|%10s|%-10s|%.2s|%5.1s|", "text", "text", "text", "text", "text");
    check("%c%c%3c|%-3c|%%", 'a', 'b', 'c', 'd');
    check("%*d|%-*d|%*d|%.*d", 6, 1, 6, 2, -6, 3, 4, 5);
    check("%lld %llu %llx", -9000000000000ll, 18446744073709551615ull, 0xfedcba9876543210ull);
    check("%020lld|%-20lld|", -123456789012ll, 123456789012ll);
    check("%.*s|%*s", 3, "abcdef", 5, "xy");
    check("plain");
    check("%#10x|%-#10x|%#010x", 0x1fu, 0x1fu, 0x1fu);
    char small[8];
    printf("failures %d of %d\n", failures, tests);
    snprintf(small, sizeof small / sizeof small[0], "%d-%d", 12345, 6789);
    printf("cut: %s\n", small);
    return 0;
}
