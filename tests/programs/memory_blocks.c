/* memcpy, memmove, memset, memcmp on ints, structs and sub-ranges; overlapping moves both ways; struct copies by
 * loops. */
#include <stdio.h>
#include <string.h>

struct packet {
    int id;
    short port;
    char body[9];
    long long stamp;
};

static int check_ramp(const int* v, int n, int from) {
    for (int i = 0; i < n; i++)
        if (v[i] != from + i) return 0;
    return 1;
}

static void rotate(int* v, int n, int by) {
    int spare[16];
    memcpy(spare, v, (size_t)by * sizeof *v);
    memmove(v, v + by, (size_t)(n - by) * sizeof *v);
    memcpy(v + n - by, spare, (size_t)by * sizeof *v);
}

static void* own_memmove(int* to, const int* from, int n) {
    if (to < from) {
        for (int i = 0; i < n; i++) to[i] = from[i];
    } else {
        while (n-- > 0) to[n] = from[n];
    }
    return to;
}

static int same_packet(const struct packet* a, const struct packet* b) {
    return a->id == b->id && a->port == b->port && strcmp(a->body, b->body) == 0 && a->stamp == b->stamp;
}

static void swap_memory(void* a, void* b, size_t n) {
    char spare[64];
    memcpy(spare, a, n);
    memcpy(a, b, n);
    memcpy(b, spare, n);
}

static void delete_range(char* s, int at, int n) { memmove(s + at, s + at + n, strlen(s + at + n) + 1); }

static void insert_text(char* s, int at, const char* what) {
    size_t n = strlen(what);
    memmove(s + at + n, s + at, strlen(s + at) + 1);
    memcpy(s + at, what, n);
}

int main(void) {
    int v[20], w[20];
    for (int i = 0; i < 20; i++) v[i] = i;
    memcpy(w, v, sizeof v);
    printf("%d %d\n", check_ramp(w, 20, 0), memcmp(v, w, sizeof v) == 0);
    memmove(w + 3, w, 10 * sizeof *w);
    printf("%d %d %d\n", check_ramp(w, 3, 0), check_ramp(w + 3, 10, 0), check_ramp(w + 13, 7, 13));
    memmove(w, w + 3, 17 * sizeof *w);
    printf("%d %d\n", check_ramp(w, 10, 0), check_ramp(w + 10, 7, 13));
    rotate(v, 20, 7);
    printf("%d %d\n", check_ramp(v, 13, 7), check_ramp(v + 13, 7, 0));
    rotate(v, 20, 13);
    printf("%d\n", check_ramp(v, 20, 0));
    own_memmove(v + 2, v, 10);
    own_memmove(v, v + 2, 10);
    printf("%d %d %d\n", check_ramp(v, 10, 0), v[10], v[11]);

    struct packet p, q, list[4];
    memset(&p, 0, sizeof p);
    p.id = 7;
    p.port = -1;
    strcpy(p.body, "payload");
    p.stamp = 1ll << 40;
    memcpy(&q, &p, sizeof q);
    printf("%d %s %lld\n", same_packet(&p, &q), q.body, q.stamp);
    q.body[0] = 'P';
    printf("%d\n", same_packet(&p, &q));
    for (int i = 0; i < 4; i++) {
        list[i] = p;
        list[i].id = i;
    }
    memmove(list + 1, list, 3 * sizeof list[0]);
    list[0] = q;
    for (int i = 0; i < 4; i++) printf("%d%s ", list[i].id, list[i].body);
    swap_memory(&list[0], &list[3], sizeof list[0]);
    printf("| %d %d\n", list[0].id, list[3].id);

    char text[40] = "memory is finite";
    delete_range(text, 7, 3);
    insert_text(text, 7, "was never ");
    printf("%s\n", text);
    memset(text, '-', 6);
    printf("%s %d\n", text, (int)strlen(text));
    double d[4] = {1.5, -2.5, 0.0, 8}, e[4];
    memcpy(e + 2, d, 2 * sizeof *d);
    memcpy(e, d + 2, 2 * sizeof *d);
    printf("%g %g %g %g\n", e[0], e[1], e[2], e[3]);
    int grid[3][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}}, row[4];
    memcpy(row, grid[0], sizeof row);
    memcpy(grid[0], grid[2], sizeof row);
    memcpy(grid[2], row, sizeof row);
    memset(grid[1], 0, sizeof grid[1]);
    int sum = 0;
    for (int i = 0; i < 12; i++) sum = sum * 3 + grid[i / 4][i % 4];
    printf("%d\n", sum);
    memcpy(v, w, 0);
    printf("%d %d\n", memcmp(v, w, 0), memcmp("abc", "abd", 3) < 0);
    return 0;
}
