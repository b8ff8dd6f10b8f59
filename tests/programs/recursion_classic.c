/* Classic recursion: hanoi, ackermann, permutations, combinations, queens, gray codes, partitions, with
 * iteration checks. */
#include <stdio.h>
#include <string.h>

static int pegs[3][10], height[3], moves, illegal;

static void move_disc(int from, int to) {
    int disc = pegs[from][--height[from]];
    if (height[to] && pegs[to][height[to] - 1] < disc) illegal++;
    pegs[to][height[to]++] = disc;
    moves++;
}

static void hanoi(int n, int from, int to, int via) {
    if (n == 0) return;
    hanoi(n - 1, from, via, to);
    move_disc(from, to);
    hanoi(n - 1, via, to, from);
}

static int ackermann(int m, int n) {
    if (m == 0) return n + 1;
    if (n == 0) return ackermann(m - 1, 1);
    return ackermann(m - 1, ackermann(m, n - 1));
}

static int permutation_count, permutation_check;

static void permute(char* s, int k, int n) {
    if (k == n) {
        permutation_count++;
        permutation_check = (permutation_check * 7 + (s[0] - 'a') * 5 + (s[n - 1] - 'a')) % 10007;
        if (n == 3) printf("%s ", s);
        return;
    }
    for (int i = k; i < n; i++) {
        char t = s[k];
        s[k] = s[i];
        s[i] = t;
        permute(s, k + 1, n);
        s[i] = s[k];
        s[k] = t;
    }
}

static int choose(int n, int k) { return k == 0 || k == n ? 1 : choose(n - 1, k - 1) + choose(n - 1, k); }

static int queens(int n, unsigned columns, unsigned left, unsigned right) {
    unsigned all = (1u << n) - 1u;
    if (columns == all) return 1;
    int found = 0;
    for (unsigned open = all & ~(columns | left | right); open;) {
        unsigned place = open & (0u - open);
        open -= place;
        found += queens(n, columns | place, (left | place) << 1, (right | place) >> 1);
    }
    return found;
}

static int partitions(int n, int largest) {
    if (n == 0) return 1;
    int sum = 0;
    for (int part = largest < n ? largest : n; part > 0; part--) sum += partitions(n - part, part);
    return sum;
}

static int gray_list(int bits, int* out) {
    if (bits == 0) {
        out[0] = 0;
        return 1;
    }
    int n = gray_list(bits - 1, out);
    for (int i = 0; i < n; i++) out[n + i] = out[n - 1 - i] | 1 << (bits - 1);
    return 2 * n;
}

static int gcd(int a, int b) { return b ? gcd(b, a % b) : a; }

static void print_base(unsigned v, unsigned base) {
    if (v >= base) print_base(v / base, base);
    putchar("0123456789abcdef"[v % base]);
}

static int fib_calls;
static int fib(int n) {
    fib_calls++;
    return n < 2 ? n : fib(n - 1) + fib(n - 2);
}

static int mc91(int n) { return n > 100 ? n - 10 : mc91(mc91(n + 11)); }

int main(void) {
    for (int d = 8; d > 0; d--) pegs[0][height[0]++] = d;
    hanoi(8, 0, 2, 1);
    printf("hanoi: %d moves, %d illegal, top %d of %d\n", moves, illegal, pegs[2][height[2] - 1], height[2]);
    printf("ackermann: %d %d %d\n", ackermann(1, 5), ackermann(2, 4), ackermann(3, 3));
    char letters[] = "abcdef";
    permute(letters, 0, 6);
    printf("permutations: %d, check %d, restored %d\n", permutation_count, permutation_check,
           strcmp(letters, "abcdef") == 0);
    char three[] = "xyz";
    permute(three, 0, 3);
    printf("\nchoose:");
    int row = 0;
    for (int k = 0; k <= 10; k++) {
        printf(" %d", choose(10, k));
        row += choose(10, k);
    }
    printf(" sum %d\nqueens:", row);
    for (int n = 1; n <= 8; n++) printf(" %d", queens(n, 0, 0, 0));
    printf("\npartitions:");
    for (int n = 1; n <= 15; n++) printf(" %d", partitions(n, n));
    int codes[32], steps = 0, n = gray_list(5, codes);
    for (int i = 0; i < n; i++) {
        int change = codes[i] ^ codes[(i + 1) % n];
        steps += change != 0 && (change & (change - 1)) == 0;
    }
    printf("\ngray: %d codes, %d single steps, last %d\n", n, steps, codes[n - 1]);
    printf("gcd %d %d %d\n", gcd(1071, 462), gcd(17, 5), gcd(0, 9));
    print_base(255, 2);
    putchar(' ');
    print_base(48879, 16);
    putchar(' ');
    print_base(1000000, 10);
    int f = fib(18);
    printf("\nfib %d in %d calls\n", f, fib_calls);
    printf("mc91 %d %d %d\n", mc91(1), mc91(99), mc91(200));
    return 0;
}
