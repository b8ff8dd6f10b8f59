/* Ring buffer, stack of two queues, and a priority queue driving a small event simulation with exact service times. */
#include <stdbool.h>
#include <stdio.h>

#define CAPACITY 8

typedef struct {
    int item[CAPACITY];
    unsigned head, tail;
} RING;

static bool ring_put(RING* r, int v) {
    if (r->tail - r->head == CAPACITY) return false;
    r->item[r->tail++ % CAPACITY] = v;
    return true;
}

static bool ring_get(RING* r, int* v) {
    if (r->head == r->tail) return false;
    *v = r->item[r->head++ % CAPACITY];
    return true;
}

static int ring_count(const RING* r) { return (int)(r->tail - r->head); }

typedef struct {
    int time, kind, customer;
} EVENT;

typedef struct {
    EVENT heap[64];
    int n;
} AGENDA;

static bool before(const EVENT* a, const EVENT* b) {
    if (a->time != b->time) return a->time < b->time;
    if (a->kind != b->kind) return a->kind > b->kind;
    return a->customer < b->customer;
}

static void schedule(AGENDA* g, EVENT e) {
    int i = g->n++;
    while (i > 0 && before(&e, &g->heap[(i - 1) / 2])) {
        g->heap[i] = g->heap[(i - 1) / 2];
        i = (i - 1) / 2;
    }
    g->heap[i] = e;
}

static EVENT next_event(AGENDA* g) {
    EVENT first = g->heap[0], last = g->heap[--g->n];
    int i = 0, child;
    while ((child = 2 * i + 1) < g->n) {
        if (child + 1 < g->n && before(&g->heap[child + 1], &g->heap[child])) child++;
        if (!before(&g->heap[child], &last)) break;
        g->heap[i] = g->heap[child];
        i = child;
    }
    g->heap[i] = last;
    return first;
}

enum { ARRIVAL, DEPARTURE };

static void simulate(int clerks, int customers, int gap, int service) {
    AGENDA agenda = {.n = 0};
    RING waiting = {.head = 0};
    int arrived[40], busy = 0, lost = 0, served = 0, longest = 0, now = 0;
    long long waited = 0;
    for (int c = 0; c < customers; c++) schedule(&agenda, (EVENT){c * gap + c % 3, ARRIVAL, c});
    while (agenda.n > 0) {
        EVENT e = next_event(&agenda);
        if (e.time < now) printf("time runs backwards\n");
        now = e.time;
        if (e.kind == ARRIVAL) {
            arrived[e.customer] = now;
            if (busy < clerks) {
                busy++;
                schedule(&agenda, (EVENT){now + service, DEPARTURE, e.customer});
            } else if (!ring_put(&waiting, e.customer)) {
                lost++;
            }
            if (ring_count(&waiting) > longest) longest = ring_count(&waiting);
        } else {
            int next;
            served++;
            if (ring_get(&waiting, &next)) {
                waited += now - arrived[next];
                schedule(&agenda, (EVENT){now + service, DEPARTURE, next});
            } else {
                busy--;
            }
        }
    }
    printf("%d clerks: served %d, lost %d, longest queue %d, waited %lld, closed at %d\n", clerks, served, lost,
           longest, waited, now);
}

int main(void) {
    RING r = {.head = 0xfffffffcu, .tail = 0xfffffffcu};
    int v, out = 0, in = 0, wrong = 0;
    for (int round = 0; round < 50; round++) {
        for (int k = 0; k < round % 11; k++)
            if (ring_put(&r, in)) in++;
        for (int k = 0; k < round % 7; k++)
            if (ring_get(&r, &v)) wrong += v != out++;
    }
    printf("in %d, out %d, left %d, wrong order %d\n", in, out, ring_count(&r), wrong);
    while (ring_get(&r, &v)) out++;
    printf("emptied: %d\n", in == out);

    /* a stack made of two queues */
    RING a = {.tail = 0}, b = {.tail = 0};
    RING *full = &a, *empty = &b;
    for (int i = 1; i <= 6; i++) {
        ring_put(empty, i * i);
        while (ring_get(full, &v)) ring_put(empty, v);
        RING* t = full;
        full = empty;
        empty = t;
    }
    while (ring_get(full, &v)) printf("%d ", v);
    printf("\n");
    simulate(1, 10, 5, 4);
    simulate(1, 30, 3, 5);
    simulate(2, 30, 3, 5);
    simulate(3, 40, 1, 9);
    return 0;
}
