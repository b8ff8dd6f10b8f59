/* A small Lisp: reader, cons cells in a pool, environments, lambdas with closures, recursion; evaluated programs
 * checked. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef enum { NIL, INT, SYMBOL, CONS, LAMBDA, PRIMITIVE } KIND;
typedef struct cell CELL;
typedef CELL* (*FUNCTION)(CELL*);
struct cell {
    KIND kind;
    union {
        int number;
        char name[8];
        struct {
            CELL *head, *tail;
        } pair;
        struct {
            CELL *parameters, *body, *environment;
        } lambda;
        FUNCTION primitive;
    } u;
};

#define CELLS 30000
static CELL* cells;
static int cells_used;
static CELL nothing = {.kind = NIL};
static CELL* global;
static const char* at;

static CELL* fresh(KIND k) {
    if (cells_used == CELLS) {
        printf("out of cells\n");
        exit(1);
    }
    CELL* c = &cells[cells_used++];
    c->kind = k;
    return c;
}

static CELL* cons(CELL* head, CELL* tail) {
    CELL* c = fresh(CONS);
    c->u.pair.head = head;
    c->u.pair.tail = tail;
    return c;
}

static CELL* integer(int v) {
    CELL* c = fresh(INT);
    c->u.number = v;
    return c;
}

static CELL* symbol(const char* s, int n) {
    CELL* c = fresh(SYMBOL);
    if (n > 7) n = 7;
    memcpy(c->u.name, s, (size_t)n);
    c->u.name[n] = '\0';
    return c;
}

#define HEAD(c) ((c)->u.pair.head)
#define TAIL(c) ((c)->u.pair.tail)
#define SECOND(c) HEAD(TAIL(c))
#define THIRD(c) SECOND(TAIL(c))

static CELL* read_one(void) {
    while (*at == ' ') at++;
    if (*at == '(') {
        CELL *first = &nothing, **link = &first;
        at++;
        for (;;) {
            while (*at == ' ') at++;
            if (*at == ')' || *at == 0) break;
            CELL* c = cons(read_one(), &nothing);
            *link = c;
            link = &TAIL(c);
        }
        if (*at) at++;
        return first;
    }
    if (*at == '\'') {
        at++;
        CELL* quoted = read_one();
        return cons(symbol("quote", 5), cons(quoted, &nothing));
    }
    if ((*at >= '0' && *at <= '9') || (*at == '-' && at[1] >= '0' && at[1] <= '9')) {
        char* end;
        int v = (int)strtol(at, &end, 10);
        at = end;
        return integer(v);
    }
    int n = (int)strcspn(at, " ()'");
    CELL* s = symbol(at, n);
    at += n;
    return s;
}

static CELL* lookup(const CELL* name, CELL* environment) {
    for (CELL* e = environment; e->kind == CONS; e = TAIL(e))
        if (strcmp(HEAD(HEAD(e))->u.name, name->u.name) == 0) return HEAD(e);
    for (CELL* e = global; e->kind == CONS; e = TAIL(e))
        if (strcmp(HEAD(HEAD(e))->u.name, name->u.name) == 0) return HEAD(e);
    return NULL;
}

static int is(const CELL* c, const char* name) { return c->kind == SYMBOL && strcmp(c->u.name, name) == 0; }

static CELL* evaluate(CELL* c, CELL* environment) {
    for (;;) {
        if (c->kind == SYMBOL) {
            CELL* binding = lookup(c, environment);
            if (!binding) {
                printf("<unbound %s>", c->u.name);
                return &nothing;
            }
            return TAIL(binding);
        }
        if (c->kind != CONS) return c;
        CELL* f = HEAD(c);
        if (is(f, "quote")) return SECOND(c);
        if (is(f, "if")) {
            CELL* test = evaluate(SECOND(c), environment);
            c = test->kind != NIL ? THIRD(c) : HEAD(TAIL(TAIL(TAIL(c))));
            continue;
        }
        if (is(f, "lambda")) {
            CELL* l = fresh(LAMBDA);
            l->u.lambda.parameters = SECOND(c);
            l->u.lambda.body = THIRD(c);
            l->u.lambda.environment = environment;
            return l;
        }
        if (is(f, "define")) {
            CELL* v = evaluate(THIRD(c), environment);
            global = cons(cons(SECOND(c), v), global);
            return SECOND(c);
        }
        f = evaluate(f, environment);
        CELL *arguments = &nothing, **link = &arguments;
        for (CELL* a = TAIL(c); a->kind == CONS; a = TAIL(a)) {
            CELL* v = cons(evaluate(HEAD(a), environment), &nothing);
            *link = v;
            link = &TAIL(v);
        }
        if (f->kind == PRIMITIVE) return f->u.primitive(arguments);
        if (f->kind != LAMBDA) return &nothing;
        CELL* inner = f->u.lambda.environment;
        for (CELL* p = f->u.lambda.parameters; p->kind == CONS; p = TAIL(p), arguments = TAIL(arguments))
            inner = cons(cons(HEAD(p), HEAD(arguments)), inner);
        c = f->u.lambda.body; /* a tail call is a jump */
        environment = inner;
    }
}

