/* malloc, realloc, calloc and free: growing vectors, string builder, generic vector by element size, ragged arrays. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct {
    int* data;
    int n, capacity, moves;
} VECTOR;

static void push(VECTOR* v, int x) {
    if (v->n == v->capacity) {
        v->capacity = v->capacity ? v->capacity * 2 : 4;
        v->data = realloc(v->data, (size_t)v->capacity * sizeof *v->data);
        v->moves++;
    }
    v->data[v->n++] = x;
}

static void insert_at(VECTOR* v, int at, int x) {
    push(v, 0);
    memmove(v->data + at + 1, v->data + at, (size_t)(v->n - 1 - at) * sizeof *v->data);
    v->data[at] = x;
}

static int remove_at(VECTOR* v, int at) {
    int x = v->data[at];
    memmove(v->data + at, v->data + at + 1, (size_t)(--v->n - at) * sizeof *v->data);
    return x;
}

typedef struct {
    char* text;
    int length, room;
} BUILDER;

static void append(BUILDER* b, const char* s) {
    int n = (int)strlen(s);
    if (b->length + n + 1 > b->room) {
        while (b->length + n + 1 > b->room) b->room = b->room ? b->room * 3 / 2 : 8;
        b->text = realloc(b->text, (size_t)b->room);
    }
    strcpy(b->text + b->length, s);
    b->length += n;
}

/* any element type, kept as raw memory */
typedef struct {
    void* data;
    size_t size;
    int n, capacity;
} ANY;

static void* any_push(ANY* a, const void* element) {
    if (a->n == a->capacity) {
        a->capacity += 5;
        a->data = realloc(a->data, (size_t)a->capacity * a->size);
    }
    return memcpy((char*)a->data + (size_t)a->n++ * a->size, element, a->size);
}

static void* any_at(const ANY* a, int i) { return (char*)a->data + (size_t)i * a->size; }

struct sample {
    int id;
    double value;
    char tag[3];
};

static int** ragged(int rows) {
    int** r = malloc((size_t)rows * sizeof *r);
    for (int i = 0; i < rows; i++) {
        r[i] = calloc((size_t)i + 1, sizeof **r);
        r[i][0] = r[i][i] = 1;
        for (int j = 1; j < i; j++) r[i][j] = r[i - 1][j - 1] + r[i - 1][j];
    }
    return r;
}

static char* join(char** parts, int n) {
    size_t total = 1;
    for (int i = 0; i < n; i++) total += strlen(parts[i]);
    char *out = malloc(total), *at = out;
    for (int i = 0; i < n; i++) {
        size_t l = strlen(parts[i]);
        memcpy(at, parts[i], l);
        at += l;
    }
    *at = '\0';
    return out;
}

static char* copy_of(const char* s) { return strcpy(malloc(strlen(s) + 1), s); }

int main(void) {
    VECTOR v = {NULL, 0, 0, 0};
    for (int i = 0; i < 100; i++) push(&v, i * i);
    printf("%d of %d, moves %d, last %d\n", v.n, v.capacity, v.moves, v.data[99]);
    insert_at(&v, 0, -1);
    insert_at(&v, 50, -2);
    insert_at(&v, v.n, -3);
    int a = remove_at(&v, 0), b = remove_at(&v, 49), c = remove_at(&v, v.n - 1);
    int same = v.n == 100;
    for (int i = 0; i < v.n; i++) same &= v.data[i] == i * i;
    printf("%d %d %d restored %d\n", a, b, c, same);
    while (v.n > 10) remove_at(&v, v.n / 2);
    for (int i = 0; i < v.n; i++) printf("%d ", v.data[i]);
    printf("\n");
    free(v.data);
    BUILDER s = {0};
    for (int i = 0; i < 12; i++) {
        char part[12];
        sprintf(part, "%d,", i * 37);
        append(&s, part);
    }
    printf("%s %d\n", s.text, s.length);
    free(s.text);
    ANY list = {.size = sizeof(struct sample)};
    for (int i = 0; i < 13; i++) {
        struct sample x = {i, i * 0.5, {(char)('a' + i), 'z', 0}};
        any_push(&list, &x);
    }
    double sum = 0;
    for (int i = 0; i < list.n; i++) sum += ((struct sample*)any_at(&list, i))->value;
    struct sample* seventh = any_at(&list, 7);
    printf("%d %g %s %g\n", seventh->id, seventh->value, seventh->tag, sum);
    free(list.data);
    int **pascal = ragged(12), total = 0;
    for (int j = 0; j < 12; j++) total += pascal[11][j];
    printf("%d %d %d\n", pascal[11][5], pascal[4][2], total);
    for (int i = 0; i < 12; i++) free(pascal[i]);
    free(pascal);
    char* parts[4] = {copy_of("mal"), copy_of("loc"), copy_of(""), copy_of("ator")};
    char* whole = join(parts, 4);
    printf("%s\n", whole);
    for (int i = 0; i < 4; i++) free(parts[i]);
    free(whole);
    free(NULL);
    int* grown = calloc(3, sizeof *grown);
    grown[1] = 5;
    grown = realloc(grown, 300 * sizeof *grown);
    for (int i = 3; i < 300; i++) grown[i] = i;
    grown = realloc(grown, 2 * sizeof *grown);
    printf("%d %d\n", grown[0], grown[1]);
    free(grown);
    return 0;
}
