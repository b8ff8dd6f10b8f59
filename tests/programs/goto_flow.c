/* goto: retry loops, cleanup chains, jumps out of nested loops, into blocks, backward, irreducible flow, labels
 * in a switch. */
#include <stdio.h>
#include <stdlib.h>

static int opened, closed;

static int* open_part(int n, int fail_at) {
    if (n == fail_at) return NULL;
    opened++;
    int* p = malloc(sizeof *p);
    *p = n * 10;
    return p;
}

static void close_part(int* p) {
    closed++;
    free(p);
}

static int with_cleanup(int fail_at) {
    int result = -fail_at;
    int *a, *b, *c;
    if ((a = open_part(1, fail_at)) == NULL) goto none;
    if ((b = open_part(2, fail_at)) == NULL) goto first;
    if ((c = open_part(3, fail_at)) == NULL) goto second;
    result = *a + *b + *c;
    close_part(c);
second:
    close_part(b);
first:
    close_part(a);
none:
    return result;
}

static int find_pair(int sum, int* x, int* y) {
    int tries = 0;
    for (int i = 1; i < 30; i++) {
        for (int j = i; j < 30; j++) {
            tries++;
            if (i * i + j * j == sum) {
                *x = i;
                *y = j;
                goto found;
            }
        }
    }
    return -tries;
found:
    return tries;
}

static int loop_by_goto(int n) {
    int i = 0, s = 0;
top:
    if (i >= n) goto out;
    s += i;
    i++;
    if (s % 7 == 3) goto top;
    s ^= 1;
    goto top;
out:
    return s;
}

/* two entries into one cycle */
static int irreducible(int start, int n) {
    int trace = 0;
    if (start) goto middle;
head:
    trace = trace * 3 + 1;
    if (--n <= 0) goto done;
middle:
    trace = trace * 3 + 2;
    if (trace > 100000) trace %= 1000;
    if (--n > 0) goto head;
done:
    return trace;
}

static int into_block(int skip) {
    int v = 1;
    if (skip) goto inside;
    v = 10;
    {
        int k;
        v += 100;
    inside:
        k = v * 2;
        v = k + 1;
    }
    return v;
}

static int machine(const char* s) {
    int n = 0;
start:
    switch (*s++) {
    case 'a': goto a;
    case 'b': goto b;
    case '\0': return n;
    default: goto start;
    }
a:
    n += 1;
    if (*s == 'a') {
        s++;
        goto a;
    }
    goto start;
b:
    n += 100;
    if (n > 100000) return -1;
    goto start;
}

static int retry(int wanted) {
    int attempts = 0, seed = 11;
again:
    attempts++;
    seed = seed * 31 % 97;
    if (seed % 10 != wanted && attempts < 50) goto again;
    return attempts;
}

static int early_exit(int n) {
    int depth = 0;
    while (1) {
        do {
            for (;;) {
                if (n-- == 0) goto finish;
                if (n % 3 == 0) break;
                depth += 1;
                if (n % 5 == 0) goto next;
            }
            depth += 10;
        } while (n % 2);
    next:
        depth += 100;
    }
finish:
    return depth;
}

int main(void) {
    for (int f = 0; f <= 3; f++) {
        opened = closed = 0;
        int r = with_cleanup(f);
        printf("fail at %d: %d, opened %d, closed %d\n", f, r, opened, closed);
    }
    int x = 0, y = 0, t = find_pair(100, &x, &y);
    printf("%d: %d %d\n", t, x, y);
    printf("%d\n", find_pair(3, &x, &y));
    for (int i = 0; i < 12; i += 3) printf("%d ", loop_by_goto(i));
    printf("\n");
    for (int i = 0; i < 6; i++) printf("%d/%d ", irreducible(0, i), irreducible(1, i));
    printf("\n%d %d\n", into_block(0), into_block(1));
    printf("%d %d %d\n", machine("aabxab"), machine(""), machine("bbbbaaaa"));
    printf("%d %d %d\n", retry(3), retry(9), retry(4));
    printf("%d %d %d\n", early_exit(0), early_exit(7), early_exit(30));
    goto end;
end:
    return 0;
}
