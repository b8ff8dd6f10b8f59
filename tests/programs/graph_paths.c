/* Shortest paths three ways (Dijkstra with a heap, Bellman-Ford, Floyd-Warshall) and Kruskal with union-find;
 * must agree. */
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>

#define N 16
#define FAR (INT_MAX / 4)

struct arc {
    int from, to, cost;
};

static struct arc arcs[120];
static int arc_count;
static int cost[N][N];

static void build(void) {
    unsigned seed = 2024;
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) cost[i][j] = i == j ? 0 : FAR;
    for (int i = 0; i < 56; i++) {
        seed = seed * 69069u + 1u;
        int a = (int)(seed >> 10 & 15u), b = (int)(seed >> 20 & 15u), c = (int)(seed >> 26 & 31u) + 1;
        if (a == b || a == 15) continue;
        arcs[arc_count++] = (struct arc){a, b, c};
        if (c < cost[a][b]) cost[a][b] = c;
    }
}

typedef struct {
    int vertex, key;
} HEAP_ITEM;

static HEAP_ITEM heap[200];
static int heap_size;

static void heap_push(int vertex, int key) {
    int i = ++heap_size;
    for (; i > 1 && heap[i / 2].key > key; i /= 2) heap[i] = heap[i / 2];
    heap[i].vertex = vertex;
    heap[i].key = key;
}

static HEAP_ITEM heap_pop(void) {
    HEAP_ITEM top = heap[1], last = heap[heap_size--];
    int i = 1;
    for (int c = 2; c <= heap_size; i = c, c *= 2) {
        if (c < heap_size && heap[c + 1].key < heap[c].key) ++c;
        if (last.key <= heap[c].key) break;
        heap[i] = heap[c];
    }
    heap[i] = last;
    return top;
}

static void dijkstra(int start, int* d) {
    for (int v = 0; v < N; v++) d[v] = FAR;
    d[start] = 0;
    heap_push(start, 0);
    while (heap_size) {
        HEAP_ITEM h = heap_pop();
        if (h.key != d[h.vertex]) continue;
        for (int w = 0; w < N; w++) {
            if (cost[h.vertex][w] >= FAR) continue;
            int through = h.key + cost[h.vertex][w];
            if (through < d[w]) {
                d[w] = through;
                heap_push(w, through);
            }
        }
    }
}

static int bellman_ford(int start, int* d) {
    int rounds = 0, changed = 1;
    for (int v = 0; v < N; v++) d[v] = FAR;
    d[start] = 0;
    while (changed) {
        changed = 0;
        for (const struct arc* a = arcs; a < arcs + arc_count; a++)
            if (d[a->from] < FAR && d[a->from] + a->cost < d[a->to]) {
                d[a->to] = d[a->from] + a->cost;
                changed = 1;
            }
        rounds++;
    }
    return rounds;
}

static int all[N][N];

static void floyd(void) {
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++) all[i][j] = cost[i][j];
    for (int k = 0; k < N; k++)
        for (int i = 0; i < N; i++)
            for (int j = 0; j < N; j++)
                if (all[i][k] + all[k][j] < all[i][j]) all[i][j] = all[i][k] + all[k][j];
}

static int leader[N];

static int find(int v) {
    while (leader[v] != v) v = leader[v] = leader[leader[v]];
    return v;
}

static int by_cost(const void* x, const void* y) {
    const struct arc *a = x, *b = y;
    if (a->cost != b->cost) return a->cost - b->cost;
    return a->from != b->from ? a->from - b->from : a->to - b->to;
}

int main(void) {
    build();
    floyd();
    int d[N], f[N], differences = 0, unreachable = 0, most_rounds = 0;
    for (int s = 0; s < N; s++) {
        dijkstra(s, d);
        int rounds = bellman_ford(s, f);
        if (rounds > most_rounds) most_rounds = rounds;
        for (int v = 0; v < N; v++) {
            differences += d[v] != f[v] || d[v] != all[s][v];
            unreachable += d[v] >= FAR;
        }
    }
    printf("%d arcs, differences %d, unreachable pairs %d, rounds within bounds %d\n", arc_count, differences,
           unreachable, most_rounds <= N);
    dijkstra(0, d);
    for (int v = 0; v < N; v++) {
        if (d[v] >= FAR)
            printf("- ");
        else
            printf("%d ", d[v]);
    }
    printf("\n");
    int broken = 0;
    for (int i = 0; i < N; i++)
        for (int j = 0; j < N; j++)
            for (int k = 0; k < N; k++) broken += all[i][j] > all[i][k] + all[k][j];
    printf("triangle inequality broken %d times\n", broken);

    qsort(arcs, (size_t)arc_count, sizeof arcs[0], by_cost);
    int total = 0, taken = 0;
    for (int v = 0; v < N; v++) leader[v] = v;
    for (int i = 0; i < arc_count; i++) {
        int a = find(arcs[i].from), b = find(arcs[i].to);
        if (a == b) continue;
        leader[a] = b;
        total += arcs[i].cost;
        taken++;
    }
    int trees = 0;
    for (int v = 0; v < N; v++) trees += find(v) == v;
    printf("spanning forest: %d edges, cost %d, trees %d, consistent %d\n", taken, total, trees, taken + trees == N);
    return 0;
}
