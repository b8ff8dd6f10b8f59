/* Integer 8x8 DCT with a cosine table, quantisation, zigzag order and run-length pairs, then the way back. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

/* round(cos(k pi / 16) * 4096) for k = 0..8 */
static const int cosine[9] = {4096, 4017, 3784, 3406, 2896, 2276, 1567, 799, 0};

static const short quantum[8] = {8, 10, 12, 16, 24, 32, 48, 64};

static int cosine_of(int k) {
    k &= 31;
    if (k > 16) k = 32 - k;
    return k <= 8 ? cosine[k] : -cosine[16 - k];
}

static void transform_rows(int block[8][8], int inverse) {
    for (int r = 0; r < 8; r++) {
        int out[8];
        for (int u = 0; u < 8; u++) {
            int sum = 0;
            for (int x = 0; x < 8; x++) {
                int frequency = inverse ? x : u, place = inverse ? u : x;
                int c = cosine_of((2 * place + 1) * frequency);
                if (frequency == 0) c = 2896;
                sum += block[r][x] * c;
            }
            out[u] = (sum + (sum < 0 ? -4096 : 4096)) / 8192;
        }
        memcpy(block[r], out, sizeof out);
    }
}

static void flip(int block[8][8]) {
    for (int i = 0; i < 8; i++)
        for (int j = 0; j < i; j++) {
            int t = block[i][j];
            block[i][j] = block[j][i];
            block[j][i] = t;
        }
}

static void dct(int block[8][8], int inverse) {
    transform_rows(block, inverse);
    flip(block);
    transform_rows(block, inverse);
    flip(block);
}

static unsigned short zigzag[64];

static void make_zigzag(void) {
    int x = 0, y = 0, up = 1;
    for (int i = 0; i < 64; i++) {
        zigzag[i] = (unsigned short)(y * 8 + x);
        if (up) {
            if (x == 7) {
                y++;
                up = 0;
            } else if (y == 0) {
                x++;
                up = 0;
            } else {
                x++;
                y--;
            }
        } else {
            if (y == 7) {
                x++;
                up = 1;
            } else if (x == 0) {
                y++;
                up = 1;
            } else {
                x--;
                y++;
            }
        }
    }
}

struct pair {
    short run;
    short level;
};

static int encode(int block[8][8], struct pair* out) {
    int n = 0, run = 0;
    for (int i = 0; i < 64; i++) {
        int v = block[zigzag[i] >> 3][zigzag[i] & 7], q = quantum[((zigzag[i] >> 3) + (zigzag[i] & 7)) / 2];
        int level = v < 0 ? -((-v + q / 2) / q) : (v + q / 2) / q;
        if (level == 0) {
            run++;
            continue;
        }
        out[n++] = (struct pair){(short)run, (short)level};
        run = 0;
    }
    return n;
}

static void decode(const struct pair* in, int n, int block[8][8]) {
    int i = -1;
    memset(block, 0, 64 * sizeof(int));
    while (n-- > 0) {
        i += in->run + 1;
        int y = zigzag[i] / 8, x = zigzag[i] % 8;
        block[y][x] = in->level * quantum[(y + x) / 2];
        in++;
    }
}

int main(void) {
    int block[8][8], original[8][8];
    struct pair pairs[64];
    make_zigzag();
    for (int i = 0; i < 64; i++) printf("%d%c", zigzag[i], i % 16 == 15 ? '\n' : ' ');
    for (int test = 0; test < 4; test++) {
        for (int y = 0; y < 8; y++)
            for (int x = 0; x < 8; x++)
                original[y][x] = test == 0   ? 100
                                 : test == 1 ? 16 * x - 60
                                 : test == 2 ? (x - 3) * (y - 4) * 6
                                             : ((x / 4 + y / 4) % 2 ? 90 : -90);
        memcpy(block, original, sizeof block);
        dct(block, 0);
        int n = encode(block, pairs), worst = 0;
        printf("block %d: dc %d, %d pairs:", test, block[0][0], n);
        for (int i = 0; i < n && i < 8; i++) printf(" (%d,%d)", pairs[i].run, pairs[i].level);
        decode(pairs, n, block);
        dct(block, 1);
        for (int y = 0; y < 8; y++)
            for (int x = 0; x < 8; x++) {
                int d = block[y][x] - original[y][x];
                if (d < 0) d = -d;
                if (d > worst) worst = d;
            }
        printf(" worst error %s\n", worst < 24 ? "small" : "large");
    }
    return 0;
}
