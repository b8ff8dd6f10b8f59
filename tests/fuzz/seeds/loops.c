static int grid[4][5];
int main(void) {
    int sum = 0;
    for (int i = 0; i < 4; i++)
        for (int j = 0; j < 5; j++) {
            if (i == j) continue;
            grid[i][j] = i - j;
        }
    int i = 4;
    while (i-- > 0) {
        int j = 0;
        do sum += grid[i][j] & 3;
        while (++j < 5);
        if (sum > 40) goto out;
    }
out:
    return sum;
}
