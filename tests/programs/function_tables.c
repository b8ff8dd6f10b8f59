/* Function pointers: dispatch tables, callbacks with context, functions that return functions, objects with
 * method tables. */
#include <stdio.h>
#include <string.h>

typedef int (*UNARY)(int);
typedef int (*BINARY)(int, int);

static int negate(int v) { return -v; }
static int twice(int v) { return v + v; }
static int square(int v) { return v * v; }
static int half(int v) { return v / 2; }

static const struct {
    const char* name;
    UNARY f;
} commands[] = {{"negate", negate}, {"twice", twice}, {"square", square}, {"half", half}};

static UNARY look_up(const char* name) {
    for (unsigned i = 0; i < sizeof commands / sizeof commands[0]; i++)
        if (strcmp(commands[i].name, name) == 0) return commands[i].f;
    return 0;
}

static int add(int a, int b) { return a + b; }
static int subtract(int a, int b) { return a - b; }
static int larger(int a, int b) { return a > b ? a : b; }

static BINARY choose(int which) {
    switch (which % 3) {
    case 0: return add;
    case 1: return &subtract;
    }
    return *larger;
}

static int (*chooser(void))(int, int) { return choose(2); }

static int compose(UNARY f, UNARY g, int v) { return f(g(v)); }

static int reduce(const int* v, int n, BINARY f, int start) {
    while (n-- > 0) start = (*f)(start, *v++);
    return start;
}

static void map(int* v, int n, UNARY f) {
    for (int i = 0; i < n; i++) v[i] = f(v[i]);
}

/* shapes with a table of methods */
typedef struct shape SHAPE;
struct methods {
    const char* name;
    int (*area)(const SHAPE*);
    void (*grow)(SHAPE*, int);
};
struct shape {
    const struct methods* m;
    int a, b;
};

static int rectangle_area(const SHAPE* s) { return s->a * s->b; }
static void rectangle_grow(SHAPE* s, int by) {
    s->a += by;
    s->b += by;
}
static int square_area(const SHAPE* s) { return s->a * s->a; }
static void square_grow(SHAPE* s, int by) { s->a += by; }
static int triangle_area(const SHAPE* s) { return s->a * s->b / 2; }

static const struct methods rectangle = {"rectangle", rectangle_area, rectangle_grow};
static const struct methods plain_square = {"square", square_area, square_grow};
static const struct methods triangle = {.grow = rectangle_grow, .area = triangle_area, .name = "triangle"};

/* callbacks with context */
struct tally {
    int total, calls;
    int (*accept)(int, int);
    int limit;
};

static void walk(int from, int to, void (*visit)(int, void*), void* context) {
    for (int i = from; i != to; i += from < to ? 1 : -1) visit(i, context);
}

static void tally_one(int v, void* context) {
    struct tally* t = context;
    t->calls++;
    if (t->accept(v, t->limit)) t->total += v;
}

static int divides(int v, int by) { return v % by == 0; }
static int below(int v, int limit) { return v < limit; }

/* a function that takes itself as an argument: the type can only be named through a struct */
struct self {
    int (*f)(struct self, int);
};
static int factorial(struct self s, int n) { return n < 2 ? 1 : n * s.f(s, n - 1); }
int main(void) {
    static const char* const script[] = {"twice", "square", "half", "negate", "cube", "twice"};
    int v = 7;
    for (int i = 0; i < 6; i++) {
        UNARY f = look_up(script[i]);
        if (f) v = f(v);
        printf("%s %d%s", script[i], v, f ? ", " : " (unknown), ");
    }
    printf("\n");
    for (int i = 0; i < 4; i++) printf("%d ", choose(i)(10, 3 + i));
    printf("%d %d\n", chooser()(4, 9), (choose(0) == add) + (choose(1) == subtract) + (choose(2) != add));
    printf("%d %d %d\n", compose(twice, square, 5), compose(square, twice, 5), compose(negate, negate, 5));
    int values[] = {3, -1, 4, 1, -5, 9};
    printf("%d %d %d\n", reduce(values, 6, add, 0), reduce(values, 6, subtract, 100), reduce(values, 6, larger, -99));
    map(values, 6, square);
    map(values, 3, look_up("negate"));
    for (int i = 0; i < 6; i++) printf("%d ", values[i]);
    printf("\n");
    SHAPE shapes[] = {{&rectangle, 3, 4}, {&plain_square, 5, 0}, {&triangle, 6, 7}};
    for (int round = 0; round < 2; round++) {
        for (SHAPE* s = shapes; s < shapes + 3; s++) {
            printf("%s %d, ", s->m->name, s->m->area(s));
            s->m->grow(s, 2);
        }
    }
    printf("\n");
    struct tally t = {0, 0, divides, 7};
    walk(0, 100, tally_one, &t);
    printf("%d in %d calls\n", t.total, t.calls);
    t = (struct tally){.accept = below, .limit = 5};
    walk(10, -3, tally_one, &t);
    printf("%d in %d calls\n", t.total, t.calls);
    UNARY pipeline[3] = {twice, 0, square};
    int w = 3;
    for (int i = 0; i < 3; i++) w = pipeline[i] ? pipeline[i](w) : w + 1;
    printf("%d %d\n", w, factorial((struct self){factorial}, 6));
    return 0;
}
