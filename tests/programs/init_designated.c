/* Initialisers: designators for arrays, structs, unions and nested mixes, overrides, holes, non-constant parts,
 * brace elision. */
#include <stdio.h>

struct point {
    int x, y, z;
};
struct line {
    struct point from, to;
    const char* name;
};
struct mixed {
    short s[5];
    union {
        int i;
        float f;
        char text[4];
    } u;
    struct {
        unsigned a : 3, b : 5;
        int rest[2][2];
    } inner;
    struct point p;
};

static struct line lines[] = {
    [2] = {.to = {.z = 9}, .name = "two"},
    [0] = {.from.x = 1, .from.y = 2, .to = {3, 4, 5}, .name = "zero"},
    {.name = "one", .from = {7}},
};

static int sparse[10] = {1, [4] = 5, 6, [2] = 3, [4] = 50, [9] = 10};
static const char vowels[26] = {['a' - 'a'] = 1, ['e' - 'a'] = 1, ['i' - 'a'] = 1, ['o' - 'a'] = 1, ['u' - 'a'] = 1};
static struct mixed global = {.s = {[1] = 11, [3] = 13}, .u = {.f = 2.5f}, .inner = {5, 17, {{1}, {2, 3}}}, .p.y = -1};
static int elided[2][3] = {1, 2, 3, 4};
static struct point points[2] = {1, 2, 3, 4};
static char words[3][6] = {"one", {'t', 'w', 'o'}, [2][0] = 'x'};
static int from_bracket[] = {[5] = 1, [2] = 7};

static int side_effects;
static int next(void) { return ++side_effects; }

static void show_mixed(const struct mixed* m, int kind) {
    for (int i = 0; i < 5; i++) printf("%d ", m->s[i]);
    if (kind == 0)
        printf("| %d ", m->u.i);
    else if (kind == 1)
        printf("| %g ", (double)m->u.f);
    else
        printf("| %s ", m->u.text);
    printf("| %u %u %d %d %d %d | %d %d %d\n", m->inner.a, m->inner.b, m->inner.rest[0][0], m->inner.rest[0][1],
           m->inner.rest[1][0], m->inner.rest[1][1], m->p.x, m->p.y, m->p.z);
}

static int table_sum(int n) {
    const int table[12] = {3, 1, 4, 1, 5, 9, 2, 6, 5, 3, 5, 8};
    int work[12] = {[0] = n, [11] = -n};
    int sum = 0;
    for (int i = 0; i < 12; i++) {
        work[i] += table[i];
        sum = sum * 2 + work[i];
    }
    return sum;
}

static struct line make(int a, struct point p) {
    struct line l = {p, {a, .z = a * a}, "made"};
    l.from = (struct point){.y = l.to.x, .x = p.y};
    return l;
}

int main(void) {
    printf("%d lines\n", (int)(sizeof lines / sizeof lines[0]));
    for (int i = 0; i < 3; i++)
        printf("%s: %d %d %d - %d %d %d\n", lines[i].name, lines[i].from.x, lines[i].from.y, lines[i].from.z,
               lines[i].to.x, lines[i].to.y, lines[i].to.z);
    for (int i = 0; i < 10; i++) printf("%d ", sparse[i]);
    int count = 0;
    for (const char* s = "initialiser"; *s; s++) count += vowels[*s - 'a'];
    printf("| %d vowels\n", count);
    show_mixed(&global, 1);
    struct mixed local = {{1, 2}, {7}, {.b = 31, .rest = {[1] = {[1] = 8}}}, {.z = 3}};
    show_mixed(&local, 0);
    struct mixed other = {.u.text = "abc", .s[4] = 4, .p = local.p};
    show_mixed(&other, 2);
    for (int i = 0; i < 6; i++) printf("%d ", elided[i / 3][i % 3]);
    printf("| %d %d %d\n", points[1].x, points[1].y, points[0].z);
    printf("%s %s %s %d\n", words[0], words[1], words[2], (int)(sizeof from_bracket / sizeof from_bracket[0]));
    int ordered[3] = {next()};
    ordered[1] = next();
    printf("%d %d %d\n", ordered[0], ordered[1], ordered[2]);
    printf("%d %d %d\n", table_sum(0), table_sum(10), table_sum(0));
    for (int i = 0; i < 3; i++) {
        struct point p = {i, .z = -i};
        int fresh[4] = {i};
        fresh[3] += i + 1;
        struct line l = make(i + 2, p);
        printf("%d %d %d | %d %d | %d %d %d\n", p.x, p.y, p.z, fresh[0], fresh[3], l.from.x, l.from.y, l.to.z);
    }
    char text[] = "array", exact[5] = {'e', 'x', 'a', 'c', 't'}, padded[8] = "pad";
    text[0] = 'A';
    printf("%s %c%c %s %d %d\n", text, exact[0], exact[4], padded, padded[7], (int)(sizeof text / sizeof text[0]));
    int* pointers[3] = {&sparse[4], [2] = &elided[1][0]};
    printf("%d %d %d\n", *pointers[0], pointers[1] == 0, *pointers[2]);
    return 0;
}