static CELL* truth(int v) { return v ? integer(1) : &nothing; }
static CELL* p_add(CELL* a) {
    int s = 0;
    for (; a->kind == CONS; a = TAIL(a)) s += HEAD(a)->u.number;
    return integer(s);
}
static CELL* p_multiply(CELL* a) {
    int s = 1;
    for (; a->kind == CONS; a = TAIL(a)) s *= HEAD(a)->u.number;
    return integer(s);
}
static CELL* p_subtract(CELL* a) { return integer(HEAD(a)->u.number - SECOND(a)->u.number); }
static CELL* p_less(CELL* a) { return truth(HEAD(a)->u.number < SECOND(a)->u.number); }
static CELL* p_equal(CELL* a) { return truth(HEAD(a)->u.number == SECOND(a)->u.number); }
static CELL* p_cons(CELL* a) { return cons(HEAD(a), SECOND(a)); }
static CELL* p_car(CELL* a) { return HEAD(HEAD(a)); }
static CELL* p_cdr(CELL* a) { return TAIL(HEAD(a)); }
static CELL* p_null(CELL* a) { return truth(HEAD(a)->kind == NIL); }

static void print(const CELL* c) {
    switch (c->kind) {
    case NIL: printf("nil"); break;
    case INT: printf("%d", c->u.number); break;
    case SYMBOL: printf("%s", c->u.name); break;
    case LAMBDA: printf("<lambda>"); break;
    case PRIMITIVE: printf("<primitive>"); break;
    case CONS:
        putchar('(');
        for (;; c = TAIL(c), putchar(' ')) {
            print(HEAD(c));
            if (TAIL(c)->kind != CONS) break;
        }
        putchar(')');
    }
}

int main(void) {
    static const struct {
        const char* name;
        FUNCTION f;
    } primitives[] = {{"+", p_add},     {"*", p_multiply}, {"-", p_subtract}, {"<", p_less},   {"=", p_equal},
                      {"cons", p_cons}, {"car", p_car},    {"cdr", p_cdr},    {"null", p_null}};
    static const char* const programs[] = {
        "(+ 1 2 (* 3 4))",
        "'(a (b -5) ())",
        "(define fact (lambda (n) (if (< n 2) 1 (* n (fact (- n 1))))))",
        "(fact 10)",
        "(define map (lambda (f l) (if (null l) l (cons (f (car l)) (map f (cdr l))))))",
        "(map (lambda (x) (* x x)) '(1 2 3 4 5))",
        "(define adder (lambda (n) (lambda (x) (+ x n))))",
        "((adder 10) 32)",
        "(map (adder -1) '(1 2 3))",
        "(define loop (lambda (n acc) (if (= n 0) acc (loop (- n 1) (+ acc n)))))",
        "(loop 500 0)",
        "(define fib (lambda (n) (if (< n 2) n (+ (fib (- n 1)) (fib (- n 2))))))",
        "(fib 11)",
        "(undefd 1)",
        "(define rev (lambda (l r) (if (null l) r (rev (cdr l) (cons (car l) r)))))",
        "(rev '(1 (2 3) four) '())",
        "car"};
    cells = malloc(CELLS * sizeof *cells);
    global = &nothing;
    for (int i = 0; i < 9; i++) {
        CELL* p = fresh(PRIMITIVE);
        p->u.primitive = primitives[i].f;
        CELL* name = symbol(primitives[i].name, (int)strlen(primitives[i].name));
        global = cons(cons(name, p), global);
    }
    for (unsigned i = 0; i < sizeof programs / sizeof *programs; i++) {
        at = programs[i];
        CELL* c = read_one();
        print(evaluate(c, &nothing));
        printf("\n");
    }
    printf("%s\n", cells_used > 5000 && cells_used < CELLS ? "cells as expected" : "odd number of cells");
    free(cells);
    return 0;
}
