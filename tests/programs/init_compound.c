/* Compound literals: scalars, arrays, structs; addresses of them, modified ones, in loops, as arguments, at file
 * scope. */
#include <stdio.h>

struct point {
    int x, y;
};
struct shape {
    const char* name;
    const struct point* corner;
    int n;
};

static struct shape shapes[] = {
    {"triangle", (struct point[]){{0, 0}, {4, 0}, {0, 3}}, 3},
    {"square", (struct point[4]){{0, 0}, {2, 0}, {2, 2}, {0, 2}}, 4},
};
static int* global_numbers = (int[]){5, 4, 3, 2, 1};

static int twice_area(const struct shape* s) {
    int sum = 0;
    for (int i = 0; i < s->n; i++) {
        const struct point *a = &s->corner[i], *b = &s->corner[(i + 1) % s->n];
        sum += a->x * b->y - b->x * a->y;
    }
    return sum;
}

static int sum(const int* v, int n) {
    int s = 0;
    while (n-- > 0) s += *v++;
    return s;
}

static int distance(struct point a, struct point b) {
    int dx = a.x - b.x, dy = a.y - b.y;
    return dx * dx + dy * dy;
}

static void shift(struct point* p, const struct point* by) {
    p->x += by->x;
    p->y += by->y;
}

static struct point rotated(struct point p) { return (struct point){-p.y, p.x}; }

static int join(char* out, const char** parts) {
    int n = 0;
    for (; *parts; parts++)
        for (const char* s = *parts; *s; s++) out[n++] = *s;
    out[n] = '\0';
    return n;
}

struct options {
    int width, height;
    const char* title;
    struct point origin;
};

static void open_window(struct options o) {
    printf("[%s %dx%d at %d,%d]", o.title ? o.title : "untitled", o.width ? o.width : 80, o.height ? o.height : 25,
           o.origin.x, o.origin.y);
}
#define OPEN(...) open_window((struct options){__VA_ARGS__})

static int accumulate(int n) {
    int total = 0;
    for (int i = 0; i < n; i++) {
        int* fresh = (int[3]){i};
        fresh[1] += fresh[0] + 1;
        fresh[2] += fresh[1] * 2;
        total += fresh[2];
    }
    return total;
}

int main(void) {
    for (int i = 0; i < 2; i++) printf("%s %d\n", shapes[i].name, twice_area(&shapes[i]));
    shapes[0].corner = (struct point[]){{1, 1}, {5, 1}, {1, 9}};
    printf("%d %d\n", twice_area(shapes), twice_area(&(struct shape){"line", (struct point[]){{0, 0}, {5, 5}}, 2}));
    global_numbers[2] = 30;
    printf("%d %d\n", sum(global_numbers, 5), sum((int[]){1, 2, 3, 4}, 4));
    int k = 7;
    printf("%d %d\n", sum((int[]){k, k * k, -k}, 3), sum((const int[10]){[9] = k}, 10));
    printf("%d\n", distance((struct point){1, 2}, (struct point){.y = 6, .x = 4}));
    struct point p = {10, 20};
    shift(&p, &(struct point){-1, .y = 5});
    p = rotated(rotated(p));
    printf("%d %d\n", p.x, p.y);
    int* one = &(int){41};
    ++*one;
    struct point* q = &(struct point){*one, *one + 1};
    shift(q, q);
    printf("%d %d %d\n", *one, q->x, q->y);
    char text[40];
    int n = join(text, (const char*[]){"com", "pound", " lit", "eral", NULL});
    printf("%s %d\n", text, n);
    OPEN(.title = "main", .origin = {3, 4});
    OPEN(100, 50);
    OPEN(.origin.y = 9, .height = 1);
    printf("\n%d\n", accumulate(10));
    printf("%d %d\n", (int){k} + (int){3}, ((struct point){5, 6}).y);
    printf(
        "%c %s\n", "literal" [3], (char[]) { 'a', 'b', 0 });
    double d = (double[]){0.25, 0.5, 4}[2] * (float){1.5f};
    printf("%g\n", d);
    struct point corner[2] = {(struct point){1, 2}, rotated((struct point){3, 4})};
    corner[0] = corner[1].x < 0 ? (struct point){corner[1].y, 0} : corner[1];
    printf("%d %d %d %d\n", corner[0].x, corner[0].y, corner[1].x, corner[1].y);
    return 0;
}
