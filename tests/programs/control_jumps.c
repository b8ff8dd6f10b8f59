/* Control that leaves functions: longjmp over calls, loops and comparison functions, signals, and the end of a program. */
#include <setjmp.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

static jmp_buf outer, inner;
static volatile sig_atomic_t seen;

/* Each activation is one of its own, although the last thing it does is to call itself. */
static int descend(int n) {
    if (n == 0) longjmp(outer, 5);
    if (n == 3) {
        if (setjmp(outer) != 0) return 100 * n + 1;
    }
    return descend(n - 1);
}

static int by_value(const void *a, const void *b) {
    int x = *(const int *)a, y = *(const int *)b;
    if (x + y == 13) longjmp(inner, x * y);
    return (x > y) - (x < y);
}

static void deep(int n) {
    char pad[20];
    sprintf(pad, "%d", n);
    if (n == 0) longjmp(inner, 0);
    deep(n - 1);
    printf("never %s\n", pad);
}

static void on_signal(int number) {
    ++seen;
    if (number == SIGTERM) longjmp(outer, number);
}

/* An exception in the usual style: the handler inside passes on what it does not know. */
static jmp_buf *handler;
static void throw_it(int what) { longjmp(*handler, what); }
static int guarded(int what) {
    jmp_buf here, *before = handler;
    volatile int steps = 0;
    int caught;
    handler = &here;
    caught = setjmp(here);
    if (caught == 0) {
        steps = 1;
        if (what > 0) throw_it(what);
        steps = 2;
    }
    handler = before;
    if (caught > 10) throw_it(caught + 1);
    return 10 * caught + steps;
}

static void last(void) { printf("last\n"); }
static void first(void) {
    printf("first\n");
    atexit(last);
}

int main(void) {
    int v[] = {9, 1, 8, 5, 3, 7};
    volatile int rounds = 0, outside = -1;
    jmp_buf top;
    printf("%d\n", descend(6));
    switch (setjmp(inner)) {
    case 0: qsort(v, 6, sizeof v[0], by_value); break;
    case 40: printf("met 8 and 5\n"); break;
    default: printf("met others\n"); break;
    }
    if (setjmp(inner) == 0) deep(300);
    while (setjmp(inner) < 4) {
        ++rounds;
        longjmp(inner, rounds);
    }
    printf("%d rounds\n", rounds);

    handler = &top;
    if (setjmp(top) == 0) {
        printf("%d %d\n", guarded(0), guarded(7));
        outside = guarded(20);
    } else {
        printf("passed on, %d\n", outside);
    }
    signal(SIGINT, on_signal);
    signal(SIGTERM, on_signal);
    printf("%d\n", raise(SIGINT));
    if (!setjmp(outer)) raise(SIGTERM);
    signal(SIGINT, SIG_IGN);
    printf("%d %d ", raise(SIGINT), (int)seen);
    printf("%d\n", signal(SIGINT, SIG_DFL) == SIG_IGN);
    atexit(first);
    exit(3);
}
