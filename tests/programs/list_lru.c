/* Doubly linked circular list with a sentinel as a least-recently-used cache over index links in an array;
 * Josephus ring. */
#include <stdio.h>
#include <string.h>

#define SLOTS 4

typedef struct link {
    struct link *previous, *next;
} LINK;

typedef struct {
    LINK link; /* first member: a LINK is also its ENTRY */
    int key, value, used;
} ENTRY;

typedef struct {
    LINK order; /* next is the most recent */
    ENTRY entry[SLOTS];
    int hits, misses;
} CACHE;

static void unlink_it(LINK* l) {
    l->previous->next = l->next;
    l->next->previous = l->previous;
}

static void link_behind(LINK* place, LINK* l) {
    l->next = place->next;
    l->previous = place;
    place->next->previous = l;
    place->next = l;
}

static void cache_init(CACHE* c) {
    memset(c, 0, sizeof *c);
    c->order.next = c->order.previous = &c->order;
    for (int i = 0; i < SLOTS; i++) link_behind(&c->order, &c->entry[i].link);
}

static int slow_square(int key) {
    int s = 0;
    for (int i = 0, odd = 1; i < key; i++, odd += 2) s += odd;
    return s;
}

static int cache_get(CACHE* c, int key) {
    ENTRY* e;
    for (LINK* l = c->order.next; l != &c->order; l = l->next) {
        e = (ENTRY*)l;
        if (e->used && e->key == key) {
            c->hits++;
            goto found;
        }
    }
    c->misses++;
    e = (ENTRY*)c->order.previous;
    e->used = 1;
    e->key = key;
    e->value = slow_square(key);
found:
    unlink_it(&e->link);
    link_behind(&c->order, &e->link);
    return e->value;
}

static void show(const CACHE* c) {
    for (const LINK* l = c->order.next; l != &c->order; l = l->next) {
        const ENTRY* e = (const ENTRY*)l;
        if (e->used)
            printf(" %d", e->key);
        else
            printf(" -");
    }
    printf(" |");
    for (const LINK* l = c->order.previous; l != &c->order; l = l->previous) printf(" %d", ((const ENTRY*)l)->value);
    printf("\n");
}

struct person {
    short next, previous;
};

static int josephus(int n, int k) {
    struct person ring[50];
    for (int i = 0; i < n; i++) {
        ring[i].next = (short)((i + 1) % n);
        ring[i].previous = (short)((i + n - 1) % n);
    }
    int at = n - 1;
    for (int left = n; left > 1; left--) {
        for (int step = 0; step < k; step++) at = ring[at].next;
        ring[ring[at].previous].next = ring[at].next;
        ring[ring[at].next].previous = ring[at].previous;
        at = ring[at].previous;
    }
    return at;
}

static int josephus_formula(int n, int k) { return n == 1 ? 0 : (josephus_formula(n - 1, k) + k) % n; }

int main(void) {
    CACHE c;
    cache_init(&c);
    static const int requests[] = {1, 2, 3, 1, 4, 5, 2, 1, 1, 6, 5, 7, 3};
    int wrong = 0;
    for (unsigned i = 0; i < sizeof requests / sizeof requests[0]; i++) {
        int v = cache_get(&c, requests[i]);
        wrong += v != requests[i] * requests[i];
        printf("%d:", requests[i]);
        show(&c);
    }
    printf("hits %d, misses %d, wrong %d\n", c.hits, c.misses, wrong);
    for (int n = 2; n <= 41; n += 13)
        for (int k = 2; k <= 5; k++) printf("%d/%d %d %d\n", n, k, josephus(n, k), josephus_formula(n, k));
    return 0;
}
