/* Maze on a character grid: breadth-first distances, path marking, flood fill by recursion and by scan lines. */
#include <stdio.h>
#include <string.h>

#define H 11
#define W 21

static const char* const plan[H] = {"#####################", "#S    #       #     #", "##### # ##### # ### #",
                                    "#     # #   # #   # #", "# ##### # # # ### # #", "# #     # # #     # #",
                                    "# # ##### # ####### #", "# #       #         #", "# ######### ##### ###",
                                    "#           #      E#", "#####################"};

static char grid[H][W + 1];
static int distance[H][W];

static const struct {
    signed char dy, dx;
    char letter;
} moves[4] = {{-1, 0, 'N'}, {0, 1, 'E'}, {1, 0, 'S'}, {0, -1, 'W'}};

static int find(char what, int* y, int* x) {
    for (*y = 0; *y < H; ++*y)
        for (*x = 0; *x < W; ++*x)
            if (grid[*y][*x] == what) return 1;
    return 0;
}

static int solve(char* route) {
    struct {
        short y, x;
    } queue[H * W];
    int head = 0, tail = 0, sy, sx, ey, ex;
    if (!find('S', &sy, &sx) || !find('E', &ey, &ex)) return -1;
    memset(distance, 0, sizeof distance);
    distance[ey][ex] = 1;
    queue[tail].y = (short)ey;
    queue[tail++].x = (short)ex;
    while (head < tail) {
        int y = queue[head].y, x = queue[head].x;
        head++;
        for (int m = 0; m < 4; m++) {
            int ny = y + moves[m].dy, nx = x + moves[m].dx;
            if (grid[ny][nx] == '#' || distance[ny][nx]) continue;
            distance[ny][nx] = distance[y][x] + 1;
            queue[tail].y = (short)ny;
            queue[tail].x = (short)nx;
            tail++;
        }
    }
    int steps = distance[sy][sx] - 1;
    for (int y = sy, x = sx; distance[y][x] > 1;) {
        int m = 0;
        while (distance[y + moves[m].dy][x + moves[m].dx] != distance[y][x] - 1) m++;
        *route++ = moves[m].letter;
        y += moves[m].dy;
        x += moves[m].dx;
        if (grid[y][x] == ' ') grid[y][x] = '.';
    }
    *route = 0;
    return steps;
}

static int flood(int y, int x, char from, char to) {
    if (y < 0 || y >= H || x < 0 || x >= W || grid[y][x] != from) return 0;
    grid[y][x] = to;
    return 1 + flood(y - 1, x, from, to) + flood(y + 1, x, from, to) + flood(y, x - 1, from, to) +
           flood(y, x + 1, from, to);
}

static int flood_lines(int y, int x, char from, char to) {
    int stack[100][2], top = 0, n = 0;
    stack[top][0] = y;
    stack[top++][1] = x;
    while (top) {
        top--;
        y = stack[top][0];
        x = stack[top][1];
        if (grid[y][x] != from) continue;
        while (grid[y][x - 1] == from) x--;
        int above = 0, below = 0;
        for (; grid[y][x] == from; x++) {
            grid[y][x] = to;
            n++;
            for (int side = -1; side <= 1; side += 2) {
                int* open = side < 0 ? &above : &below;
                if (grid[y + side][x] == from) {
                    if (!*open) {
                        stack[top][0] = y + side;
                        stack[top++][1] = x;
                    }
                    *open = 1;
                } else {
                    *open = 0;
                }
            }
        }
    }
    return n;
}

int main(void) {
    char route[H * W];
    for (int y = 0; y < H; y++) strcpy(grid[y], plan[y]);
    int steps = solve(route);
    printf("%d steps, %d letters\n%s\n", steps, (int)strlen(route), route);
    for (int y = 0; y < H; y++) puts(grid[y]);
    int dots = 0, open = 0;
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) {
            dots += grid[y][x] == '.';
            open += grid[y][x] == ' ';
        }
    printf("dots %d, open %d\n", dots, open);
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++)
            if (grid[y][x] != '#') grid[y][x] = ' ';
    int first = flood(1, 1, ' ', 'a'), second = flood_lines(1, 1, 'a', 'b');
    printf("flood %d %d, all open cells %d\n", first, second, dots + open + 2);
    grid[3][5] = '#';
    grid[1][1] = 'S';
    grid[9][19] = 'E';
    printf("wall added: %d steps\n", solve(route));
    return 0;
}
