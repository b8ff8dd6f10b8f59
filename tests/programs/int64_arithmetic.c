/* 64-bit arithmetic against its own 32-bit pieces: add, subtract, multiply, compare, shift, negate, divide;
 * known values. */
#include <stdint.h>
#include <stdio.h>

typedef unsigned long long u64;
typedef long long s64;

struct pair {
    uint32_t low, high;
};

static struct pair split(u64 v) {
    struct pair p = {(uint32_t)v, (uint32_t)(v >> 32)};
    return p;
}
static u64 join(struct pair p) { return (u64)p.high << 32 | p.low; }

static struct pair add(struct pair a, struct pair b) {
    struct pair r;
    r.low = a.low + b.low;
    r.high = a.high + b.high + (r.low < a.low);
    return r;
}

static struct pair negate(struct pair a) {
    struct pair one = {1, 0};
    a.low = ~a.low;
    a.high = ~a.high;
    return add(a, one);
}

static struct pair multiply(struct pair a, struct pair b) {
    uint32_t al = a.low & 0xffffu, ah = a.low >> 16, bl = b.low & 0xffffu, bh = b.low >> 16;
    uint32_t ll = al * bl, lh = al * bh, hl = ah * bl, hh = ah * bh;
    uint32_t middle = (ll >> 16) + (lh & 0xffffu) + (hl & 0xffffu);
    struct pair r;
    r.low = (ll & 0xffffu) | middle << 16;
    r.high = hh + (lh >> 16) + (hl >> 16) + (middle >> 16) + a.low * b.high + a.high * b.low;
    return r;
}

static int less(struct pair a, struct pair b) { return a.high != b.high ? a.high < b.high : a.low < b.low; }

static struct pair shift_left(struct pair a, int n) {
    struct pair r = a;
    if (n >= 32) {
        r.high = a.low << (n - 32);
        r.low = 0;
    } else if (n > 0) {
        r.high = a.high << n | a.low >> (32 - n);
        r.low = a.low << n;
    }
    return r;
}

static u64 divide_by_bits(u64 a, u64 b, u64* rest) {
    u64 q = 0, r = 0;
    for (int i = 63; i >= 0; i--) {
        int carry = (int)(r >> 63);
        r = r << 1 | (a >> i & 1);
        if (carry || r >= b) {
            r -= b;
            q |= 1ull << i;
        }
    }
    *rest = r;
    return q;
}

static u64 state = 0x0123456789abcdefull;
static u64 next_random(void) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    u64 v = state >> (state >> 61);
    switch (state >> 40 & 7u) {
    case 0: return v >> 32;
    case 1: return ~(v >> 20);
    case 2: return v & 0xffff0000ffff0000ull;
    default: return v;
    }
}

int main(void) {
    int wrong[8] = {0};
    for (int i = 0; i < 1500; i++) {
        u64 a = next_random(), b = next_random(), r;
        int n = (int)(next_random() & 63u);
        wrong[0] += join(add(split(a), split(b))) != a + b;
        wrong[1] += join(multiply(split(a), split(b))) != a * b;
        wrong[2] += join(negate(split(a))) != 0u - a;
        wrong[3] += less(split(a), split(b)) != (a < b);
        wrong[4] += join(shift_left(split(a), n)) != a << n;
        if (b) {
            u64 q = divide_by_bits(a, b, &r);
            wrong[5] += q != a / b || r != a % b;
        }
        s64 sa = (s64)(a >> 1), sb = (s64)(b >> 2) | 1;
        if (i & 1) sa = -sa;
        if (i & 2) sb = -sb;
        wrong[6] += sa / sb * sb + sa % sb != sa;
        wrong[6] += sa % sb != 0 && (sa % sb < 0) != (sa < 0);
        wrong[7] += (sa < sb) != !(sa >= sb) || (sa > sb) != (sb < sa) || (sa == sb) != (sa - sb == 0);
    }
    for (int i = 0; i < 8; i++) printf("%d ", wrong[i]);
    printf("\n");
    s64 least = -9223372036854775807ll - 1, most = 9223372036854775807ll;
    printf("%lld %lld %llu\n", least, most, ~0ull);
    printf("%lld %lld %lld %lld\n", -7ll / 2, -7ll % 2, 7ll / -2, 7ll % -2);
    printf("%lld %lld\n", least / 10, least % 10);
    printf("%lld %llx\n", least >> 63, (u64)least >> 63);
    printf("%lld %lld %lld\n", most >> 31, least >> 40, -1ll >> 5);
    printf("%d %d %d\n", (int)(least < most), (int)((u64)least < (u64)most), (int)(0xffffffffu == -1ll));
    s64 big = 1;
    for (int i = 1; i <= 20; i++) big *= i;
    printf("20! = %lld = %llx\n", big, (u64)big);
    uint32_t narrow = (uint32_t)big;
    int16_t low = (int16_t)(big >> 16 & 0x7fff);
    printf("%u %d %lld\n", (unsigned)narrow, low, (s64)(int32_t)(narrow & 0x7fffffffu));
    u64 x = 0xff;
    x <<= 60;
    x |= 1;
    x ^= 0x5555555555555555ull;
    x &= ~0xf00ull;
    x += 0x100000000ull;
    x -= 3;
    x /= 7;
    x %= 1000000000039ull;
    printf("%llu\n", x);
    int sign = -1;
    printf("%llx %llx\n", (u64)(s64)sign, (u64)(uint32_t)sign);
    s64 k = 5, old = k++ + 10;
    k += old--;
    printf("%lld %lld", k, old);
    printf(" %lld\n", --k * 2);
    return 0;
}
