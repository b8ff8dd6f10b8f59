/* qsort and bsearch with comparison callbacks: structs, pointers to strings, multi-key order, missing keys. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct {
    const char* name;
    int age;
    double score;
} PERSON;

static int comparisons;

static int by_name(const void* a, const void* b) {
    comparisons++;
    return strcmp(((const PERSON*)a)->name, ((const PERSON*)b)->name);
}

static int by_age_then_name(const void* a, const void* b) {
    const PERSON *p = a, *q = b;
    if (p->age != q->age) return p->age < q->age ? -1 : 1;
    return by_name(a, b);
}

static int by_score_down(const void* a, const void* b) {
    double x = ((const PERSON*)a)->score, y = ((const PERSON*)b)->score;
    return (x < y) - (x > y);
}

static int by_text(const void* a, const void* b) { return strcmp(*(const char* const*)a, *(const char* const*)b); }

static int by_length(const void* a, const void* b) {
    int p = (int)strlen(*(char*const*)a), q = (int)strlen(*(char*const*)b);
    return p != q ? p - q : by_text(a, b);
}

static int by_int(const void* a, const void* b) {
    int x = *(const int*)a, y = *(const int*)b;
    return x < y ? -1 : x > y;
}

static int key_against_person(const void* key, const void* member) {
    return strcmp(key, ((const PERSON*)member)->name);
}

static void show(const char* title, const PERSON* p, int n) {
    printf("%s:", title);
    for (int i = 0; i < n; i++) printf(" %s/%d/%.2f", p[i].name, p[i].age, p[i].score);
    putchar('\n');
}

int main(void) {
    PERSON people[] = {{"Ute", 31, 2.5},  {"Ann", 45, 1.25}, {"Max", 31, 3.75}, {"Eva", 19, 0.5},
                       {"Bob", 45, 4.25}, {"Jim", 31, 1.0},  {"Zoe", 27, 2.0}};
    int n = (int)(sizeof people / sizeof people[0]);
    qsort(people, (size_t)n, sizeof people[0], by_age_then_name);
    show("age", people, n);
    qsort(people, (size_t)n, sizeof people[0], by_score_down);
    show("score", people, n);
    qsort(people, (size_t)n, sizeof people[0], by_name);
    show("name", people, n);
    printf("compared: %s\n", comparisons >= n - 1 ? "yes" : "no");

    static const char* const wanted[] = {"Ann", "Zoe", "Max", "Pia", "Aaa", "Zzz"};
    for (int i = 0; i < 6; i++) {
        const PERSON* p = bsearch(wanted[i], people, (size_t)n, sizeof *p, key_against_person);
        if (p)
            printf("%s: %d years, index %d\n", wanted[i], p->age, (int)(p - people));
        else
            printf("%s: none\n", wanted[i]);
    }

    const char* words[] = {"while", "do", "for", "switch", "if", "goto", "return", "case"};
    qsort(words, 8, sizeof words[0], by_text);
    for (int i = 0; i < 8; i++) printf("%s ", words[i]);
    putchar('\n');
    qsort(words, 8, sizeof words[0], by_length);
    for (int i = 0; i < 8; i++) printf("%s ", words[i]);
    putchar('\n');

    int numbers[101], hits = 0;
    for (int i = 0; i < 101; i++) numbers[i] = (i * 37) % 101 * 3;
    qsort(numbers, 101, sizeof numbers[0], by_int);
    for (int v = -1; v < 310; v++) {
        int* hit = bsearch(&v, numbers, 101, sizeof v, by_int);
        if (hit) {
            hits++;
            if (*hit != v || hit - numbers != v / 3) printf("wrong hit for %d\n", v);
        } else if (v % 3 == 0 && v >= 0 && v <= 300) {
            printf("%d not found\n", v);
        }
    }
    printf("hits %d\n", hits);
    return 0;
}
