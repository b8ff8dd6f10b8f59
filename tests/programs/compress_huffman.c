/* Huffman coding: frequency count, tree by repeated minimum, canonical codes, bit stream in 16-bit words, decoding. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#define SYMBOLS 128

struct node {
    int weight, symbol;
    short left, right;
};

static struct node nodes[2 * SYMBOLS];
static int node_count;
static int lengths[SYMBOLS];
static uint32_t codes[SYMBOLS];

struct bits {
    uint16_t word[600];
    int n;
};

static void put_bits(struct bits* b, uint32_t code, int length) {
    while (length-- > 0) {
        if (code >> length & 1u) b->word[b->n >> 4] |= (uint16_t)(1u << (b->n & 15));
        b->n++;
    }
}

static int get_bit(const struct bits* b, int* at) {
    int bit = b->word[*at >> 4] >> (*at & 15) & 1;
    ++*at;
    return bit;
}

static void assign_lengths(int n, int depth) {
    if (nodes[n].symbol >= 0) {
        lengths[nodes[n].symbol] = depth ? depth : 1;
        return;
    }
    assign_lengths(nodes[n].left, depth + 1);
    assign_lengths(nodes[n].right, depth + 1);
}

static int take_lightest(int* live, int* count) {
    int best = 0;
    for (int i = 1; i < *count; i++) {
        const struct node *a = &nodes[live[i]], *b = &nodes[live[best]];
        if (a->weight < b->weight || (a->weight == b->weight && live[i] < live[best])) best = i;
    }
    int n = live[best];
    live[best] = live[--*count];
    return n;
}

static int build(const char* text, int n) {
    int frequency[SYMBOLS] = {0}, live[SYMBOLS], count = 0;
    memset(lengths, 0, sizeof lengths);
    node_count = 0;
    for (int i = 0; i < n; i++) frequency[(int)text[i]]++;
    for (int s = 0; s < SYMBOLS; s++) {
        if (!frequency[s]) continue;
        nodes[node_count] = (struct node){frequency[s], s, -1, -1};
        live[count++] = node_count++;
    }
    int different = count;
    while (count > 1) {
        int a = take_lightest(live, &count), b = take_lightest(live, &count);
        nodes[node_count] = (struct node){nodes[a].weight + nodes[b].weight, -1, (short)a, (short)b};
        live[count++] = node_count++;
    }
    if (count) assign_lengths(live[0], 0);
    return different;
}

static void canonical(void) {
    uint32_t code = 0;
    for (int length = 1; length < 32; length++) {
        for (int s = 0; s < SYMBOLS; s++)
            if (lengths[s] == length) codes[s] = code++;
        code <<= 1;
    }
}

static int decode_symbol(const struct bits* b, int* at) {
    uint32_t code = 0;
    for (int length = 1; length < 32; length++) {
        code = code << 1 | (uint32_t)get_bit(b, at);
        for (int s = 0; s < SYMBOLS; s++)
            if (lengths[s] == length && codes[s] == code) return s;
    }
    return -1;
}

static void run(const char* name, const char* text) {
    static struct bits stream;
    int n = (int)strlen(text);
    int different = build(text, n);
    canonical();
    memset(&stream, 0, sizeof stream);
    for (int i = 0; i < n; i++) put_bits(&stream, codes[(int)text[i]], lengths[(int)text[i]]);
    int at = 0, wrong = 0, inner = 0;
    for (int i = 0; i < n; i++) wrong += decode_symbol(&stream, &at) != text[i];
    /* the weight of the inner nodes is the length of the coded text */
    for (int i = 0; i < node_count; i++)
        if (nodes[i].symbol < 0) inner += nodes[i].weight;
    int64_t kraft = 0;
    for (int s = 0; s < SYMBOLS; s++)
        if (lengths[s]) kraft += 1ll << (30 - lengths[s]);
    printf("%s: %d letters, %d different, %d bits, inner %d, wrong %d, kraft %lld/%lld\n", name, n, different, stream.n,
           inner, wrong, (long long)kraft, 1ll << 30);
}

int main(void) {
    run("mississippi", "mississippi");
    for (const char* s = "imps"; *s; s++) printf("%c %d %x, ", *s, lengths[(int)*s], (unsigned)codes[(int)*s]);
    printf("\n");
    run("single", "aaaaaaa");
    run("two", "abababbb");
    run("empty", "");
    run("fibonacci", "abbcccdddddeeeeeeeefffffffffffff");
    run("pangram", "the quick brown fox jumps over the lazy dog and runs away from the bear in the wood");
    run("sentence", "It was the best of times, it was the worst of times, it was the age of wisdom, it was the age of "
                    "foolishness, it was the epoch of belief, it was the epoch of incredulity");
    return 0;
}
