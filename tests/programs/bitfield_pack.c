/* Unsigned bit-fields: packing and unpacking, neighbours untouched, wrap on store, increments, arrays of packed
 * records. */
#include <stdint.h>
#include <stdio.h>

struct header {
    unsigned version : 4;
    unsigned length : 4;
    unsigned service : 6;
    unsigned flags : 2;
    unsigned total : 16;
    unsigned id : 13;
    unsigned more : 1;
    unsigned : 2;
    unsigned ttl : 8;
    unsigned last : 8;
};

struct pixel {
    unsigned short r : 5, g : 6, b : 5;
};

struct clock {
    unsigned second : 6;
    unsigned minute : 6;
    unsigned hour : 5;
    unsigned : 0;
    unsigned day : 9;
    unsigned alarm : 1;
};

static uint32_t first_word(const struct header* h) {
    return h->version | (uint32_t)h->length << 4 | (uint32_t)h->service << 8 | (uint32_t)h->flags << 14 |
           (uint32_t)h->total << 16;
}

static struct header unpack(uint32_t a, uint32_t b) {
    struct header h;
    h.version = a & 15u;
    h.length = a >> 4 & 15u;
    h.service = a >> 8;
    h.flags = a >> 14;
    h.total = a >> 16;
    h.id = b;
    h.more = b >> 13;
    h.ttl = b >> 16;
    h.last = b >> 24;
    return h;
}

static void tick(struct clock* c, int seconds) {
    while (seconds-- > 0) {
        if (++c->second < 60) continue;
        c->second = 0;
        if (c->minute++ < 59) continue;
        c->minute = 0;
        if (++c->hour == 24) {
            c->hour = 0;
            c->day++;
        }
    }
}

static struct pixel blend(struct pixel a, struct pixel b, int weight) {
    struct pixel p;
    p.r = (unsigned short)((a.r * (16 - weight) + b.r * weight) / 16) & 31u;
    p.g = (unsigned short)((a.g * (16 - weight) + b.g * weight) / 16) & 63u;
    p.b = (unsigned short)((a.b * (16 - weight) + b.b * weight) / 16) & 31u;
    return p;
}

int main(void) {
    struct header h = unpack(0xcafe1234u, 0xdeadbeefu);
    printf("%u %u %u %u %u | %u %u %u %u\n", h.version, h.length, h.service, h.flags, h.total, h.id, h.more, h.ttl,
           h.last);
    printf("%08x\n", (unsigned)first_word(&h));
    h.total = 70000u & 0xffffu;
    h.flags = 1;
    h.service++;
    h.version += 15;
    h.length -= 4;
    printf("%08x %u\n", (unsigned)first_word(&h), h.total);
    unsigned stored = (h.ttl = 300 & 0xff), old = h.last--;
    printf("%u %u %u %u\n", stored, old, h.last, h.ttl);
    h.id = ~0u & 0x1fffu;
    h.more = 0;
    h.id++;
    printf("%u %u %u\n", h.id, h.more, h.ttl);

    struct clock c = {.hour = 23, .minute = 58, .second = 30, .day = 510, .alarm = 1};
    tick(&c, 89);
    printf("%u %02u:%02u:%02u %u\n", c.day, c.hour, c.minute, c.second, c.alarm);
    tick(&c, 1);
    printf("%u %02u:%02u:%02u %u\n", c.day, c.hour, c.minute, c.second, c.alarm);
    tick(&c, 86400);
    printf("%u %02u:%02u:%02u %u\n", c.day, c.hour, c.minute, c.second, c.alarm);
    c.day++;
    printf("day wraps to %u, alarm %u\n", c.day, c.alarm);

    static struct pixel row[20];
    struct pixel red = {31, 0, 0}, sea = {.b = 31, .g = 40};
    unsigned check = 0;
    for (int i = 0; i <= 16; i++) row[i] = blend(red, sea, i);
    for (int i = 0; i <= 16; i += 4) printf("(%d,%d,%d) ", row[i].r, row[i].g, row[i].b);
    for (int i = 0; i < 20; i++) check = check * 31u + (unsigned)(row[i].r << 11 | row[i].g << 5 | row[i].b);
    printf("%08x\n", check);
    row[3].g = 63;
    row[3].b ^= 21;
    printf("%d %d %d\n", row[3].r, row[3].g, row[3].b);
    return 0;
}
