/* Variadic functions: mixed promoted types, va_copy, sentinel lists, passing va_list on, structs through the
 * ellipsis. */
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

static int sum(int n, ...) {
    va_list ap;
    int s = 0;
    va_start(ap, n);
    while (n-- > 0) s += va_arg(ap, int);
    va_end(ap);
    return s;
}

static double mixed(const char* types, ...) {
    va_list ap;
    double s = 0;
    va_start(ap, types);
    for (; *types; types++) {
        switch (*types) {
        case 'i': s += va_arg(ap, int); break;
        case 'u': s += va_arg(ap, unsigned); break;
        case 'd': s += va_arg(ap, double); break;
        case 'l': s += (double)va_arg(ap, long long); break;
        case 's': s += (double)strlen(va_arg(ap, const char*)); break;
        case 'p': s += *va_arg(ap, int*); break;
        }
    }
    va_end(ap);
    return s;
}

static int longest(const char* first, ...) {
    va_list ap;
    int best = (int)strlen(first);
    const char* s;
    va_start(ap, first);
    while ((s = va_arg(ap, const char*)) != NULL)
        if ((int)strlen(s) > best) best = (int)strlen(s);
    va_end(ap);
    return best;
}

static int spread(int n, va_list ap) {
    va_list again;
    int low = 0, high = 0;
    va_copy(again, ap);
    for (int i = 0; i < n; i++) {
        int v = va_arg(ap, int);
        if (i == 0 || v < low) low = v;
    }
    for (int i = 0; i < n; i++) {
        int v = va_arg(again, int);
        if (i == 0 || v > high) high = v;
    }
    va_end(again);
    return high - low;
}

static int range(int n, ...) {
    va_list ap;
    va_start(ap, n);
    int r = spread(n, ap);
    va_end(ap);
    return r;
}

typedef struct {
    int x, y;
} POINT;

typedef struct {
    double weight;
    short tag[3];
} RECORD;

static int points(int n, ...) {
    va_list ap;
    int s = 0;
    va_start(ap, n);
    for (int i = 0; i < n; i++) {
        POINT p = va_arg(ap, POINT);
        RECORD r = va_arg(ap, RECORD);
        s = s * 3 + p.x * p.y + (int)(r.weight * 4) + r.tag[0] + r.tag[2];
    }
    va_end(ap);
    return s;
}

typedef int (*FOLD)(int, int);
static int fold_max(int a, int b) { return a > b ? a : b; }
static int fold_xor(int a, int b) { return a ^ b; }

static int fold(FOLD f, int start, int n, ...) {
    va_list ap;
    va_start(ap, n);
    for (; n; n--) start = f(start, va_arg(ap, int));
    va_end(ap);
    return start;
}

static void append(char* out, const char* format, ...) {
    va_list ap;
    va_start(ap, format);
    vsprintf(out + strlen(out), format, ap);
    va_end(ap);
}

int main(void) {
    char c = 'A';
    short s = -5;
    float f = 0.25f;
    int forty = 40;
    printf("%d %d %d\n", sum(0), sum(1, 42), sum(10, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10));
    printf("%g\n", mixed("iudls", 1, 2u, 0.5, 1ll << 33, "four"));
    printf("%g\n", mixed("iidp", c, s, f, &forty));
    printf("%g\n", mixed("dididil", 1.5, 1, 2.5, 2, 3.5, 3, -1ll));
    printf("%d\n", longest("a", "bcd", "", "efghi", "jk", (char*)NULL));
    printf("%d %d\n", range(5, 3, -9, 14, 0, 2), range(1, 7));
    POINT p = {6, 7};
    RECORD r = {2.75, {10, 20, 30}};
    printf("%d\n", points(2, p, r, (POINT){1, -1}, (RECORD){0.5, {1, 2, 3}}));
    printf("%d %x\n", fold(fold_max, -100, 4, -7, -3, -50, -4), (unsigned)fold(fold_xor, 0, 3, 0xf0, 0x0f, 0xaa));
    char out[100] = "log:";
    append(out, " %d", 1);
    append(out, " %s=%g", "x", 1.5);
    append(out, " %c%c%%", 'o', 'k');
    puts(out);
    return 0;
}
