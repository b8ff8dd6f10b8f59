/* Pointers to pointers: argument vectors, 2-D through row pointers, out-parameters, pointer arithmetic,
 * comparisons, swaps. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int split(char* s, char** words, int limit) {
    char** w = words;
    while (*s && w - words < limit) {
        if (*s == ' ') {
            *s++ = 0;
            continue;
        }
        *w++ = s;
        while (*s && *s != ' ') ++s;
    }
    return (int)(w - words);
}

static void sort_words(char** low, char** high) {
    for (char** i = low + 1; i < high; i++) {
        char *x = *i, **j;
        for (j = i; j > low && strcmp(j[-1], x) > 0; j--) *j = j[-1];
        *j = x;
    }
}

static int** make_grid(int rows, int columns) {
    int** g = malloc((size_t)rows * sizeof *g);
    g[0] = malloc((size_t)rows * (size_t)columns * sizeof **g);
    for (int r = 1; r < rows; r++) g[r] = g[0] + r * columns;
    return g;
}

static void swap_rows(int** a, int** b) {
    int* t = *a;
    *a = *b;
    *b = t;
}

static int parse(const char** at, int* out) {
    const char* s = *at;
    int v = 0, seen = 0;
    while (*s == ',') s++;
    for (; *s >= '0' && *s <= '9'; s++, seen = 1) v = v * 10 + *s - '0';
    *at = s;
    if (seen) *out = v;
    return seen;
}

static void find_ends(const int* v, int n, const int** least, const int** most) {
    *least = *most = v;
    for (const int* p = v + 1; p < v + n; p++) {
        if (*p < **least) *least = p;
        if (*p > **most) *most = p;
    }
}

static void chase(int*** ppp, int v) {
    ***ppp = v;
    ++**ppp;
    (***ppp)++;
}

static void advance(char** p, int n) {
    while (n--) *(*p)++ = '*';
}

struct node {
    int v;
    struct node** up;
    struct node* down;
};

int main(void) {
    char line[] = "the quick  brown fox jumps";
    char* words[8];
    int n = split(line, words, 8);
    sort_words(words, words + n);
    for (char** w = words; w != words + n; w++) printf("%s%c", *w, w + 1 == words + n ? '\n' : ' ');
    printf("%c %c %c\n", **words, *words[1], (*(words + 2))[1]);

    int** g = make_grid(4, 6);
    int* base = g[0];
    for (int r = 0; r < 4; r++)
        for (int c = 0; c < 6; c++) g[r][c] = r * c;
    swap_rows(&g[0], &g[3]);
    swap_rows(g + 1, g + 2);
    for (int r = 0; r < 4; r++) printf("%d %d; ", g[r][2], *(g[r] + 5));
    int by_row = 0, by_base = 0;
    for (int r = 0; r < 4; r++)
        for (int c = 0; c < 6; c++) by_row += g[r][c];
    for (int i = 0; i < 24; i++) by_base += base[i];
    printf("%d %d\n", by_row, by_base);
    free(base);
    free(g);

    const char* text = "12,,345,6x7";
    int value = -1, total = 0;
    while (parse(&text, &value)) total += value;
    printf("%d stopped at %s\n", total, text);
    int numbers[] = {5, -2, 9, 9, -2, 0};
    const int *least, *most;
    find_ends(numbers, 6, &least, &most);
    printf("%d at %d, %d at %d\n", *least, (int)(least - numbers), *most, (int)(most - numbers));
    int *p = numbers, **pp = &p, ***ppp = &pp;
    chase(ppp, 100);
    chase(&pp, 200);
    printf("%d %d %d %d\n", numbers[0], numbers[1], numbers[2], (int)(p - numbers));
    char buffer[] = "..........", *b = buffer + 2;
    advance(&b, 3);
    *b++ = '|';
    b[1] = '!';
    *--b = '/';
    printf("%s %d\n", buffer, (int)(b - buffer));
    struct node second = {2, NULL, NULL}, first = {1, NULL, &second};
    second.up = &first.down;
    (*second.up)->v += 40;
    *second.up = &first;
    printf("%d %d\n", second.v, first.down->down->v);
    int a[5] = {0, 1, 2, 3, 4}, *low = a, *high = a + 4;
    while (low < high) {
        int t = *low;
        *low++ = *high;
        *high-- = t;
    }
    printf("%d%d%d%d%d %d %d\n", a[0], a[1], a[2], a[3], a[4], low == high, (int)(&a[5] - a));
    const char* const* list = (const char* const[]){"x", "yy", "zzz", NULL};
    int letters = 0;
    for (; *list; ++list)
        for (const char* s = *list; *s; s++) letters += *s - 'w';
    printf("%d\n", letters);
    return 0;
}
