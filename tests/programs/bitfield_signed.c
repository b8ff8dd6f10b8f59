/* Signed and boolean bit-fields, enum fields, fields in unions and nested structs, values of assignments,
 * comparisons. */
#include <stdbool.h>
#include <stdio.h>

enum suit { CLUBS, DIAMONDS, HEARTS, SPADES };

typedef struct {
    signed int small : 3;
    signed int medium : 11;
    signed int large : 27;
    bool flag : 1;
    signed int one : 1;
    short tail : 9;
} FIELDS;

typedef struct {
    unsigned suit : 2;
    unsigned rank : 4;
    unsigned face_up : 1;
} CARD;

typedef struct {
    int before;
    struct {
        signed int x : 12;
        signed int y : 12;
        unsigned z : 8;
    } position;
    int after;
} MARK;

static void show(const FIELDS* f) {
    printf("%d %d %d %d %d %d\n", f->small, f->medium, f->large, f->flag, f->one, f->tail);
}

static unsigned seed = 5;

static unsigned draw(unsigned n) {
    seed = seed * 22695477u + 1u;
    return (seed >> 16) % n;
}

static int beats(CARD a, CARD b) { return a.rank != b.rank ? a.rank > b.rank : a.suit > b.suit; }

int main(void) {
    FIELDS f = {.small = -1, .medium = -1024, .large = 67108863, .flag = true, .one = -1, .tail = -256};
    show(&f);
    f.small = 3;
    f.medium = 1023;
    f.large = -67108864;
    f.flag = 0;
    f.tail = 255;
    show(&f);
    f.small--;
    f.medium /= -3;
    f.large >>= 20;
    f.flag = f.large;
    f.one = 0;
    f.tail = (short)(f.tail & 0xf0);
    show(&f);
    int all = 0;
    for (int i = -4; i < 4; i++) {
        f.small = i;
        all += f.small == i;
        all += (f.small < 0) == (i < 0);
    }
    printf("small keeps its range: %d\n", all);
    f.flag = 2;
    int value = (f.flag = 256) + (f.small = -4);
    printf("values of assignments %d, flag %d\n", value, f.flag);
    printf("products %d %d\n", f.small * f.medium, f.small - 10 < 0 ? 1 : 2);

    CARD deck[52];
    for (int i = 0; i < 52; i++)
        deck[i] = (CARD){.suit = (unsigned)i / 13u, .rank = (unsigned)i % 13u + 2u, .face_up = 0};
    for (unsigned i = 51; i > 0; i--) {
        unsigned j = draw(i + 1);
        CARD t = deck[i];
        deck[i] = deck[j];
        deck[j] = t;
    }
    int won = 0, hearts = 0, ranks = 0, up = 0;
    for (int i = 0; i < 52; i += 2) {
        deck[i].face_up = 1;
        won += beats(deck[i], deck[i + 1]);
    }
    for (int i = 0; i < 52; i++) {
        hearts += deck[i].suit == HEARTS;
        ranks += (int)deck[i].rank;
        up += deck[i].face_up;
    }
    printf("hearts %d, ranks %d, up %d, won and lost %d\n", hearts, ranks, up, won + (26 - won));

    MARK m[3] = {{1, {-2048, 2047, 255}, 2}, {3, {100, -100, 7}, 4}, {.after = 6}};
    m[2].position = m[1].position;
    m[1].position.x += m[0].position.y;
    m[1].position.x -= 2047;
    m[2].position.z -= 7;
    for (int i = 0; i < 3; i++)
        printf("%d (%d %d %d) %d\n", m[i].before, m[i].position.x, m[i].position.y, (int)m[i].position.z, m[i].after);

    union {
        struct {
            unsigned low : 8, high : 8, rest : 16;
        } part;
        unsigned whole;
    } u = {.whole = 0xa1b2c3d4u};
    u.part.high ^= 0xff;
    printf("%08x %x\n", u.whole, u.part.rest);
    return 0;
}
