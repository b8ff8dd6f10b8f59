/* Switch statements: fall through, dense, sparse, negative and 64-bit labels, nested, inside loops, default in
 * the middle. */
#include <limits.h>
#include <stdio.h>

static int dense(int v) {
    switch (v) {
    case 0: return 10;
    case 1: return 21;
    case 2: return 32;
    case 3: return 43;
    case 4: return 54;
    case 5: return 65;
    case 7: return 87;
    }
    return -1;
}

static const char* sparse(int v) {
    switch (v) {
    case -1000000: return "million below";
    case INT_MIN: return "least";
    case 17: return "seventeen";
    case 65536: return "two to the sixteen";
    case INT_MAX: return "most";
    default: return "other";
    }
}

static int fall(int v) {
    int r = 0;
    switch (v) {
    case 5: r += 16;
    case 4: r += 8;
    case 3: r += 4; break;
    default: r = 1000;
    case 2: r += 2;
    case 1: r += 1;
    }
    return r;
}

static int wide(long long v) {
    switch (v) {
    case 0x100000000ll: return 1;
    case 0x100000001ll: return 2;
    case -0x100000000ll: return 3;
    case 1: return 4;
    default: return 0;
    }
}

static int narrow(short s) {
    switch (s) {
    case -32768: return 1;
    case 32767: return 2;
    case 'a': return 3;
    }
    return 0;
}

static int unsigned_labels(unsigned u) {
    switch (u) {
    case 0xffffffffu: return 1;
    case 0x80000000u: return 2;
    case 0: return 3;
    }
    return 0;
}

/* copy with the loop unrolled by jumping into its middle */
static void copy_unrolled(int* to, const int* from, int n) {
    int turns = (n + 3) / 4;
    if (n <= 0) return;
    switch (n % 4) {
    case 0: do { *to++ = *from++;
        case 3: *to++ = *from++;
        case 2: *to++ = *from++;
        case 1: *to++ = *from++;
        } while (--turns > 0);
    }
}

static int in_loop(const char* s) {
    int words = 0, inside = 0, lines = 0;
    for (;; s++) {
        switch (*s) {
        case ' ':
        case '\t': inside = 0; continue;
        case '\n':
            lines++;
            inside = 0;
            break;
        case '#':
            while (s[1] && s[1] != '\n') s++;
            break;
        case '\0': return lines * 100 + words;
        default:
            if (!inside) words++;
            inside = 1;
        }
    }
}

static int nested(int a, int b) {
    switch (a) {
    case 1:
        switch (b) {
        case 1: return 11;
        case 2: break;
        default: return 19;
        }
        return 12;
    case 2:
        if (b) {
        case 3: return 30 + b;
        }
        break;
    case 4: {
        int local = b * 2;
        return local;
    }
    }
    return 0;
}

enum token { T_END = -1, T_NUMBER = 256, T_NAME, T_STRING };

static int token_width(enum token t) {
    switch (t) {
    case T_END: return 0;
    case T_NUMBER:
    case T_NAME: return 1;
    case T_STRING: return 2;
    }
    return -1;
}

static int days(int month, int leap) {
    switch (month) {
    case 4:
    case 6:
    case 9:
    case 11: return 30;
    case 2: return 28 + leap;
    case 1:
    case 3:
    case 5:
    case 7:
    case 8:
    case 10:
    case 12: return 31;
    default: return 0;
    }
}

int main(void) {
    for (int i = -2; i < 10; i++) printf("%d ", dense(i));
    printf("\n%s, %s, %s, %s, %s, %s\n", sparse(INT_MIN), sparse(-1000000), sparse(17), sparse(0), sparse(65536),
           sparse(INT_MAX));
    for (int i = 0; i < 7; i++) printf("%d ", fall(i));
    printf("\n%d %d %d %d %d\n", wide(1ll << 32), wide((1ll << 32) + 1), wide(-(1ll << 32)), wide(1), wide(0));
    printf("%d %d %d %d\n", narrow(-32767 - 1), narrow(32767), narrow('a'), narrow(0));
    printf("%d %d %d %d\n", unsigned_labels(~0u), unsigned_labels(1u << 31), unsigned_labels(0), unsigned_labels(5));
    int from[13], to[13], wrong = 0;
    for (int i = 0; i < 13; i++) from[i] = i * i + 1;
    for (int n = 0; n <= 13; n++) {
        for (int i = 0; i < 13; i++) to[i] = -1;
        copy_unrolled(to, from, n);
        for (int i = 0; i < 13; i++) wrong += to[i] != (i < n ? from[i] : -1);
    }
    printf("wrong copies %d\n", wrong);
    printf("%d %d\n", in_loop("one two\n three # four five\nsix"), in_loop(""));
    printf("%d %d %d %d %d %d %d %d\n", nested(1, 1), nested(1, 2), nested(1, 3), nested(2, 0), nested(2, 5),
           nested(3, 0), nested(4, 21), nested(9, 9));
    printf("%d %d %d %d\n", token_width(T_END), token_width(T_NUMBER), token_width(T_NAME), token_width(T_STRING));
    int year = 0;
    for (int m = 0; m <= 13; m++) year += days(m, 1);
    printf("%d\n", year);
    switch (year) {
        int unused_here;
    case 366: unused_here = 5; printf("leap %d\n", unused_here);
    }
    switch (year)
    default: printf("only a default\n"); return 0;
}
