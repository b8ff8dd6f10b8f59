/* LZ77 with hash chains and LZW with a growing dictionary; tokens packed into 16-bit words; round trips on
 * several texts. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#define MAX 1200

static uint16_t tokens[MAX * 2];

/* token: literal = byte; match = 0x8000 | length - 3 << 10 | distance - 1, distance up to 1024, length up to 34 */
static int lz_encode(const char* in, int n) {
    static short head[256], previous[MAX];
    int k = 0;
    for (int i = 0; i < 256; i++) head[i] = -1;
    for (int i = 0; i < n;) {
        int best = 0, best_at = 0;
        if (i + 2 < n) {
            unsigned h = ((unsigned)in[i] * 31u + (unsigned)in[i + 1] * 7u + (unsigned)in[i + 2]) & 255u;
            for (int at = head[h], tries = 0; at >= 0 && tries < 32 && i - at <= 1024; at = previous[at], tries++) {
                int length = 0;
                while (length < 34 && i + length < n && in[at + length] == in[i + length]) length++;
                if (length > best) {
                    best = length;
                    best_at = at;
                }
            }
        }
        int step = 1;
        if (best >= 3) {
            tokens[k++] = (uint16_t)(0x8000 | (best - 3) << 10 | (i - best_at - 1));
            step = best;
        } else {
            tokens[k++] = (uint16_t)(in[i] & 0xff);
        }
        for (; step; step--, i++) {
            if (i + 2 >= n) continue;
            unsigned h = ((unsigned)in[i] * 31u + (unsigned)in[i + 1] * 7u + (unsigned)in[i + 2]) & 255u;
            previous[i] = head[h];
            head[h] = (short)i;
        }
    }
    return k;
}

static int lz_decode(int count, char* out) {
    int n = 0;
    for (int i = 0; i < count; i++) {
        uint16_t t = tokens[i];
        if (t < 0x8000) {
            out[n++] = (char)t;
        } else {
            int length = (t >> 10 & 31) + 3, distance = (t & 1023) + 1;
            while (length--) {
                out[n] = out[n - distance];
                n++;
            }
        }
    }
    return n;
}

static struct {
    short prefix;
    char last;
} dictionary[1024];

static int lzw_encode(const char* in, int n) {
    int size = 128, k = 0, current = -1;
    for (int i = 0; i < n; i++) {
        if (current < 0) {
            current = in[i];
            continue;
        }
        int found = -1;
        for (int d = 128; d < size && found < 0; d++)
            if (dictionary[d].prefix == current && dictionary[d].last == in[i]) found = d;
        if (found >= 0) {
            current = found;
            continue;
        }
        tokens[k++] = (uint16_t)current;
        if (size < 1024) {
            dictionary[size].prefix = (short)current;
            dictionary[size++].last = in[i];
        }
        current = in[i];
    }
    if (current >= 0) tokens[k++] = (uint16_t)current;
    return k;
}

static char first_of(int code) {
    while (code >= 128) code = dictionary[code].prefix;
    return (char)code;
}

static int expand(int code, char* out) {
    int n = 0;
    if (code >= 128) {
        n = expand(dictionary[code].prefix, out);
        out[n] = dictionary[code].last;
    } else {
        out[0] = (char)code;
    }
    return n + 1;
}

static int lzw_decode(int count, char* out) {
    int size = 128, n = 0;
    memset(dictionary, 0, sizeof dictionary);
    for (int i = 0; i < count; i++) {
        if (i > 0 && size < 1024) {
            dictionary[size].prefix = (short)tokens[i - 1];
            /* the code may be the one that is being defined */
            dictionary[size].last = first_of(tokens[i] == size ? tokens[i - 1] : tokens[i]);
            size++;
        }
        n += expand(tokens[i], out + n);
    }
    return n;
}

static char text[MAX], back[MAX + 1];

static void report(const char* name, int n) {
    int t = lz_encode(text, n), m = lz_decode(t, back);
    int ok = m == n && memcmp(text, back, (size_t)n) == 0;
    memset(back, 0, sizeof back);
    int w = lzw_encode(text, n), v = lzw_decode(w, back);
    printf("%s: %d -> lz %d (%d), lzw %d (%d)\n", name, n, t, ok, w, v == n && memcmp(text, back, (size_t)n) == 0);
}

int main(void) {
    static const char phrase[] = "how much wood would a woodchuck chuck if a woodchuck could chuck wood? ";
    int n = 0;
    report("empty", 0);
    strcpy(text, "a");
    report("one", 1);
    while (n + (int)sizeof phrase < MAX) {
        strcpy(text + n, phrase);
        n += (int)strlen(phrase);
    }
    report("phrase", 71);
    report("phrases", n);
    memset(text, 'x', MAX);
    report("same", MAX);
    unsigned seed = 9;
    for (int i = 0; i < MAX; i++) {
        seed = seed * 1103515245u + 12345u;
        text[i] = (char)('a' + (seed >> 16) % 26u);
    }
    report("random", MAX);
    for (int i = 0, a = 0, b = 1; i < MAX; i++) {
        text[i] = (char)(b ? '1' : '0');
        int t = (a + b) % 3;
        a = b;
        b = t;
    }
    report("period", MAX);
    strcpy(text, "abababababab");
    int w = lzw_encode(text, 12);
    for (int i = 0; i < w; i++) printf("%d ", tokens[i]);
    printf("\n");
    return 0;
}
