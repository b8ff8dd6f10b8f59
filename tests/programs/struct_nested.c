/* Nested and anonymous-tag structs, unions inside structs, arrays of structs of arrays, self reference, offsets
 * by pointer. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

struct date {
    short year;
    struct {
        short month, day;
    } in_year;
};

enum kind { BOOK, TAPE, GAME };

struct item {
    enum kind kind;
    char title[16];
    struct date bought;
    union {
        struct {
            int pages;
            struct {
                char code[6];
                int sequence;
            } shelf;
        } book;
        struct {
            float minutes;
            unsigned stereo;
        } tape;
        long long score[2];
    } u;
    const struct item* related;
};

struct room {
    struct item item[3];
    struct {
        int width, length;
    } size;
    int used;
};

static struct {
    struct room room[2];
    struct date opened;
} library = {.room = {{.size = {4, 5}, .used = 0}, {.size = {6, 7}}}, .opened = {1999, {12, 31}}};

static struct item* place(int r, enum kind k, const char* title, struct date d) {
    struct room* room = &library.room[r];
    struct item* i = &room->item[room->used++];
    memset(i, 0, sizeof *i);
    i->kind = k;
    strcpy(i->title, title);
    i->bought = d;
    return i;
}

static int day_number(struct date d) {
    static const short before[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    int leap = d.in_year.month > 2 && (d.year % 4 == 0 && (d.year % 100 != 0 || d.year % 400 == 0));
    int y = d.year - 1;
    return y * 365 + y / 4 - y / 100 + y / 400 + before[d.in_year.month - 1] + d.in_year.day + leap;
}

static void describe(const struct item* i) {
    printf("%s (%d-%02d-%02d): ", i->title, i->bought.year, i->bought.in_year.month, i->bought.in_year.day);
    switch (i->kind) {
    case BOOK: printf("%d pages, %s%d", i->u.book.pages, i->u.book.shelf.code, i->u.book.shelf.sequence); break;
    case TAPE: printf("%.2f minutes%s", (double)i->u.tape.minutes, i->u.tape.stereo ? ", stereo" : ""); break;
    case GAME: printf("scores %lld %lld", i->u.score[0], i->u.score[1]); break;
    }
    if (i->related) printf(" -> %s", i->related->title);
    printf("\n");
}

union word {
    uint32_t whole;
    struct {
        uint16_t low, high;
    } half;
    float real;
};

int main(void) {
    struct item* b = place(0, BOOK, "Grammar", (struct date){2001, {2, 28}});
    b->u.book.pages = 421;
    strcpy(b->u.book.shelf.code, "QA-");
    b->u.book.shelf.sequence = 76;
    struct item* t = place(1, TAPE, "Birds", (struct date){2000, {2, 29}});
    t->u.tape.minutes = 42.25f;
    t->u.tape.stereo = 1;
    t->related = b;
    struct item* g = place(1, GAME, "Chess", (struct date){.year = 2004, .in_year = {.day = 1, .month = 3}});
    g->u.score[0] = 1234567890123ll;
    g->u.score[1] = -1;
    g->related = t;
    for (const struct item* i = g; i; i = i->related) describe(i);
    library.room[0].item[1] = *t;
    library.room[0].item[1].title[0] = 'W';
    library.room[0].used++;
    int total = 0;
    for (int r = 0; r < 2; r++) {
        const struct room* room = library.room + r;
        total += room->size.width * room->size.length;
        for (int i = 0; i < room->used; i++) describe(&room->item[i]);
    }
    printf("area %d, days %d %d\n", total, day_number(g->bought) - day_number(b->bought),
           day_number(t->bought) - day_number(library.opened));
    struct room copy = library.room[1];
    copy.item[0].bought.in_year.day = 7;
    copy.item[0].u.tape.minutes *= 2;
    printf("%d %g %d %g\n", copy.item[0].bought.in_year.day, (double)copy.item[0].u.tape.minutes,
           library.room[1].item[0].bought.in_year.day, (double)library.room[1].item[0].u.tape.minutes);
    union word w = {0x12345678u};
    printf("%04x %04x", (unsigned)w.half.low, (unsigned)w.half.high);
    w.real = -2.5f;
    printf(" %08x", (unsigned)w.whole);
    w.half.high = 0x4049;
    w.half.low = 0;
    printf(" %g\n", (double)w.real);
    const short* day = &library.opened.in_year.day;
    printf("%d %d\n", *day, (int)(&library.room[1].item[2] - library.room[1].item));
    return 0;
}
