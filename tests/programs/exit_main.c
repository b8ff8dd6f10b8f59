/* A non-zero status returned from main: a checker that counts broken rules in a table and returns the number. */
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>

typedef struct {
    const char* name;
    bool (*holds)(int);
    int from, to;
} RULE;

static bool square_is_positive(int v) { return v * v > 0; }
static bool triangle_formula(int v) {
    int s = 0;
    for (int i = 1; i <= v; i++) s += i;
    return s == v * (v + 1) / 2;
}
static bool is_power_of_two_minus_one(int v) { return (v & (v + 1)) == 0; }
static bool half_and_back(int v) { return v / 2 * 2 == v; }
static bool shift_divides(int v) { return v >> 1 == v / 2; }
static bool mask_is_remainder(int v) { return (v & 7) == v % 8; }
static bool absolute(int v) { return abs(v) == (v < 0 ? -v : v); }
static bool collatz_ends(int v) {
    for (int steps = 0; v != 1; steps++) {
        if (steps > 200) return false;
        v = v % 2 ? 3 * v + 1 : v / 2;
    }
    return true;
}

static const RULE rules[] = {{"square positive", square_is_positive, -3, 3},
                             {"triangle", triangle_formula, 0, 50},
                             {"all ones", is_power_of_two_minus_one, 1, 10},
                             {"half and back", half_and_back, -4, 4},
                             {"shift divides", shift_divides, -5, 5},
                             {"mask is remainder", mask_is_remainder, 0, 100},
                             {"absolute", absolute, -10, 10},
                             {"collatz", collatz_ends, 1, 100},
                             {"mask is remainder below", mask_is_remainder, -9, 0}};

static int check(const RULE* r, int* first) {
    int broken = 0;
    for (int v = r->from; v <= r->to; v++) {
        if (r->holds(v)) continue;
        if (!broken++) *first = v;
    }
    return broken;
}

int main(void) {
    int bad_rules = 0;
    for (const RULE* r = rules; r != rules + sizeof rules / sizeof *rules; r++) {
        int first = 0, broken = check(r, &first);
        if (broken) {
            bad_rules++;
            printf("%s: broken %d times, first at %d\n", r->name, broken, first);
        } else {
            printf("%s: holds for %d..%d\n", r->name, r->from, r->to);
        }
    }
    printf("%d rules broken\n", bad_rules);
    return bad_rules;
}
