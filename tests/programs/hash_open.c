/* Open-addressing hash table with tombstones; FNV-1a, djb2 and a 64-bit mixer with known values. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#define SLOTS 128

static uint32_t fnv1a(const char* s) {
    uint32_t h = 2166136261u;
    while (*s) {
        h ^= (uint32_t)*s++ & 0xffu;
        h *= 16777619u;
    }
    return h;
}

static uint32_t djb2(const char* s) {
    uint32_t h = 5381;
    for (; *s; s++) h = (h << 5) + h + ((uint32_t)*s & 0xffu);
    return h;
}

static uint64_t mix64(uint64_t z) {
    z += 0x9e3779b97f4a7c15ull;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return z ^ (z >> 31);
}

enum slot_state { EMPTY, USED, DELETED };

typedef struct {
    enum slot_state state;
    char key[12];
    int value;
} SLOT;

static SLOT table[SLOTS];
static int live, probes;

static SLOT* find(const char* key, int make) {
    SLOT* grave = 0;
    uint32_t i = fnv1a(key) % SLOTS;
    for (int step = 0; step < SLOTS; step++, i = (i + 1) % SLOTS) {
        SLOT* s = &table[i];
        probes++;
        switch (s->state) {
        case USED:
            if (strcmp(s->key, key) == 0) return s;
            break;
        case DELETED:
            if (!grave) grave = s;
            break;
        case EMPTY:
            if (!make) return 0;
            if (grave) s = grave;
            s->state = USED;
            strcpy(s->key, key);
            s->value = 0;
            live++;
            return s;
        }
    }
    return 0;
}

static int remove_key(const char* key) {
    SLOT* s = find(key, 0);
    if (!s) return 0;
    s->state = DELETED;
    live--;
    return 1;
}

static void make_key(char* out, int i) { sprintf(out, "k%d_%x", i, (unsigned)(i * i)); }

int main(void) {
    /* published values of FNV-1a: "" 811c9dc5, "a" e40c292c, "foobar" bf9cf968 */
    printf("%08x %08x %08x\n", (unsigned)fnv1a(""), (unsigned)fnv1a("a"), (unsigned)fnv1a("foobar"));
    printf("%u %u\n", (unsigned)djb2(""), (unsigned)djb2("a"));
    /* first outputs of the splitmix64 generator with seed 0 */
    printf("%016llx %016llx\n", (unsigned long long)mix64(0), (unsigned long long)mix64(0x9e3779b97f4a7c15ull));

    char key[12];
    for (int i = 0; i < 90; i++) {
        make_key(key, i);
        find(key, 1)->value = i * 7;
    }
    printf("live %d\n", live);
    int bad = 0, removed = 0;
    for (int i = 0; i < 90; i += 3) {
        make_key(key, i);
        removed += remove_key(key);
    }
    printf("removed %d, live %d, again %d\n", removed, live, remove_key("k0_0"));
    for (int i = 0; i < 90; i++) {
        make_key(key, i);
        SLOT* s = find(key, 0);
        if (i % 3 == 0 ? s != 0 : s == 0 || s->value != i * 7) bad++;
    }
    printf("bad %d\n", bad);
    for (int i = 0; i < 90; i += 3) {
        make_key(key, i);
        find(key, 1)->value += i;
    }
    long long sum = 0;
    for (int i = 0; i < SLOTS; i++)
        if (table[i].state == USED) sum += table[i].value;
    /* 7 * (sum of all i not divisible by 3) + sum of the i divisible by 3 */
    printf("live %d, sum %lld\n", live, sum);
    printf("probes reasonable: %d\n", probes > 300 && probes < 6000);
    return 0;
}
