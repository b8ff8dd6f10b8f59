/* Multi-dimensional arrays: 3-D and 4-D, row pointers, transposition, spiral order, magic squares, arrays of
 * arrays in calls. */
#include <stdio.h>
#include <string.h>

static int cube[3][4][5];

static int sum_plane(int plane[][5], int rows) {
    int s = 0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < 5; j++) s += plane[i][j];
    return s;
}

static int sum_flat(const int* v, int n) {
    int s = 0;
    while (n--) s += *v++;
    return s;
}

static int sum_rows(int (*row)[5], int (*end)[5]) {
    int s = 0;
    for (; row < end; ++row) s += (*row)[0] * 10 + row[0][4];
    return s;
}

static int spiral(int n, int m[][8], int* out) {
    int top = 0, bottom = n - 1, left = 0, right = n - 1, k = 0;
    while (top <= bottom && left <= right) {
        for (int j = left; j <= right; j++) out[k++] = m[top][j];
        top++;
        for (int i = top; i <= bottom; i++) out[k++] = m[i][right];
        right--;
        if (top <= bottom)
            for (int j = right; j >= left; j--) out[k++] = m[bottom][j];
        bottom--;
        if (left <= right)
            for (int i = bottom; i >= top; i--) out[k++] = m[i][left];
        left++;
    }
    return k;
}

static int magic(int n, int m[9][9]) {
    memset(m, 0, sizeof(int) * 81);
    int i = 0, j = n / 2;
    for (int v = 1; v <= n * n; v++) {
        m[i][j] = v;
        int ni = (i + n - 1) % n, nj = (j + 1) % n;
        if (m[ni][nj]) {
            ni = (i + 1) % n;
            nj = j;
        }
        i = ni;
        j = nj;
    }
    int want = n * (n * n + 1) / 2, d1 = 0, d2 = 0;
    for (i = 0; i < n; i++) {
        int row = 0, column = 0;
        for (j = 0; j < n; j++) {
            row += m[i][j];
            column += m[j][i];
        }
        if (row != want || column != want) return 0;
        d1 += m[i][i];
        d2 += m[i][n - 1 - i];
    }
    return d1 == want && d2 == want ? want : 0;
}

static void rotate_quarter(int n, int m[][8]) {
    for (int layer = 0; layer < n / 2; layer++) {
        int last = n - 1 - layer;
        for (int i = layer; i < last; i++) {
            int offset = i - layer, top = m[layer][i];
            m[layer][i] = m[last - offset][layer];
            m[last - offset][layer] = m[last][last - offset];
            m[last][last - offset] = m[i][last];
            m[i][last] = top;
        }
    }
}

static short counts[2][3][2][3];

static void tally(int a, int b) {
    for (int i = 0; i < 2; i++)
        for (int j = 0; j < 3; j++)
            for (int k = 0; k < 2; k++)
                for (int l = 0; l < 3; l++)
                    counts[i][j][k][l] = (short)(counts[i][j][k][l] + (i + a) * (j + b) - k * l);
}

static const char* board[3] = {"XO.", ".X.", "O.X"};

static char winner(const char* const* b) {
    static const int lines[8][3][2] = {{{0, 0}, {0, 1}, {0, 2}}, {{1, 0}, {1, 1}, {1, 2}}, {{2, 0}, {2, 1}, {2, 2}},
                                       {{0, 0}, {1, 0}, {2, 0}}, {{0, 1}, {1, 1}, {2, 1}}, {{0, 2}, {1, 2}, {2, 2}},
                                       {{0, 0}, {1, 1}, {2, 2}}, {{0, 2}, {1, 1}, {2, 0}}};
    for (int l = 0; l < 8; l++) {
        char c = b[lines[l][0][0]][lines[l][0][1]];
        if (c != '.' && c == b[lines[l][1][0]][lines[l][1][1]] && c == b[lines[l][2][0]][lines[l][2][1]]) return c;
    }
    return '-';
}

int main(void) {
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 4; j++)
            for (int k = 0; k < 5; k++) cube[i][j][k] = i * 100 + j * 10 + k;
    printf("%d %d %d\n", cube[2][3][4], *(*(*(cube + 1) + 2) + 3), (*cube)[1][1]);
    printf("%d %d %d\n", sum_plane(cube[1], 4), sum_flat(cube[2][1], 5), sum_rows(cube[1], cube[1] + 4));
    printf("%d %d\n", (int)(&cube[2][0][0] - &cube[0][0][0]), (int)(&cube[1][3] - &cube[1][0]));
    int m[8][8], out[64];
    for (int i = 0; i < 64; i++) m[i / 8][i % 8] = i;
    for (int n = 1; n <= 4; n++) {
        int k = spiral(n, m, out);
        for (int i = 0; i < k; i++) printf("%d ", out[i]);
        printf("\n");
    }
    rotate_quarter(5, m);
    for (int i = 0; i < 5; i++) printf("%d %d %d %d %d | ", m[i][0], m[i][1], m[i][2], m[i][3], m[i][4]);
    for (int i = 0; i < 3; i++) rotate_quarter(5, m);
    int same = 1;
    for (int i = 0; i < 64; i++) same &= m[i / 8][i % 8] == i;
    printf("whole turn %d\n", same);
    int square[9][9];
    for (int n = 3; n <= 9; n += 2) printf("magic %d: %d\n", n, magic(n, square));
    tally(1, 2);
    tally(-1, 3);
    int total = 0;
    for (int i = 0; i < 36; i++) total += (i + 1) * counts[i / 18][i / 6 % 3][i / 3 % 2][i % 3];
    printf("%d %d\n", counts[1][2][1][2], total);
    printf("%c %c\n", winner(board), winner((const char* const[]){"OX.", "XX.", "OXO"}));
    return 0;
}
