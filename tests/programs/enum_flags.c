/* Enumerations as flags, states and array bounds: negative and large enumerators, arithmetic, comparisons, enum
 * parameters. */
#include <stdio.h>
#include <string.h>

enum permission { READ = 1, WRITE = READ << 1, EXECUTE = WRITE << 1, ALL = READ | WRITE | EXECUTE, STICKY = 0x8000 };

enum level { LOWEST = -3, LOW, ZERO = 0, HIGH = 5, HIGHER };

enum big { BIG = 0x40000000, MOST = 0x7fffffff, LEAST = -0x7fffffff - 1 };

typedef enum { MONDAY, TUESDAY, WEDNESDAY, THURSDAY, FRIDAY, SATURDAY, SUNDAY, DAYS } DAY;

typedef enum { RED, AMBER, GREEN, LIGHTS } LIGHT;

static const char* const day_names[DAYS] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};

static const struct {
    LIGHT next;
    int seconds;
} lights[LIGHTS] = {[RED] = {GREEN, 30}, [GREEN] = {AMBER, 25}, [AMBER] = {RED, 5}};

static DAY add_days(DAY d, int n) { return (DAY)(((int)d + n % DAYS + DAYS) % DAYS); }

static int is_weekend(DAY d) { return d >= SATURDAY; }

static enum permission grant(enum permission p, enum permission more) { return p | more; }

static enum permission revoke(enum permission p, enum permission less) { return p & ~less; }

static void print_permissions(enum permission p) {
    static const struct {
        enum permission bit;
        char letter;
    } table[] = {{READ, 'r'}, {WRITE, 'w'}, {EXECUTE, 'x'}, {STICKY, 't'}};
    for (int i = 0; i < 4; i++) putchar(p & table[i].bit ? table[i].letter : '-');
    putchar(' ');
}

static enum level classify(int v) { return v < -10 ? LOWEST : v < 0 ? LOW : v == 0 ? ZERO : v < 10 ? HIGH : HIGHER; }

static LIGHT after(int seconds, int* changes) {
    LIGHT l = RED;
    *changes = 0;
    while (seconds >= lights[l].seconds) {
        seconds -= lights[l].seconds;
        l = lights[l].next;
        ++*changes;
    }
    return l;
}

/* text to enumerator through stringised names */
#define FRUITS(X) X(APPLE) X(PEAR) X(PLUM) X(GRAPE)
#define AS_ENUM(n) n,
#define AS_TEXT(n) #n,
enum fruit { FRUITS(AS_ENUM) FRUIT_COUNT };
static const char* const fruit_names[] = {FRUITS(AS_TEXT)};

static enum fruit parse_fruit(const char* s) {
    enum fruit f = APPLE;
    while (f < FRUIT_COUNT && strcmp(fruit_names[f], s) != 0) f++;
    return f;
}

int main(void) {
    enum permission p = READ;
    print_permissions(p);
    print_permissions(p = grant(p, WRITE | STICKY));
    print_permissions(p = revoke(p, READ));
    print_permissions(revoke(ALL, p));
    print_permissions(ALL ^ WRITE);
    printf("%d\n", (int)(grant(ALL, STICKY)));
    for (int i = -9; i < 9; i += 4) {
        DAY d = add_days(WEDNESDAY, i);
        printf("%s%s ", day_names[d], is_weekend(d) ? "!" : "");
    }
    printf("\n");
    DAY d = SATURDAY;
    d++;
    printf("%s ", day_names[d]);
    d -= 3;
    printf("%s %d\n", day_names[d], d == THURSDAY);
    static const int values[] = {-50, -1, 0, 9, 10};
    for (int i = 0; i < 5; i++) printf("%d ", classify(values[i]));
    printf("| %d %d\n", LOW, HIGHER - LOWEST);
    for (int t = 0; t <= 130; t += 26) {
        int changes;
        LIGHT l = after(t, &changes);
        printf("%c%d ", "RAG"[l], changes);
    }
    printf("\n");
    for (enum fruit f = APPLE; f < FRUIT_COUNT; f++)
        printf("%s %d, ", fruit_names[f], parse_fruit(fruit_names[f]) == f);
    printf("%d\n", parse_fruit("KIWI") == FRUIT_COUNT);
    enum big b = BIG;
    printf("%d %d %d\n", b, MOST, LEAST);
    b = LEAST;
    printf("%d %d\n", b < 0, (int)(b + MOST));
    int counts[DAYS] = {[FRIDAY] = 3, [MONDAY] = 1};
    int sum = 0;
    for (d = MONDAY; d <= SUNDAY; ++d) sum = sum * 4 + counts[d];
    printf("%d %d\n", sum, (int)(sizeof counts / sizeof counts[0]));
    switch (classify(-1)) {
    case LOW: printf("low\n"); break;
    case HIGH:
    case HIGHER: printf("high\n"); break;
    default: printf("else\n");
    }
    return 0;
}
