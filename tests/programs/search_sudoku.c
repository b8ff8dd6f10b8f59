/* Backtracking: sudoku with candidate masks, knight's tour by fewest exits, subset sums, graph colouring. */
#include <stdio.h>
#include <string.h>

static unsigned short rows[9], columns[9], boxes[9];
static char grid[9][10];
static int guesses;

static int count_bits(unsigned v) {
    int n = 0;
    while (v) {
        v &= v - 1;
        n++;
    }
    return n;
}

static int box_of(int r, int c) { return r / 3 * 3 + c / 3; }

static unsigned candidates(int r, int c) { return ~(rows[r] | columns[c] | boxes[box_of(r, c)]) & 0x3feu; }

static void mark(int r, int c, int d, int set) {
    unsigned short bit = (unsigned short)(1u << d);
    if (set) {
        rows[r] |= bit;
        columns[c] |= bit;
        boxes[box_of(r, c)] |= bit;
        grid[r][c] = (char)('0' + d);
    } else {
        rows[r] &= (unsigned short)~bit;
        columns[c] &= (unsigned short)~bit;
        boxes[box_of(r, c)] &= (unsigned short)~bit;
        grid[r][c] = '.';
    }
}

static int solve(void) {
    int best = 10, br = 0, bc = 0;
    for (int r = 0; r < 9; r++)
        for (int c = 0; c < 9; c++) {
            if (grid[r][c] != '.') continue;
            int n = count_bits(candidates(r, c));
            if (n < best) {
                best = n;
                br = r;
                bc = c;
            }
        }
    if (best == 10) return 1;
    unsigned open = candidates(br, bc);
    for (int d = 1; d <= 9; d++) {
        if (!(open >> d & 1u)) continue;
        if (best > 1) guesses++;
        mark(br, bc, d, 1);
        if (solve()) return 1;
        mark(br, bc, d, 0);
    }
    return 0;
}

static int load(const char* text) {
    memset(rows, 0, sizeof rows);
    memset(columns, 0, sizeof columns);
    memset(boxes, 0, sizeof boxes);
    guesses = 0;
    for (int i = 0; i < 81; i++) {
        int r = i / 9, c = i % 9, d = text[i] - '0';
        grid[r][c] = '.';
        if (text[i] == '.') continue;
        if (!(candidates(r, c) >> d & 1u)) return 0;
        mark(r, c, d, 1);
    }
    return 1;
}

static int valid(void) {
    for (int i = 0; i < 9; i++)
        if (rows[i] != 0x3fe || columns[i] != 0x3fe || boxes[i] != 0x3fe) return 0;
    return 1;
}

#define BOARD 6
static int tour[BOARD][BOARD];
static const int jumps[8][2] = {{1, 2}, {2, 1}, {2, -1}, {1, -2}, {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};

static int open_cell(int y, int x) { return y >= 0 && y < BOARD && x >= 0 && x < BOARD && !tour[y][x]; }

static int knight(int y, int x, int step) {
    tour[y][x] = step;
    if (step == BOARD * BOARD) return 1;
    int exits[8];
    for (int j = 0; j < 8; j++) {
        int ny = y + jumps[j][0], nx = x + jumps[j][1];
        exits[j] = -1;
        if (!open_cell(ny, nx)) continue;
        exits[j] = 0;
        for (int k = 0; k < 8; k++) exits[j] += open_cell(ny + jumps[k][0], nx + jumps[k][1]);
    }
    for (int wanted = 0; wanted < 8; wanted++)
        for (int j = 0; j < 8; j++)
            if (exits[j] == wanted && knight(y + jumps[j][0], x + jumps[j][1], step + 1)) return 1;
    tour[y][x] = 0;
    return 0;
}

static int subsets(const int* v, int n, int target) {
    if (n == 0) return target == 0;
    return subsets(v + 1, n - 1, target) + subsets(v + 1, n - 1, target - *v);
}

static int colourings(int vertex, int colours, int* chosen) {
    /* the graph of a wheel: hub 0 and rim 1..5 */
    if (vertex == 6) return 1;
    int n = 0;
    for (int c = 0; c < colours; c++) {
        if (vertex > 0 && c == chosen[0]) continue;
        if (vertex > 1 && c == chosen[vertex - 1]) continue;
        if (vertex == 5 && c == chosen[1]) continue;
        chosen[vertex] = c;
        n += colourings(vertex + 1, colours, chosen);
    }
    return n;
}

int main(void) {
    static const char* const puzzles[] = {
        "53..7....6..195....98....6.8...6...34..8.3..17...2...6.6....28....419..5....8..79",
        "4.....8.5.3..........7......2.....6.....8.4......1.......6.3.7.5..2.....1.4......",
        "55..7....6..195....98....6.8...6...34..8.3..17...2...6.6....28....419..5....8..79"};
    for (int p = 0; p < 3; p++) {
        if (!load(puzzles[p])) {
            printf("puzzle %d contradicts itself\n", p);
            continue;
        }
        int found = solve(), kept = 1;
        for (int i = 0; i < 81; i++) kept &= puzzles[p][i] == '.' || puzzles[p][i] == grid[i / 9][i % 9];
        printf("puzzle %d: found %d, valid %d, kept %d, guesses %s\n", p, found, valid(), kept,
               guesses ? "some" : "none");
        for (int r = 0; r < 9; r += 4) printf("%s ", grid[r]);
        printf("\n");
    }
    int found = knight(0, 0, 1), linked = 1, at[BOARD * BOARD + 1][2];
    for (int i = 0; i < BOARD * BOARD; i++) {
        at[tour[i / BOARD][i % BOARD]][0] = i / BOARD;
        at[tour[i / BOARD][i % BOARD]][1] = i % BOARD;
    }
    for (int s = 1; s < BOARD * BOARD; s++) {
        int dy = at[s + 1][0] - at[s][0], dx = at[s + 1][1] - at[s][1];
        linked &= dy * dy + dx * dx == 5;
    }
    printf("knight's tour %d, linked %d\n", found, linked);
    static const int coins[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    printf("subsets %d %d %d\n", subsets(coins, 10, 10), subsets(coins, 10, 55), subsets(coins, 10, 56));
    int chosen[6];
    printf("colourings %d %d %d\n", colourings(0, 3, chosen), colourings(0, 4, chosen), colourings(0, 5, chosen));
    return 0;
}
