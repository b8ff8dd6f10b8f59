/* Graph search: depth and breadth first over adjacency lists, topological order, components, bipartite test,
 * bridges. */
#include <stdio.h>
#include <string.h>

#define VERTICES 12
#define EDGES 64

typedef struct {
    int first[VERTICES];
    struct {
        int to, next;
    } edge[EDGES];
    int n, m;
} GRAPH;

static void graph_init(GRAPH* g, int n) {
    g->n = n;
    g->m = 0;
    for (int v = 0; v < n; v++) g->first[v] = -1;
}

static void arc(GRAPH* g, int from, int to) {
    g->edge[g->m].to = to;
    g->edge[g->m].next = g->first[from];
    g->first[from] = g->m++;
}

static void edge(GRAPH* g, int a, int b) {
    arc(g, a, b);
    arc(g, b, a);
}

static int bfs(const GRAPH* g, int start, int* distance, int* parent) {
    int queue[VERTICES], head = 0, tail = 0;
    for (int v = 0; v < g->n; v++) distance[v] = parent[v] = -1;
    distance[start] = 0;
    queue[tail++] = start;
    while (head != tail) {
        int v = queue[head++];
        for (int e = g->first[v]; e >= 0; e = g->edge[e].next) {
            int w = g->edge[e].to;
            if (distance[w] < 0) {
                distance[w] = distance[v] + 1;
                parent[w] = v;
                queue[tail++] = w;
            }
        }
    }
    return tail;
}

static int clock_, entered[VERTICES], low[VERTICES], bridges;

static void visit(const GRAPH* g, int v, int from) {
    int skipped = 0;
    entered[v] = low[v] = ++clock_;
    for (int e = g->first[v]; e >= 0; e = g->edge[e].next) {
        int w = g->edge[e].to;
        if (w == from && !skipped) {
            skipped = 1;
            continue;
        }
        if (!entered[w]) {
            visit(g, w, v);
            if (low[w] < low[v]) low[v] = low[w];
            if (low[w] > entered[v]) {
                printf(" %d-%d", v < w ? v : w, v < w ? w : v);
                bridges++;
            }
        } else if (entered[w] < low[v]) {
            low[v] = entered[w];
        }
    }
}

static int topological(const GRAPH* g, int* order) {
    int in_degree[VERTICES] = {0}, done = 0, found;
    char taken[VERTICES];
    memset(taken, 0, sizeof taken);
    for (int v = 0; v < g->n; v++)
        for (int e = g->first[v]; e >= 0; e = g->edge[e].next) in_degree[g->edge[e].to]++;
    do {
        found = 0;
        for (int v = 0; v < g->n && !found; v++) {
            if (taken[v] || in_degree[v]) continue;
            taken[v] = 1;
            order[done++] = v;
            for (int e = g->first[v]; e >= 0; e = g->edge[e].next) in_degree[g->edge[e].to]--;
            found = 1;
        }
    } while (found);
    return done;
}

static int colour(const GRAPH* g, int v, int c, int* colours) {
    if (colours[v]) return colours[v] == c;
    colours[v] = c;
    for (int e = g->first[v]; e >= 0; e = g->edge[e].next)
        if (!colour(g, g->edge[e].to, 3 - c, colours)) return 0;
    return 1;
}

int main(void) {
    GRAPH g;
    static const short pairs[][2] = {{0, 1}, {1, 2}, {2, 0}, {2, 3}, {3, 4}, {4, 5}, {5, 3}, {5, 6}, {6, 7}, {9, 10}};
    graph_init(&g, VERTICES);
    for (int i = 0; i < 10; i++) edge(&g, pairs[i][0], pairs[i][1]);
    int distance[VERTICES], parent[VERTICES], order[VERTICES], colours[VERTICES] = {0};
    printf("reached %d:", bfs(&g, 0, distance, parent));
    for (int v = 0; v < g.n; v++) printf(" %d", distance[v]);
    printf("\npath to 7:");
    for (int v = 7; v >= 0; v = parent[v]) printf(" %d", v);
    printf("\nbridges:");
    int components = 0;
    for (int v = 0; v < g.n; v++) {
        if (!entered[v]) {
            visit(&g, v, -1);
            components++;
        }
    }
    printf(" (%d)\ncomponents %d\n", bridges, components);
    printf("bipartite %d", colour(&g, 0, 1, colours));
    memset(colours, 0, sizeof colours);
    printf(" %d\n", colour(&g, 9, 1, colours));

    graph_init(&g, 8);
    static const char* const needs[] = {"0<1", "0<2", "1<3", "2<3", "3<5", "4<5", "5<6", "4<7", "7<6"};
    for (int i = 0; i < 9; i++) arc(&g, needs[i][0] - '0', needs[i][2] - '0');
    int n = topological(&g, order), position[VERTICES], bad = 0;
    printf("order:");
    for (int i = 0; i < n; i++) {
        printf(" %d", order[i]);
        position[order[i]] = i;
    }
    for (int i = 0; i < 9; i++) bad += position[needs[i][0] - '0'] > position[needs[i][2] - '0'];
    printf(", violated %d\n", bad);
    arc(&g, 6, 3);
    printf("with a cycle only %d of %d\n", topological(&g, order), g.n);
    return 0;
}
