/* Tail recursion, with accumulators, with swapped arguments, through && and ?:, mutual recursion, deep but flat
 * calls. */
#include <stdio.h>

static int sum_to(int n, int acc) {
    if (n == 0) return acc;
    return sum_to(n - 1, acc + n);
}

static unsigned power_mod(unsigned base, unsigned e, unsigned m, unsigned acc) {
    if (e == 0) return acc;
    if (e & 1u) return power_mod(base, e - 1, m, acc * base % m);
    return power_mod(base * base % m, e / 2, m, acc);
}

static int gcd(int a, int b) {
    if (a == b) return a;
    if (a < b) return gcd(b, a);
    return gcd(a - b, b);
}

static int is_even(int n);
static int is_odd(int n) { return n == 0 ? 0 : is_even(n - 1); }
static int is_even(int n) { return n == 0 ? 1 : is_odd(n - 1); }

static long long fib(int n, long long a, long long b) { return n == 0 ? a : fib(n - 1, b, a + b); }

static const char* skip_blanks(const char* s) { return *s == ' ' ? skip_blanks(s + 1) : s; }

static int all_digits(const char* s) { return *s == '\0' || (*s >= '0' && *s <= '9' && all_digits(s + 1)); }

static int any_upper(const char* s) { return *s && ((*s >= 'A' && *s <= 'Z') || any_upper(s + 1)); }

static void fill(int* v, int n, int x) {
    if (n <= 0) return;
    *v = x;
    fill(v + 1, n - 1, x * 3 % 101);
}

static int search(const int* v, int low, int high, int key) {
    if (low > high) return -1 - low;
    int mid = (low + high) / 2;
    if (v[mid] == key) return mid;
    return v[mid] < key ? search(v, mid + 1, high, key) : search(v, low, mid - 1, key);
}

static int collatz(unsigned n, int steps) {
    switch (n % 2) {
    case 0: return collatz(n / 2, steps + 1);
    default:
        if (n == 1) return steps;
        return collatz(3 * n + 1, steps + 1);
    }
}

static int rotate(int a, int b, int c, int n) {
    /* every argument is used after its slot is needed by another */
    if (n == 0) return a * 100 + b * 10 + c;
    return rotate(b, c, a, n - 1);
}

struct state {
    int value, phase;
};

static struct state run(struct state s, int n) {
    if (n == 0) return s;
    s.value = s.value * 3 % 1009 + s.phase;
    s.phase = !s.phase;
    return run(s, n - 1);
}

static int address_taken(int n, int* previous) {
    int mine = n;
    if (n == 0) return previous ? *previous : -1;
    return address_taken(n - 1, &mine) + (previous ? *previous : 0);
}

/* ping-pong of three functions on a text: a(b*c)+ */
static int expect_b(const char* s, int n);
static int expect_c(const char* s, int n);
static int expect_a(const char* s) { return *s == 'a' ? expect_b(s + 1, 0) : -1; }
static int expect_b(const char* s, int n) { return *s == 'b' ? expect_b(s + 1, n + 1) : expect_c(s, n); }
static int expect_c(const char* s, int n) {
    if (*s != 'c') return -1;
    if (s[1] == '\0') return n;
    return expect_b(s + 1, n);
}

int main(void) {
    printf("%d %d\n", sum_to(100, 0), sum_to(3000, 0));
    printf("%u %u\n", power_mod(7, 560, 561, 1), power_mod(3, 65535, 65521, 1));
    printf("%d %d %d\n", gcd(48, 36), gcd(7, 100), gcd(1000, 999));
    printf("%d %d %d\n", is_even(1000), is_odd(1000), is_odd(777));
    printf("%lld\n", fib(90, 0, 1));
    printf("[%s] [%s]\n", skip_blanks("    left"), skip_blanks(""));
    printf("%d %d %d\n", all_digits("0123456789"), all_digits("12a4"), all_digits(""));
    printf("%d %d %d\n", any_upper("abcDe"), any_upper("abc"), any_upper(""));
    int v[50];
    fill(v, 50, 2);
    printf("%d %d %d\n", v[0], v[1], v[49]);
    for (int i = 0; i < 50; i++) v[i] = i * 3;
    printf("%d %d %d %d\n", search(v, 0, 49, 42), search(v, 0, 49, 43), search(v, 0, 49, -5), search(v, 0, 49, 147));
    printf("%d %d\n", collatz(27, 0), collatz(97, 0));
    for (int i = 0; i < 4; i++) printf("%d ", rotate(1, 2, 3, i));
    struct state s = run((struct state){1, 0}, 500);
    printf("\n%d %d\n", s.value, s.phase);
    printf("%d\n", address_taken(10, 0));
    printf("%d %d %d %d\n", expect_a("abbcbc"), expect_a("ac"), expect_a("abb"), expect_a("xbc"));
    return 0;
}
