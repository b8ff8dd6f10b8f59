/* Dynamic programming: edit distance with traceback, longest common subsequence, knapsack, coins, matrix chain, LIS. */
#include <limits.h>
#include <stdio.h>
#include <string.h>

#define MAX 32

static int min3(int a, int b, int c) { return a < b ? (a < c ? a : c) : (b < c ? b : c); }

static int edit_distance(const char* a, const char* b, char* script) {
    static int d[MAX][MAX];
    int n = (int)strlen(a), m = (int)strlen(b), k = 0;
    for (int i = 0; i <= n; i++) d[i][0] = i;
    for (int j = 0; j <= m; j++) d[0][j] = j;
    for (int i = 1; i <= n; i++)
        for (int j = 1; j <= m; j++)
            d[i][j] = min3(d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] != b[j - 1]));
    for (int i = n, j = m; i || j;) {
        if (i && j && d[i][j] == d[i - 1][j - 1] + (a[i - 1] != b[j - 1])) {
            script[k++] = a[i - 1] == b[j - 1] ? '=' : '~';
            i--;
            j--;
        } else if (i && d[i][j] == d[i - 1][j] + 1) {
            script[k++] = '-';
            i--;
        } else {
            script[k++] = '+';
            j--;
        }
    }
    script[k] = '\0';
    for (int i = 0, j = k - 1; i < j; i++, j--) {
        char t = script[i];
        script[i] = script[j];
        script[j] = t;
    }
    return d[n][m];
}

static int common_subsequence(const char* a, const char* b, char* out) {
    static short best[MAX][MAX];
    int n = (int)strlen(a), m = (int)strlen(b);
    memset(best, 0, sizeof best);
    for (int i = n - 1; i >= 0; i--)
        for (int j = m - 1; j >= 0; j--) {
            if (a[i] == b[j])
                best[i][j] = (short)(best[i + 1][j + 1] + 1);
            else
                best[i][j] = best[i + 1][j] >= best[i][j + 1] ? best[i + 1][j] : best[i][j + 1];
        }
    int i = 0, j = 0;
    while (i < n && j < m) {
        if (a[i] == b[j]) {
            *out++ = a[i++];
            j++;
        } else if (best[i + 1][j] >= best[i][j + 1]) {
            i++;
        } else {
            j++;
        }
    }
    *out = 0;
    return best[0][0];
}

static int knapsack(const int* weight, const int* value, int n, int room) {
    int best[101] = {0};
    for (int i = 0; i < n; i++)
        for (int r = room; r >= weight[i]; r--)
            if (best[r - weight[i]] + value[i] > best[r]) best[r] = best[r - weight[i]] + value[i];
    return best[room];
}

static int knapsack_brute(const int* weight, const int* value, int n, int room) {
    int best = 0;
    for (unsigned set = 0; set < 1u << n; set++) {
        int w = 0, v = 0;
        for (int i = 0; i < n; i++)
            if (set >> i & 1u) {
                w += weight[i];
                v += value[i];
            }
        if (w <= room && v > best) best = v;
    }
    return best;
}

static long long ways_to_pay(const int* coins, int n, int amount) {
    static long long ways[1001];
    memset(ways, 0, sizeof ways);
    ways[0] = 1;
    for (int c = 0; c < n; c++)
        for (int a = coins[c]; a <= amount; a++) ways[a] += ways[a - coins[c]];
    return ways[amount];
}

static int fewest_coins(const int* coins, int n, int amount) {
    int least[201];
    least[0] = 0;
    for (int a = 1; a <= amount; a++) {
        least[a] = INT_MAX / 2;
        for (int c = 0; c < n; c++)
            if (coins[c] <= a && least[a - coins[c]] + 1 < least[a]) least[a] = least[a - coins[c]] + 1;
    }
    return least[amount];
}

static int matrix_chain(const int* size, int n) {
    static int cost[10][10];
    for (int length = 1; length < n; length++)
        for (int i = 0; i + length < n; i++) {
            int j = i + length, least = INT_MAX;
            for (int k = i; k < j; k++) {
                int c = cost[i][k] + cost[k + 1][j] + size[i] * size[k + 1] * size[j + 1];
                if (c < least) least = c;
            }
            cost[i][j] = least;
        }
    return cost[0][n - 1];
}

static int longest_rising(const int* v, int n) {
    int tail[40], length = 0;
    for (int i = 0; i < n; i++) {
        int low = 0, high = length;
        while (low < high) {
            int mid = (low + high) / 2;
            if (tail[mid] < v[i])
                low = mid + 1;
            else
                high = mid;
        }
        tail[low] = v[i];
        if (low == length) length++;
    }
    return length;
}

static int best_sum(const int* v, int n, int* from, int* to) {
    int best = v[0], here = v[0], start = 0;
    *from = *to = 0;
    for (int i = 1; i < n; i++) {
        if (here < 0) {
            here = v[i];
            start = i;
        } else {
            here += v[i];
        }
        if (here > best) {
            best = here;
            *from = start;
            *to = i;
        }
    }
    return best;
}

int main(void) {
    static const char* const pairs[][2] = {
        {"kitten", "sitting"}, {"", "abc"}, {"same", "same"}, {"intention", "execution"}};
    char out[2 * MAX];
    for (int i = 0; i < 4; i++) {
        int d = edit_distance(pairs[i][0], pairs[i][1], out);
        printf("%s > %s: %d %s\n", pairs[i][0], pairs[i][1], d, out);
    }
    int n = common_subsequence("AGCATGCCTTA", "GACTTAGCA", out);
    printf("%d %s %d\n", n, out, (int)strlen(out) == n);
    static const int weight[] = {12, 7, 11, 8, 9, 6, 5, 14}, value[] = {24, 13, 23, 15, 16, 11, 9, 28};
    for (int room = 10; room <= 50; room += 20)
        printf("%d %d, ", knapsack(weight, value, 8, room), knapsack_brute(weight, value, 8, room));
    static const int coins[] = {1, 5, 10, 25, 50, 100};
    printf("\n%lld %lld\n", ways_to_pay(coins, 6, 100), ways_to_pay(coins, 5, 1000));
    static const int odd_coins[] = {1, 7, 10};
    printf("%d %d\n", fewest_coins(odd_coins, 3, 14), fewest_coins(odd_coins, 3, 199));
    static const int sizes[] = {30, 35, 15, 5, 10, 20, 25};
    printf("%d\n", matrix_chain(sizes, 6));
    static const int sequence[] = {3, 1, 4, 1, 5, 9, 2, 6, 5, 3, 5, 8, 9, 7, 9};
    printf("%d\n", longest_rising(sequence, 15));
    static const int gains[] = {-2, 1, -3, 4, -1, 2, 1, -5, 4};
    int from, to, sum = best_sum(gains, 9, &from, &to);
    printf("%d from %d to %d\n", sum, from, to);
    return 0;
}
