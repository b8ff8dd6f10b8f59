/* volatile objects: a simulated device register block, flags, counters, loops that poll, pointers to volatile,
 * volatile parts. */
#include <stdio.h>

enum { READY = 1, BUSY = 2, ERROR = 4, DONE = 8 };

struct device {
    volatile unsigned status;
    volatile int data;
    const char* name;
    volatile struct { short reads, writes; } count;
};

static struct device device = {.status = READY, .name = "dev0"};
static volatile int ticks;
static volatile int matrix[2][3];

static void device_step(struct device* d) {
    ticks++;
    if (d->status & BUSY) {
        d->data = d->data * 2 + 1;
        d->status = (d->status & ~(unsigned)BUSY) | DONE;
    }
}

static int device_write(struct device* d, int v) {
    if (!(d->status & READY)) return -1;
    d->data = v;
    d->count.writes++;
    d->status |= BUSY;
    return 0;
}

static int device_wait(struct device* d) {
    int polls = 0;
    while (!(d->status & DONE)) {
        polls++;
        device_step(d);
        if (polls > 10) return -1;
    }
    d->status &= ~(unsigned)DONE;
    d->count.reads++;
    return d->data;
}

static int sum_twice(volatile int* p) {
    int a = *p;
    *p = a + 1;
    int b = *p;
    return a * 100 + b;
}

static int dead_stores(void) {
    volatile int x = 1;
    x = 2;
    x = 3;
    x;
    return x;
}

static int delay(int n) {
    volatile int i;
    int turns = 0;
    for (i = 0; i < n; i++) turns++;
    return turns * 10 + (i == n);
}

static double mixed(volatile double* d, const volatile short* s) {
    *d = *d * *s;
    *d += 0.5;
    return *d;
}

static unsigned parameters(volatile unsigned a, volatile char b) {
    a += (unsigned)b;
    b++;
    return a * 2 + (unsigned)b;
}

static volatile int* volatile moving;

int main(void) {
    int ok = 0;
    for (int i = 0; i < 5; i++) {
        if (device_write(&device, i) == 0) ok += device_wait(&device) == 2 * i + 1;
    }
    printf("%d exchanges, ticks %d, reads %d, writes %d, status %u\n", ok, ticks, device.count.reads,
           device.count.writes, device.status);
    device.status = ERROR;
    printf("%d %s\n", device_write(&device, 1), device.name);
    volatile int v = 5;
    printf("%d", sum_twice(&v));
    printf(" %d\n", v);
    printf("%d %d %d\n", dead_stores(), delay(12), delay(0));
    volatile double d = 1.25;
    const volatile short s = -4;
    printf("%g\n", mixed(&d, &s));
    printf("%u\n", parameters(10, 'A'));
    for (int i = 0; i < 6; i++) matrix[i / 3][i % 3] = i;
    moving = &matrix[1][0];
    int a = *moving++;
    int b = *moving;
    ++*moving;
    printf("%d %d %d %d\n", a, b, matrix[1][1], *(moving + 1));
    volatile long long wide = 1ll << 33;
    wide >>= 1;
    wide--;
    volatile float f = 0.5f;
    f *= 3;
    volatile struct { unsigned low : 5, high : 11; } bits = {3, 100};
    bits.low += 30;
    bits.high ^= 1;
    int low = bits.low, high = bits.high;
    printf("%lld %g %d %d\n", wide, (double)f, low, high);
    volatile int condition = 0;
    int path = condition ? 1 : condition == 0 ? 2 : 3;
    if (condition || !condition) path += 10;
    printf("%d\n", path);
    return 0;
}
