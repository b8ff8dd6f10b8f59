/* Counting sort, LSD radix sort with 4- and 8-bit digits, MSD bucket sort of strings: histograms and prefix sums. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#define COUNT 300

static uint32_t state = 2463534242u;

static uint32_t xorshift(void) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    return state;
}

static void counting_sort(const uint16_t* in, uint16_t* out, int n, int limit) {
    int count[256] = {0};
    for (int i = 0; i < n; i++) count[in[i]]++;
    for (int v = 0, k = 0; v < limit; v++)
        while (count[v]-- > 0) out[k++] = (uint16_t)v;
}

static void radix_sort(uint32_t* v, uint32_t* spare, int n, int digit_bits) {
    uint32_t mask = (1u << digit_bits) - 1u;
    for (int shift = 0; shift < 32; shift += digit_bits) {
        int start[257] = {0};
        for (int i = 0; i < n; i++) start[((v[i] >> shift) & mask) + 1]++;
        for (uint32_t d = 1; d <= mask; d++) start[d] += start[d - 1];
        for (int i = 0; i < n; i++) spare[start[(v[i] >> shift) & mask]++] = v[i];
        uint32_t* t = v;
        v = spare;
        spare = t;
    }
}

/* Signed order from unsigned keys: flip the sign bit before and after. */
static void radix_sort_signed(int32_t* v, int n) {
    static uint32_t keys[COUNT], spare[COUNT];
    for (int i = 0; i < n; i++) keys[i] = (uint32_t)v[i] ^ 0x80000000u;
    radix_sort(keys, spare, n, 8);
    for (int i = 0; i < n; i++) {
        uint32_t k = keys[i] ^ 0x80000000u;
        v[i] = k < 0x80000000u ? (int32_t)k : -(int32_t)(0xffffffffu - k) - 1;
    }
}

static void msd_sort(const char** v, int n, int position) {
    if (n < 2) return;
    const char* buckets[27][12];
    int fill[27] = {0};
    for (int i = 0; i < n; i++) {
        char c = v[i][position];
        int b = c == 0 ? 0 : c - 'a' + 1;
        buckets[b][fill[b]++] = v[i];
    }
    int k = 0;
    for (int b = 0; b < 27; b++) {
        int first = k;
        for (int i = 0; i < fill[b]; i++) v[k++] = buckets[b][i];
        if (b > 0) msd_sort(v + first, k - first, position + 1);
    }
}

int main(void) {
    static uint16_t small[COUNT], sorted_small[COUNT];
    static uint32_t a[COUNT], b[COUNT], spare[COUNT];
    static int32_t s[COUNT];
    uint32_t xor_before = 0, xor_after = 0;
    for (int i = 0; i < COUNT; i++) {
        a[i] = b[i] = xorshift();
        xor_before ^= a[i];
        small[i] = (uint16_t)(a[i] % 250u);
        s[i] = (int32_t)(a[i] >> 4) - 0x8000000;
    }
    counting_sort(small, sorted_small, COUNT, 250);
    radix_sort(a, spare, COUNT, 4);
    radix_sort(b, spare, COUNT, 8);
    radix_sort_signed(s, COUNT);
    int ok_small = 1, ok_a = 1, ok_s = 1;
    for (int i = 1; i < COUNT; i++) {
        ok_small &= sorted_small[i - 1] <= sorted_small[i];
        ok_a &= a[i - 1] <= a[i];
        ok_s &= s[i - 1] <= s[i];
    }
    for (int i = 0; i < COUNT; i++) xor_after ^= a[i];
    printf("counting %d radix %d signed %d\n", ok_small, ok_a, ok_s);
    printf("4 and 8 bit digits agree %d, xor kept %d\n", memcmp(a, b, sizeof a) == 0, xor_before == xor_after);
    printf("negative before positive: %d %d\n", s[0]<0, s[COUNT - 1]> 0);

    const char* words[] = {"pear", "peach", "fig", "apple", "banana", "pe", "figs", "apricot", "peas", "cherry"};
    msd_sort(words, 10, 0);
    for (int i = 0; i < 10; i++) {
        printf("%s%s", words[i], i < 9 ? " " : "\n");
        if (i > 0 && strcmp(words[i - 1], words[i]) > 0) printf("wrong order\n");
    }
    return 0;
}
