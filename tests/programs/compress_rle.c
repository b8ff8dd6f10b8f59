/* Run-length coding in two formats (escape and PackBits) and a move-to-front transform, all with round trips. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

typedef uint16_t BYTE; /* values 0..255 */

#define ESCAPE 0x1b

static int rle_encode(const BYTE* in, int n, BYTE* out) {
    int k = 0;
    for (int i = 0; i < n;) {
        int run = 1;
        while (i + run < n && run < 255 && in[i + run] == in[i]) run++;
        if (run > 3 || in[i] == ESCAPE) {
            out[k++] = ESCAPE;
            out[k++] = (BYTE)run;
            out[k++] = in[i];
        } else {
            for (int j = 0; j < run; j++) out[k++] = in[i];
        }
        i += run;
    }
    return k;
}

static int rle_decode(const BYTE* in, int n, BYTE* out) {
    BYTE* start = out;
    const BYTE* end = in + n;
    while (in < end) {
        if (*in != ESCAPE) {
            *out++ = *in++;
            continue;
        }
        for (int c = in[1]; c > 0; c--) *out++ = in[2];
        in += 3;
    }
    return (int)(out - start);
}

static int pack_encode(const BYTE* in, int n, BYTE* out) {
    int i = 0, k = 0;
    while (i < n) {
        int run = 1;
        while (run < 128 && i + run < n && in[i + run] == in[i]) run++;
        if (run >= 2) {
            out[k++] = (BYTE)((257 - run) & 0xff);
            out[k++] = in[i];
            i += run;
        } else {
            int start = i++;
            while (i < n && i - start < 128 && !(i + 1 < n && in[i] == in[i + 1])) i++;
            out[k++] = (BYTE)(i - start - 1);
            memcpy(out + k, in + start, (size_t)(i - start) * sizeof *in);
            k += i - start;
        }
    }
    return k;
}

static int pack_decode(const BYTE* in, int n, BYTE* out) {
    int k = 0;
    for (int i = 0; i < n;) {
        int head = in[i++];
        if (head < 128) {
            for (head++; head; head--) out[k++] = in[i++];
        } else {
            for (int c = 257 - head; c; c--) out[k++] = in[i];
            i++;
        }
    }
    return k;
}

static void move_to_front(BYTE* data, int n, int back) {
    BYTE order[256];
    for (int i = 0; i < 256; i++) order[i] = (BYTE)i;
    for (int i = 0; i < n; i++) {
        int at, value;
        if (back) {
            at = data[i];
            value = order[at];
            data[i] = (BYTE)value;
        } else {
            value = data[i];
            for (at = 0; order[at] != value; at++)
                ;
            data[i] = (BYTE)at;
        }
        memmove(order + 1, order, (size_t)at * sizeof order[0]);
        order[0] = (BYTE)value;
    }
}

static BYTE plain[1000], packed[3200], back[1000];

static void report(const char* name, int n) {
    int e = rle_encode(plain, n, packed), d = rle_decode(packed, e, back);
    int ok = d == n && memcmp(plain, back, (size_t)n * sizeof plain[0]) == 0;
    int p = pack_encode(plain, n, packed), q = pack_decode(packed, p, back);
    int fine = q == n && memcmp(plain, back, (size_t)n * sizeof plain[0]) == 0;
    memcpy(back, plain, sizeof back);
    move_to_front(back, n, 0);
    long long sum = 0;
    for (int i = 0; i < n; i++) sum += back[i];
    move_to_front(back, n, 1);
    int moved = memcmp(plain, back, (size_t)n * sizeof plain[0]) == 0;
    printf("%s: %d -> escape %d (%d), packbits %d (%d), front sum %lld (%d)\n", name, n, e, ok, p, fine, sum, moved);
}

int main(void) {
    report("zeros", 1000);
    report("empty", 0);
    for (int i = 0; i < 1000; i++) plain[i] = (BYTE)(i & 0xff);
    report("ramp", 1000);
    for (int i = 0; i < 1000; i++) plain[i] = ESCAPE;
    report("escapes", 300);
    const char* text = "aaaabbbcccccccdeeeeeeeeeeeeeefghhhhhijjjjjjjjjjjjjjjjjjjjjk";
    int n = (int)strlen(text);
    for (int i = 0; i < n; i++) plain[i] = (BYTE)(text[i] & 0xff);
    report("text", n);
    int e = rle_encode(plain, n, packed);
    for (int i = 0; i < e; i++) {
        if (packed[i] == ESCAPE) {
            printf("<%d*%c>", packed[i + 1], packed[i + 2]);
            i += 2;
        } else {
            putchar(packed[i]);
        }
    }
    printf("\n");
    unsigned seed = 3;
    for (int i = 0; i < 1000;) {
        seed = seed * 69069u + 5u;
        for (unsigned run = seed >> 28; run-- && i < 1000; i++) plain[i] = (BYTE)(seed >> 20 & 0xffu);
    }
    report("random runs", 1000);
    return 0;
}
