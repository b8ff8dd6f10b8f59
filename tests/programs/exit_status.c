/* Leaving through exit with a status from deep recursion, EXIT_FAILURE on errors counted, assert that holds,
 * errno codes. */
#include <assert.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int depth;

enum problem { NONE, EMPTY = 10, TOO_LONG, BAD_LETTER };

static const char* describe(enum problem p) {
    switch (p) {
    case NONE: return "fine";
    case EMPTY: return "empty";
    case TOO_LONG: return "too long";
    case BAD_LETTER: return "bad letter";
    }
    assert(!"no such problem");
    return 0;
}

static enum problem check(const char* s) {
    if (!*s) return EMPTY;
    if (strlen(s) > 8) return TOO_LONG;
    for (; *s; s++)
        if (*s < 'a' || *s > 'z') return BAD_LETTER;
    return NONE;
}

static int parse_digit(char c) {
    if (c < '0' || c > '9') {
        errno = EDOM;
        return -1;
    }
    return c - '0';
}

static int parse(const char* s) {
    int v = 0;
    errno = 0;
    for (; *s; s++) {
        int d = parse_digit(*s);
        if (d < 0) return -1;
        if (v > 1000) {
            errno = ERANGE;
            return -1;
        }
        v = v * 10 + d;
    }
    return v;
}

static void dig(int n) {
    depth++;
    assert(depth <= 20);
    if (n == 0) {
        printf("leaving from depth %d\n", depth);
        exit(depth + 22);
    }
    dig(n - 1);
    printf("never printed\n");
}

int main(void) {
    static const char* const names[] = {"alpha", "", "abcdefghij", "B4", "z"};
    int problems = 0;
    for (int i = 0; i < 5; i++) {
        enum problem p = check(names[i]);
        printf("%s: %s (%d)\n", names[i], describe(p), (int)p);
        problems += p != NONE;
    }
    assert(problems == 3 && "three of the five names are wrong");
    static const char* const numbers[] = {"12", "1x", "99999", ""};
    for (int i = 0; i < 4; i++) {
        int v = parse(numbers[i]);
        printf("%d %s\n", v, errno == 0 ? "ok" : errno == EDOM ? "domain" : errno == ERANGE ? "range" : "?");
    }
    fprintf(stderr, "this goes to standard error\n");
    printf("statuses %d %d\n", EXIT_SUCCESS, EXIT_FAILURE != 0);
    dig(19);
    return 1;
}
