/* Structs passed and returned by value in many sizes, nested calls, arrays in structs, members of results, no
 * aliasing. */
#include <stdio.h>

typedef struct {
    short s;
} TINY;
typedef struct {
    int x, y;
} POINT;
typedef struct {
    POINT low, high;
} BOX;
typedef struct {
    double re, im;
} CPLX;
typedef struct {
    int n;
    int item[20];
} LIST;
typedef struct {
    char name[10];
    short level;
    long long points;
    POINT where;
} PLAYER;

static TINY tiny(int v) {
    TINY t = {(short)v};
    return t;
}
static POINT point(int x, int y) { return (POINT){x, y}; }
static POINT add(POINT a, POINT b) {
    a.x += b.x;
    a.y += b.y;
    return a;
}
static POINT scale(POINT p, TINY f) { return point(p.x * f.s, p.y * f.s); }
static int dot(POINT a, POINT b) { return a.x * b.x + a.y * b.y; }

static BOX around(POINT a, POINT b) {
    BOX r;
    r.low = point(a.x < b.x ? a.x : b.x, a.y < b.y ? a.y : b.y);
    r.high = point(a.x > b.x ? a.x : b.x, a.y > b.y ? a.y : b.y);
    return r;
}
static BOX join(BOX a, BOX b) {
    BOX r = around(a.low, b.low);
    a.high = around(a.high, b.high).high;
    r.high = a.high;
    return r;
}
static int area(BOX b) { return (b.high.x - b.low.x) * (b.high.y - b.low.y); }

static CPLX multiply(CPLX a, CPLX b) {
    CPLX r = {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
    return r;
}
static CPLX power(CPLX a, int n) {
    if (n == 0) return (CPLX){1, 0};
    CPLX h = power(multiply(a, a), n / 2);
    return n % 2 ? multiply(h, a) : h;
}

static LIST push(LIST l, int v) {
    l.item[l.n++] = v;
    return l;
}
static LIST reversed(LIST l) {
    for (int i = 0, j = l.n - 1; i < j; i++, j--) {
        int t = l.item[i];
        l.item[i] = l.item[j];
        l.item[j] = t;
    }
    return l;
}
static int sum(LIST l) { return l.n ? l.item[--l.n] + sum(l) : 0; }

static PLAYER promote(PLAYER p, int by) {
    p.level = (short)(p.level + by);
    p.points = p.points % 100000 * 1000000007ll;
    p.name[0] = 'A';
    p.where = add(p.where, point(by, -by));
    return p;
}

static int many(TINY a, int i, POINT b, double d, BOX c, long long l, LIST m, char e) {
    return a.s + i * 2 + b.x * 3 + b.y * 4 + (int)d * 5 + c.high.y * 6 + (int)(l >> 32) * 7 + m.item[m.n - 1] * 8 +
           e * 9;
}

static POINT swap_through(POINT* p) {
    POINT old = *p;
    *p = point(old.y, old.x);
    return old;
}

int main(void) {
    POINT a = {3, 4}, b = point(-1, 2);
    POINT c = add(scale(a, tiny(3)), add(b, scale(b, tiny(-2))));
    printf("%d %d, dot %d, a unchanged %d %d\n", c.x, c.y, dot(add(a, b), scale(a, tiny(2))), a.x, a.y);
    printf("member of a result %d %d\n", add(a, b).y, around(a, b).high.x);
    BOX box = join(around(a, b), around(point(10, -5), point(0, 0)));
    printf("box %d %d %d %d area %d\n", box.low.x, box.low.y, box.high.x, box.high.y, area(box));
    CPLX z = power((CPLX){1, 1}, 10), w = power((CPLX){0, 0.5}, 5);
    printf("(1+i)^10 = %g%+gi, (i/2)^5 = %g%+gi\n", z.re, z.im, w.re, w.im);
    LIST l = {.n = 0}, r;
    for (int i = 1; i <= 10; i++) l = push(l, i * i);
    r = reversed(push(l, -1));
    printf("sum %d, reversed %d..%d, lengths %d %d\n", sum(l), r.item[0], r.item[r.n - 1], l.n, r.n);
    PLAYER p = {"Zorro", 7, 123456789, {1, 1}}, q = promote(p, 5);
    printf("%s %d %lld (%d,%d) | %s %d %lld (%d,%d)\n", p.name, p.level, p.points, p.where.x, p.where.y, q.name,
           q.level, q.points, q.where.x, q.where.y);
    p = q = promote(q, -2);
    printf("%s %d %d\n", p.name, p.level, q.where.y);
    printf("many %d\n", many(tiny(1), 2, b, 3.5, box, 5ll << 32, l, 'A' - 60));
    POINT old = swap_through(&a);
    a = add(a, old);
    printf("%d %d %d %d\n", old.x, old.y, a.x, a.y);
    a = swap_through(&a);
    printf("%d %d\n", a.x, a.y);
    POINT grid[3][2];
    for (int i = 0; i < 6; i++) grid[i / 2][i % 2] = point(i, i * i);
    grid[2][1] = grid[1][0];
    grid[1][0] = add(grid[2][0], grid[2][1]);
    for (int i = 0; i < 6; i++) printf("%d,%d ", grid[i / 2][i % 2].x, grid[i / 2][i % 2].y);
    printf("\n");
    return 0;
}
