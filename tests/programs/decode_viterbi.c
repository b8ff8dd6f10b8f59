/* Convolutional code of rate 1/2 with a Viterbi decoder: state metrics, survivors as bit masks, errors repaired. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#define STATES 4
#define LENGTH 60
#define FAR 30000

static int parity(unsigned v) {
    v ^= v >> 2;
    v ^= v >> 1;
    return (int)(v & 1u);
}

/* generators 7 and 5 (octal) over three bits */
static unsigned output(unsigned state, unsigned bit) {
    unsigned window = bit << 2 | state;
    return (unsigned)(parity(window & 7u) << 1 | parity(window & 5u));
}

static unsigned next_state(unsigned state, unsigned bit) { return (bit << 1 | state >> 1) & 3u; }

static int encode(const uint16_t* bits, int n, uint16_t* symbols) {
    unsigned state = 0;
    for (int i = 0; i < n + 2; i++) {
        unsigned bit = i < n ? bits[i] : 0;
        symbols[i] = (uint16_t)output(state, bit);
        state = next_state(state, bit);
    }
    return n + 2;
}

static int distance(unsigned a, unsigned b) {
    static const short weight[4] = {0, 1, 1, 2};
    return weight[(a ^ b) & 3u];
}

static int decode(const uint16_t* symbols, int n, uint16_t* bits) {
    short metric[STATES] = {0, FAR, FAR, FAR}, fresh[STATES];
    static uint16_t from[LENGTH + 2][STATES];
    for (int t = 0; t < n; t++) {
        for (int s = 0; s < STATES; s++) fresh[s] = FAR;
        for (unsigned s = 0; s < STATES; s++) {
            if (metric[s] >= FAR) continue;
            for (unsigned bit = 0; bit < 2; bit++) {
                unsigned to = next_state(s, bit);
                short m = (short)(metric[s] + distance(output(s, bit), symbols[t]));
                if (m < fresh[to]) {
                    fresh[to] = m;
                    from[t][to] = (uint16_t)(s << 1 | bit);
                }
            }
        }
        memcpy(metric, fresh, sizeof metric);
    }
    unsigned state = 0;
    for (int t = n - 1; t >= 0; t--) {
        if (t < n - 2) bits[t] = from[t][state] & 1;
        state = from[t][state] >> 1;
    }
    return metric[0];
}

static int free_distance(void) {
    /* the lightest way from state 0 out and back, by relaxation */
    int best[STATES] = {FAR, FAR, FAR, FAR}, answer = FAR;
    best[next_state(0, 1)] = distance(output(0, 1), 0);
    for (int round = 0; round < 10; round++)
        for (unsigned s = 1; s < STATES; s++)
            for (unsigned bit = 0; bit < 2; bit++) {
                int d = best[s] + distance(output(s, bit), 0);
                unsigned to = next_state(s, bit);
                if (to == 0) {
                    if (d < answer) answer = d;
                } else if (d < best[to]) {
                    best[to] = d;
                }
            }
    return answer;
}

int main(void) {
    uint16_t bits[LENGTH], symbols[LENGTH + 2], damaged[LENGTH + 2], back[LENGTH];
    uint32_t seed = 0xace1u;
    for (int i = 0; i < LENGTH; i++) {
        uint32_t feedback = (seed ^ seed >> 2 ^ seed >> 3 ^ seed >> 5) & 1u;
        seed = seed >> 1 | feedback << 15;
        bits[i] = (uint16_t)(seed & 1u);
    }
    int n = encode(bits, LENGTH, symbols);
    for (int i = 0; i < 16; i++) printf("%d", symbols[i]);
    printf("\nfree distance %d\n", free_distance());
    int metric = decode(symbols, n, back);
    printf("clean: metric %d, same %d\n", metric, memcmp(bits, back, sizeof bits) == 0);
    int repaired = 0;
    for (int i = 0; i < n; i++) {
        for (int b = 0; b < 2; b++) {
            memcpy(damaged, symbols, sizeof symbols);
            damaged[i] ^= (uint16_t)(1 << b);
            metric = decode(damaged, n, back);
            repaired += metric == 1 && memcmp(bits, back, sizeof bits) == 0;
        }
    }
    printf("single errors repaired %d of %d\n", repaired, 2 * n);
    memcpy(damaged, symbols, sizeof symbols);
    for (int i = 3; i < n; i += 10) damaged[i] ^= 1 + i / 10 % 2;
    metric = decode(damaged, n, back);
    printf("spread errors: metric %d, same %d\n", metric, memcmp(bits, back, sizeof bits) == 0);
    for (int i = 20; i < 24; i++) damaged[i] ^= 3;
    metric = decode(damaged, n, back);
    printf("burst: repaired %d\n", memcmp(bits, back, sizeof bits) == 0);
    return 0;
}
