/* The program that the command-line tests carry through every tool: a bit of everything, small when translated. */
#include <stdio.h>

struct point {
    int x, y;
    unsigned flag : 3;
};

static struct point table[3] = {{1, 2, 1}, {3, 4, 2}, {5, 6, 3}};

static int weigh(const struct point* p, int n) {
    int sum = 0;
    for (int i = 0; i < n; i++) {
        switch (p[i].flag) {
        case 1: sum += p[i].x; break;
        case 2: sum -= p[i].y; break;
        default: sum += p[i].x * p[i].y;
        }
    }
    return sum;
}

int main(void) {
    double half = weigh(table, 3) / 2.0;
    printf("%d %.1f\n", weigh(table, 3), half);
    return 7;
}
