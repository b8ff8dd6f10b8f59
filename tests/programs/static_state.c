/* Static locals and file statics: counters, caches, one-time set-up, generators with hidden state, same names in
 * scopes. */
#include <stdio.h>

static int counter = 100;

static int next_id(void) {
    static int id;
    return ++id;
}

static int other_id(void) {
    static int id = 1000;
    id -= 7;
    return id;
}

static int fib_cached(int n) {
    static int known[50], filled;
    if (!filled) {
        known[0] = 0;
        known[1] = 1;
        filled = 2;
    }
    while (filled <= n) {
        known[filled] = known[filled - 1] + known[filled - 2];
        filled++;
    }
    return known[n];
}

static const char* month_name(int m) {
    static const char* const names[] = {"?",   "Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    return m < 1 || m > 12 ? names[0] : names[m];
}

static int* slot(int i) {
    static int slots[4] = {[2] = 22};
    return &slots[i];
}

static int toggles(void) {
    static enum { OFF, ON, BLINK } mode = ON;
    switch (mode) {
    case OFF: mode = ON; break;
    case ON: mode = BLINK; break;
    case BLINK: mode = OFF; break;
    }
    return mode;
}

/* yields 0,0 0,1 .. 1,2 and then -1 */
static int grid_step(void) {
    static int state, x, y;
    switch (state) {
    case 0:
        state = 1;
        for (y = 0; y < 2; y++) {
            for (x = 0; x < 3; x++) {
                return y * 10 + x;
            case 1:;
            }
        }
        state = 0;
    }
    return -1;
}

static int scopes(int n) {
    static int v = 1;
    {
        static int v = 10;
        v += n;
        if (n > 1) {
            static int v = 100;
            v += n;
            counter += v;
        }
        counter += v;
    }
    v *= 2;
    return v + counter;
}

static int depth_seen(int n) {
    static int depth, deepest;
    if (++depth > deepest) deepest = depth;
    if (n > 0) depth_seen(n - 1);
    depth--;
    return deepest;
}

static struct {
    int hits;
    const char* last;
} log_state = {0, "none"};

static void note(const char* what) {
    log_state.hits++;
    log_state.last = what;
}

static int random_between(int low, int high) {
    static unsigned seed = 1u;
    seed = seed * 48271u % 2147483647u;
    return low + (int)(seed % (unsigned)(high - low + 1));
}

int main(void) {
    for (int i = 0; i < 3; i++) {
        int a = next_id();
        int b = other_id();
        printf("%d %d ", a, b);
    }
    printf("\n%d %d %d\n", fib_cached(20), fib_cached(46), fib_cached(5));
    printf("%s %s %s\n", month_name(1), month_name(12), month_name(13));
    *slot(0) = 5;
    *slot(3) += *slot(2);
    printf("%d %d %d %d\n", *slot(0), *slot(1), *slot(2), *slot(3));
    for (int i = 0; i < 5; i++) printf("%d ", toggles());
    printf("\n");
    for (int i = 0; i < 9; i++) printf("%d ", grid_step());
    printf("\n");
    for (int i = 0; i < 4; i++) printf("%d ", scopes(i));
    printf("%d\n", counter);
    int shallow = depth_seen(3), deep = depth_seen(9), again = depth_seen(1);
    printf("%d %d %d\n", shallow, deep, again);
    note("first");
    note("second");
    printf("%d %s\n", log_state.hits, log_state.last);
    int counts[6] = {0}, outside = 0;
    for (int i = 0; i < 600; i++) {
        int r = random_between(1, 6);
        if (r < 1 || r > 6)
            outside++;
        else
            counts[r - 1]++;
    }
    int total = 0;
    for (int i = 0; i < 6; i++) total += counts[i] > 60 ? counts[i] : 0;
    printf("outside %d, total %d\n", outside, total);
    return 0;
}
