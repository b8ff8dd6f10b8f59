/* Image kernels on a small grey picture: 3x3 convolution, sobel, median, histogram equalisation, integral image. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#define W 20
#define H 12

typedef uint16_t IMAGE[H][W];

static int clamp(int v, int low, int high) { return v < low ? low : v > high ? high : v; }

static int at(IMAGE im, int y, int x) { return im[clamp(y, 0, H - 1)][clamp(x, 0, W - 1)]; }

static void convolve(IMAGE in, IMAGE out, const int kernel[3][3], int divisor, int offset) {
    for (int y = 0; y < H; y++) {
        for (int x = 0; x < W; x++) {
            int sum = 0;
            for (int dy = -1; dy <= 1; dy++)
                for (int dx = -1; dx <= 1; dx++) sum += kernel[dy + 1][dx + 1] * at(in, y + dy, x + dx);
            out[y][x] = (uint16_t)clamp(sum / divisor + offset, 0, 255);
        }
    }
}

static void sobel(IMAGE in, IMAGE out) {
    for (int y = 0; y < H; y++) {
        for (int x = 0; x < W; x++) {
            int gx = at(in, y - 1, x + 1) + 2 * at(in, y, x + 1) + at(in, y + 1, x + 1) - at(in, y - 1, x - 1) -
                     2 * at(in, y, x - 1) - at(in, y + 1, x - 1);
            int gy = at(in, y + 1, x - 1) + 2 * at(in, y + 1, x) + at(in, y + 1, x + 1) - at(in, y - 1, x - 1) -
                     2 * at(in, y - 1, x) - at(in, y - 1, x + 1);
            out[y][x] = (uint16_t)clamp(abs(gx) + abs(gy), 0, 255);
        }
    }
}

static void median(IMAGE in, IMAGE out) {
    for (int y = 0; y < H; y++) {
        for (int x = 0; x < W; x++) {
            int v[9], n = 0;
            for (int k = 0; k < 9; k++) {
                int p = at(in, y + k / 3 - 1, x + k % 3 - 1), i = n++;
                for (; i > 0 && v[i - 1] > p; i--) v[i] = v[i - 1];
                v[i] = p;
            }
            out[y][x] = (uint16_t)v[4];
        }
    }
}

static void equalise(IMAGE im) {
    int histogram[256] = {0}, map[256], sum = 0;
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) histogram[im[y][x]]++;
    for (int g = 0; g < 256; g++) {
        sum += histogram[g];
        map[g] = sum * 255 / (W * H);
    }
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) im[y][x] = (uint16_t)map[im[y][x]];
}

static int32_t integral[H + 1][W + 1];

static void integrate(IMAGE im) {
    for (int y = 1; y <= H; y++)
        for (int x = 1; x <= W; x++)
            integral[y][x] = im[y - 1][x - 1] + integral[y - 1][x] + integral[y][x - 1] - integral[y - 1][x - 1];
}

static int box(int y0, int x0, int y1, int x1) {
    return (int)(integral[y1][x1] - integral[y0][x1] - integral[y1][x0] + integral[y0][x0]);
}

static void show(const char* title, IMAGE im) {
    unsigned check = 7;
    printf("%s\n", title);
    for (int y = 0; y < H; y++) {
        for (int x = 0; x < W; x++) {
            putchar(" .:-=+*#%@"[im[y][x] * 10 / 256]);
            check = check * 33u + im[y][x];
        }
        printf("|\n");
    }
    printf("checksum %08x\n", check);
}

int main(void) {
    static const int blur[3][3] = {{1, 2, 1}, {2, 4, 2}, {1, 2, 1}};
    static const int emboss[3][3] = {{-2, -1, 0}, {-1, 1, 1}, {0, 1, 2}};
    static const int same[3][3] = {[1] = {[1] = 1}};
    static IMAGE picture, out;
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) {
            int d = (x - 9) * (x - 9) + (y - 6) * (y - 6) * 3;
            picture[y][x] = (uint16_t)(d < 60 ? 200 - 2 * d : 20 + 3 * x);
        }
    picture[2][3] = 255;
    picture[9][15] = 0;
    show("picture", picture);
    convolve(picture, out, same, 1, 0);
    int differences = 0;
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) differences += out[y][x] != picture[y][x];
    printf("identity kernel: %d differences\n", differences);
    convolve(picture, out, blur, 16, 0);
    show("blur", out);
    convolve(picture, out, emboss, 1, 0);
    show("emboss", out);
    sobel(picture, out);
    show("sobel", out);
    median(picture, out);
    printf("specks gone: %d %d\n", out[2][3], out[9][15]);
    integrate(picture);
    int slow = 0;
    for (int y = 3; y < 9; y++)
        for (int x = 5; x < 17; x++) slow += picture[y][x];
    printf("box %d %d\n", box(3, 5, 9, 17), slow);
    equalise(picture);
    show("equalised", picture);
    return 0;
}
