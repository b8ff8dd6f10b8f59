/* Cooperative tasks: protothreads by switch on line numbers, a round-robin scheduler with sleep, a bounded channel. */
#include <stdio.h>

struct task;
typedef int (*BODY)(struct task*);

struct task {
    int line; /* where to go on */
    int wake; /* earliest time */
    int i, value, produced;
    const char* name;
    BODY body;
};

#define BEGIN                                                                                                          \
    switch (t->line) {                                                                                                 \
    case 0:
#define YIELD                                                                                                          \
    do {                                                                                                               \
        t->line = __LINE__;                                                                                            \
        return 1;                                                                                                      \
    case __LINE__:;                                                                                                    \
    } while (0)
#define WAIT_UNTIL(condition)                                                                                          \
    do {                                                                                                               \
        t->line = __LINE__;                                                                                            \
    case __LINE__:                                                                                                     \
        if (!(condition)) return 1;                                                                                    \
    } while (0)
#define SLEEP(n)                                                                                                       \
    do {                                                                                                               \
        t->wake = now + (n);                                                                                           \
        YIELD;                                                                                                         \
    } while (0)
#define END                                                                                                            \
    }                                                                                                                  \
    return 0

static int now;
static int channel[3], channel_count, channel_head, most;
static int received, sum, ticks;

static int producer(struct task* t) {
    BEGIN;
    for (t->i = 0; t->i < 8; t->i++) {
        t->value = t->i * t->i + (t->name[1] - '0') * 100;
        WAIT_UNTIL(channel_count < 3);
        channel[(channel_head + channel_count) % 3] = t->value;
        if (++channel_count > most) most = channel_count;
        t->produced++;
        if (t->i % 3 == 2) SLEEP(4);
    }
    END;
}

static int consumer(struct task* t) {
    BEGIN;
    while (received < 16) {
        WAIT_UNTIL(channel_count > 0);
        t->value = channel[channel_head];
        channel_head = (channel_head + 1) % 3;
        channel_count--;
        received++;
        sum += t->value;
        printf("%d@%d ", t->value, now);
        SLEEP(2);
    }
    END;
}

static int clock_task(struct task* t) {
    BEGIN;
    for (;;) {
        ticks++;
        if (received >= 16) break;
        SLEEP(10);
    }
    printf("| clock stops at %d", now);
    END;
}

static int fibonacci(struct task* t) {
    BEGIN;
    t->value = 0;
    t->i = 1;
    for (;;) {
        YIELD;
        int next = t->value + t->i;
        t->value = t->i;
        t->i = next;
    }
    END;
}

static int run(struct task* tasks, int n) {
    int alive = n, steps = 0;
    int done[8] = {0};
    for (now = 0; alive > 0 && now < 500; now++) {
        for (int k = 0; k < n; k++) {
            if (done[k] || tasks[k].wake > now) continue;
            steps++;
            if (!tasks[k].body(&tasks[k])) {
                done[k] = 1;
                alive--;
            }
        }
    }
    return alive ? -1 : steps;
}

int main(void) {
    struct task tasks[] = {{.name = "p1", .body = producer},
                           {.name = "p2", .body = producer},
                           {.name = "c", .body = consumer},
                           {.name = "clock", .body = clock_task}};
    int steps = run(tasks, 4);
    int expected = 0;
    for (int i = 0; i < 8; i++) expected += 2 * i * i + 300;
    printf("\nfinished %d, received %d, sum %d of %d, most in the channel %d\n", steps > 0, received, sum, expected,
           most);
    printf("produced %d %d, ticks %d, left %d\n", tasks[0].produced, tasks[1].produced, ticks, channel_count);
    struct task f = {.body = fibonacci};
    for (int i = 0; i < 12; i++) {
        f.body(&f);
        printf("%d ", f.value);
    }
    printf("\n");
    return 0;
}
