/* Chained hash table that grows: linked buckets, malloc/free, word counting, iteration through a callback. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct entry {
    struct entry* next;
    unsigned hash;
    int count;
    char* word;
} ENTRY;

typedef struct {
    ENTRY** buckets;
    unsigned size;
    unsigned used;
    int growths;
} TABLE;

static const char text[] = "the quick brown fox jumps over the lazy dog and the dog sleeps while the fox runs and "
                           "jumps over the brown log near the river where the lazy cat and the quick mouse play "
                           "a game of cat and mouse all day long until the sun sets over the hill and the fox sleeps";

static unsigned hash_word(const char* s, int n) {
    unsigned h = 0;
    while (n-- > 0) h = h * 31u + ((unsigned)*s++ & 0x7fu);
    return h ^ (h >> 15);
}

static void table_init(TABLE* t, unsigned size) {
    t->buckets = calloc(size, sizeof *t->buckets);
    t->size = size;
    t->used = 0;
    t->growths = 0;
}

static void grow(TABLE* t) {
    unsigned size = t->size * 2;
    ENTRY** fresh = calloc(size, sizeof *fresh);
    for (unsigned i = 0; i < t->size; i++) {
        ENTRY* e = t->buckets[i];
        while (e) {
            ENTRY* next = e->next;
            e->next = fresh[e->hash % size];
            fresh[e->hash % size] = e;
            e = next;
        }
    }
    free(t->buckets);
    t->buckets = fresh;
    t->size = size;
    t->growths++;
}

static ENTRY* lookup(TABLE* t, const char* s, int n) {
    unsigned h = hash_word(s, n);
    for (ENTRY* e = t->buckets[h % t->size]; e; e = e->next)
        if (e->hash == h && strncmp(e->word, s, (size_t)n) == 0 && e->word[n] == '\0') return e;
    if (t->used >= t->size) grow(t);
    ENTRY* e = malloc(sizeof *e);
    e->word = malloc((size_t)n + 1);
    memcpy(e->word, s, (size_t)n);
    e->word[n] = '\0';
    e->hash = h;
    e->count = 0;
    ENTRY** place = &t->buckets[h % t->size];
    e->next = *place;
    *place = e;
    t->used++;
    return e;
}

static void for_each(TABLE* t, void (*f)(ENTRY*, void*), void* context) {
    for (unsigned i = 0; i < t->size; i++)
        for (ENTRY* e = t->buckets[i]; e; e = e->next) f(e, context);
}

struct collector {
    ENTRY* list[100];
    int n, total;
};

static void collect(ENTRY* e, void* context) {
    struct collector* c = context;
    c->list[c->n++] = e;
    c->total += e->count;
}

static int order(const void* a, const void* b) {
    const ENTRY *p = *(ENTRY*const*)a, *q = *(ENTRY*const*)b;
    if (p->count != q->count) return q->count - p->count;
    return strcmp(p->word, q->word);
}

static void table_free(TABLE* t) {
    for (unsigned i = 0; i < t->size; i++) {
        for (ENTRY *e = t->buckets[i], *next; e; e = next) {
            next = e->next;
            free(e->word);
            free(e);
        }
    }
    free(t->buckets);
}

int main(void) {
    TABLE t;
    table_init(&t, 4);
    const char* s = text;
    int words = 0;
    while (*s) {
        while (*s == ' ') s++;
        const char* start = s;
        while (*s && *s != ' ') s++;
        if (s > start) {
            lookup(&t, start, (int)(s - start))->count++;
            words++;
        }
    }
    struct collector c = {.n = 0};
    for_each(&t, collect, &c);
    qsort(c.list, (size_t)c.n, sizeof c.list[0], order);
    printf("%d words, %d different, total %d, growths %d, size %u\n", words, c.n, c.total, t.growths, t.size);
    for (int i = 0; i < c.n; i++) {
        printf("%s %d", c.list[i]->word, c.list[i]->count);
        putchar(i % 8 == 7 || i == c.n - 1 ? '\n' : ',');
    }
    table_free(&t);
    return 0;
}
