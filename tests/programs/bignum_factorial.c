/* Big numbers in base 10000: factorials, powers of two, digit sums, division by a small number; check by casting
 * out. */
#include <stdio.h>
#include <string.h>

#define LIMBS 64
#define BASE 10000

typedef struct {
    int limb[LIMBS];
    int used;
} BIG;

static BIG from_int(int v) {
    BIG b;
    memset(&b, 0, sizeof b);
    do {
        b.limb[b.used++] = v % BASE;
        v /= BASE;
    } while (v);
    return b;
}

static void multiply_small(BIG* b, int m) {
    int carry = 0;
    for (int i = 0; i < b->used; i++) {
        int t = b->limb[i] * m + carry;
        b->limb[i] = t % BASE;
        carry = t / BASE;
    }
    while (carry) {
        b->limb[b->used++] = carry % BASE;
        carry /= BASE;
    }
}

static int divide_small(BIG* b, int d) {
    int rest = 0;
    for (int i = b->used - 1; i >= 0; i--) {
        int t = rest * BASE + b->limb[i];
        b->limb[i] = t / d;
        rest = t % d;
    }
    while (b->used > 1 && b->limb[b->used - 1] == 0) b->used--;
    return rest;
}

static BIG add(const BIG* a, const BIG* b) {
    BIG r = from_int(0);
    int carry = 0, n = a->used > b->used ? a->used : b->used;
    for (int i = 0; i < n; i++) {
        carry += a->limb[i] + b->limb[i];
        r.limb[i] = carry >= BASE ? carry - BASE : carry;
        carry = carry >= BASE;
    }
    r.used = n;
    if (carry) r.limb[r.used++] = 1;
    return r;
}

static void to_text(const BIG* b, char* out) {
    out += sprintf(out, "%d", b->limb[b->used - 1]);
    for (int i = b->used - 2; i >= 0; i--) out += sprintf(out, "%04d", b->limb[i]);
}

static int digit_sum(const char* s) {
    int sum = 0;
    while (*s) sum += *s++ - '0';
    return sum;
}

static int remainder_of(const BIG* b, int m) {
    int r = 0;
    for (int i = b->used - 1; i >= 0; i--) r = (r * BASE + b->limb[i]) % m;
    return r;
}

int main(void) {
    char text[LIMBS * 4 + 8];
    BIG f = from_int(1);
    for (int n = 1; n <= 100; n++) {
        multiply_small(&f, n);
        if (n == 10 || n == 25 || n == 50 || n == 100) {
            to_text(&f, text);
            int zeros = 0;
            for (int i = (int)strlen(text); text[i - 1] == '0'; i--) zeros++;
            /* the trailing zeros of n! are the fives in it */
            printf("%d! = %s\n  %d digits, sum %d, zeros %d, expected %d\n", n, text, (int)strlen(text),
                   digit_sum(text), zeros, n / 5 + n / 25);
        }
    }
    int rest = 0;
    for (int n = 100; n > 1; n--) rest += divide_small(&f, n);
    to_text(&f, text);
    printf("divided back: %s, rests %d\n", text, rest);

    BIG p = from_int(1);
    for (int i = 0; i < 200; i++) p = add(&p, &p);
    to_text(&p, text);
    printf("2^200 = %s (mod 9973 %d)\n", text, remainder_of(&p, 9973));
    int r = 1;
    for (int i = 0; i < 200; i++) r = r * 2 % 9973;
    printf("check %d\n", r);

    BIG a = from_int(0), b = from_int(1);
    for (int i = 0; i < 300; i++) {
        BIG t = add(&a, &b);
        a = b;
        b = t;
    }
    to_text(&a, text);
    printf("fib(300) = %s\n", text);
    return 0;
}
