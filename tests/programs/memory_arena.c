/* Own allocators over a static word array: first-fit free list with coalescing, arena with marks, object pool,
 * ref counts. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define WORDS 256

/* block = header word (size << 1 | used), then size words */
static int heap[WORDS];

static void heap_reset(void) {
    memset(heap, 0, sizeof heap);
    heap[0] = (WORDS - 1) << 1;
}

static int* allocate(int n) {
    for (int at = 0; at < WORDS;) {
        int size = heap[at] >> 1;
        if (!(heap[at] & 1)) {
            int next = at + 1 + size;
            while (next < WORDS && !(heap[next] & 1)) {
                size += 1 + (heap[next] >> 1);
                next = at + 1 + size;
            }
            heap[at] = size << 1;
            if (size >= n) {
                if (size > n + 1) {
                    heap[at + 1 + n] = (size - n - 1) << 1;
                    size = n;
                }
                heap[at] = size << 1 | 1;
                return &heap[at + 1];
            }
        }
        at += 1 + size;
    }
    return 0;
}

static void release(int* p) {
    if (p) p[-1] &= ~1;
}

static int audit(int* used_blocks) {
    int at = 0, free_words = 0;
    *used_blocks = 0;
    while (at < WORDS) {
        if (heap[at] & 1)
            ++*used_blocks;
        else
            free_words += heap[at] >> 1;
        at += 1 + (heap[at] >> 1);
    }
    return at == WORDS ? free_words : -1;
}

struct arena {
    double* space; /* from malloc; counted in doubles, so that any start is aligned */
    int used;
};

static void* arena_take(struct arena* a, int doubles) {
    if (a->used + doubles > 64) return 0;
    void* p = &a->space[a->used];
    a->used += doubles;
    return p;
}

typedef struct object {
    int references;
    struct object* next;
    int payload;
} OBJECT;

static OBJECT pool[6];
static OBJECT* free_objects;
static int destroyed;

static OBJECT* object_new(int payload) {
    OBJECT* o = free_objects;
    if (!o) return 0;
    free_objects = o->next;
    o->references = 1;
    o->payload = payload;
    o->next = 0;
    return o;
}

static OBJECT* keep(OBJECT* o) {
    o->references++;
    return o;
}

static void drop(OBJECT* o) {
    while (o && --o->references == 0) {
        OBJECT* next = o->next;
        o->next = free_objects;
        free_objects = o;
        destroyed++;
        o = next;
    }
}

int main(void) {
    int *block[40] = {0}, sizes[40] = {0}, corrupt = 0, failed = 0, blocks;
    unsigned seed = 77;
    heap_reset();
    for (int step = 0; step < 3000; step++) {
        seed = seed * 1664525u + 1013904223u;
        int i = (int)(seed >> 12) % 40, n = (int)(seed >> 20) % 12 + 1;
        if (i < 0) i = -i;
        if (block[i]) {
            for (int k = 0; k < sizes[i]; k++) corrupt += block[i][k] != i * 1000 + k;
            release(block[i]);
            block[i] = 0;
        } else if ((block[i] = allocate(n)) != 0) {
            sizes[i] = n;
            for (int k = 0; k < n; k++) block[i][k] = i * 1000 + k;
        } else {
            failed++;
        }
    }
    int live = 0;
    for (int i = 0; i < 40; i++) live += block[i] != 0;
    int free_words = audit(&blocks);
    printf("corrupt %d, sound %d, blocks match %d, some failed %d\n", corrupt, free_words >= 0, blocks == live,
           failed > 0);
    for (int i = 0; i < 40; i++) release(block[i]);
    int* all = allocate(WORDS - 1);
    printf("everything again: %d, nothing more %d\n", all == heap + 1, allocate(1) == 0);
    release(all);
    printf("audit %d\n", audit(&blocks));

    struct arena a = {malloc(64 * sizeof(double)), 0};
    int* ints = arena_take(&a, 10);
    for (int i = 0; i < 10; i++) ints[i] = i * i;
    int mark = a.used;
    double* doubles = arena_take(&a, 50);
    for (int i = 0; i < 50; i++) doubles[i] = i / 4.0;
    void* none = arena_take(&a, 5);
    a.used = mark;
    char* text = arena_take(&a, 4);
    strcpy(text, "reused");
    printf("%d %d %s %d\n", ints[9], none == 0, text, (void*)text == (void*)doubles);
    free(a.space);

    for (int i = 0; i < 6; i++) {
        pool[i].next = free_objects;
        free_objects = &pool[i];
    }
    OBJECT *tail = object_new(3), *middle = object_new(2), *head = object_new(1);
    head->next = middle;
    middle->next = keep(tail);
    OBJECT* shared = keep(middle);
    drop(head);
    printf("destroyed %d, middle %d, tail %d\n", destroyed, middle->references, tail->references);
    drop(shared);
    printf("destroyed %d, tail %d\n", destroyed, tail->references);
    drop(tail);
    int made = 0;
    while (object_new(made)) made++;
    printf("destroyed %d, made %d\n", destroyed, made);
    return 0;
}
