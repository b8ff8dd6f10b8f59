/* A tagged union as the value of a small dynamic language: by-value passing of partly filled unions, conversion,
 * printing. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef enum { V_NIL, V_INT, V_REAL, V_TEXT, V_PAIR } TAG;

typedef struct value VALUE;
struct value {
    TAG tag;
    union {
        int i;
        double d;
        char text[12];
        struct {
            VALUE *first, *rest;
        } pair;
    } u;
};

static VALUE nil(void) { return (VALUE){.tag = V_NIL}; }
static VALUE integer(int i) { return (VALUE){V_INT, {.i = i}}; }
static VALUE real(double d) { return (VALUE){V_REAL, {.d = d}}; }
static VALUE text(const char* s) {
    VALUE v = {.tag = V_TEXT};
    strncpy(v.u.text, s, 11);
    v.u.text[11] = '\0';
    return v;
}

static VALUE* boxed(VALUE v) {
    VALUE* p = malloc(sizeof *p);
    *p = v;
    return p;
}

static VALUE cons(VALUE a, VALUE b) {
    VALUE v;
    v.tag = V_PAIR;
    v.u.pair.first = boxed(a);
    v.u.pair.rest = boxed(b);
    return v;
}

static void release(VALUE v) {
    if (v.tag != V_PAIR) return;
    release(*v.u.pair.first);
    release(*v.u.pair.rest);
    free(v.u.pair.first);
    free(v.u.pair.rest);
}

static void print(VALUE v) {
    switch (v.tag) {
    case V_NIL: printf("()"); break;
    case V_INT: printf("%d", v.u.i); break;
    case V_REAL: printf("%g", v.u.d); break;
    case V_TEXT: printf("\"%s\"", v.u.text); break;
    case V_PAIR:
        putchar('(');
        for (;;) {
            print(*v.u.pair.first);
            VALUE rest = *v.u.pair.rest;
            if (rest.tag != V_PAIR) {
                if (rest.tag != V_NIL) {
                    printf(" . ");
                    print(rest);
                }
                break;
            }
            putchar(' ');
            v = rest;
        }
        putchar(')');
    }
}

static double as_real(VALUE v) { return v.tag == V_INT ? v.u.i : v.tag == V_REAL ? v.u.d : 0.0; }

static VALUE add(VALUE a, VALUE b) {
    if (a.tag == V_INT && b.tag == V_INT) return integer(a.u.i + b.u.i);
    if (a.tag == V_TEXT && b.tag == V_TEXT) {
        char both[24];
        strcpy(both, a.u.text);
        strcat(both, b.u.text);
        return text(both);
    }
    if (a.tag <= V_REAL && b.tag <= V_REAL && a.tag && b.tag) return real(as_real(a) + as_real(b));
    return nil();
}

static int equal(const VALUE* a, const VALUE* b) {
    if (a->tag != b->tag) return 0;
    switch (a->tag) {
    case V_NIL: return 1;
    case V_INT: return a->u.i == b->u.i;
    case V_REAL: return a->u.d == b->u.d;
    case V_TEXT: return strcmp(a->u.text, b->u.text) == 0;
    default: return equal(a->u.pair.first, b->u.pair.first) && equal(a->u.pair.rest, b->u.pair.rest);
    }
}

static VALUE fold(VALUE list, VALUE start, VALUE (*f)(VALUE, VALUE)) {
    while (list.tag == V_PAIR) {
        start = f(start, *list.u.pair.first);
        list = *list.u.pair.rest;
    }
    return start;
}

static VALUE deep_copy(VALUE v) {
    return v.tag == V_PAIR ? cons(deep_copy(*v.u.pair.first), deep_copy(*v.u.pair.rest)) : v;
}

int main(void) {
    VALUE samples[] = {nil(), integer(-7), real(2.25), text("abc"), text("longer than eleven"), integer(40)};
    int n = (int)(sizeof samples / sizeof samples[0]);
    for (int i = 0; i < n; i++) {
        for (int j = 0; j < n; j++) {
            print(add(samples[i], samples[j]));
            printf("%s", j < n - 1 ? "  " : "\n");
        }
    }
    VALUE list = nil();
    for (int i = 5; i > 0; i--) list = cons(i % 2 ? integer(i) : real(i / 4.0), list);
    print(list);
    printf(" sum ");
    print(fold(list, integer(0), add));
    VALUE copy = deep_copy(list);
    printf(", copy equal %d", equal(&list, &copy));
    copy.u.pair.rest->u.pair.first->u.d += 1;
    printf(", changed %d\n", equal(&list, &copy));
    VALUE nested = cons(list, cons(text("x"), cons(cons(integer(1), integer(2)), nil())));
    print(nested);
    printf("\n");
    release(nested);
    release(copy);
    VALUE v = integer(3), *p = &v;
    *p = real(p->u.i / 2.0);
    print(v);
    printf("\n");
    return 0;
}
