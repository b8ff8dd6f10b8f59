/* Insertion, selection, bubble, gnome, comb and shell sort on the same data: nested loops, early exits, array swaps. */
#include <stdio.h>
#include <string.h>

#define COUNT 64

static unsigned seed = 12345u;

static unsigned next_random(void) {
    seed = seed * 1103515245u + 12345u;
    return (seed >> 16) & 0x7fffu;
}

static void swap_ints(int* a, int* b) {
    int t = *a;
    *a = *b;
    *b = t;
}

static int insertion_sort(int* v, int n) {
    int moves = 0;
    for (int i = 1; i < n; i++) {
        int x = v[i], j = i;
        while (j > 0 && v[j - 1] > x) {
            v[j] = v[j - 1];
            j--;
            moves++;
        }
        v[j] = x;
    }
    return moves;
}

static int selection_sort(int* v, int n) {
    int moves = 0;
    for (int i = 0; i < n - 1; i++) {
        int best = i;
        for (int j = i + 1; j < n; j++)
            if (v[j] < v[best]) best = j;
        if (best != i) {
            swap_ints(&v[best], &v[i]);
            moves++;
        }
    }
    return moves;
}

static int bubble_sort(int* v, int n) {
    int moves = 0, swapped;
    do {
        swapped = 0;
        for (int i = 1; i < n; i++) {
            if (v[i - 1] <= v[i]) continue;
            swap_ints(v + i - 1, v + i);
            swapped = 1;
            moves++;
        }
        n--;
    } while (swapped);
    return moves;
}

static int gnome_sort(int* v, int n) {
    int moves = 0, i = 0;
    while (i < n) {
        if (i == 0 || v[i - 1] <= v[i]) {
            i++;
        } else {
            swap_ints(&v[i], &v[i - 1]);
            i--;
            moves++;
        }
    }
    return moves;
}

static int comb_sort(int* v, int n) {
    int gap = n, moves = 0, sorted = 0;
    while (!sorted) {
        gap = gap * 10 / 13;
        if (gap <= 1) {
            gap = 1;
            sorted = 1;
        }
        for (int i = 0; i + gap < n; i++) {
            if (v[i] > v[i + gap]) {
                swap_ints(&v[i], &v[i + gap]);
                sorted = 0;
                moves++;
            }
        }
    }
    return moves;
}

static int shell_sort(int* v, int n) {
    static const int gaps[] = {57, 23, 10, 4, 1};
    int moves = 0;
    for (unsigned g = 0; g < sizeof gaps / sizeof gaps[0]; g++) {
        int gap = gaps[g];
        for (int i = gap; i < n; i++) {
            int x = v[i], j;
            for (j = i; j >= gap && v[j - gap] > x; j -= gap) {
                v[j] = v[j - gap];
                moves++;
            }
            v[j] = x;
        }
    }
    return moves;
}

static int is_sorted(const int* v, int n) {
    for (int i = 1; i < n; i++)
        if (v[i - 1] > v[i]) return 0;
    return 1;
}

int main(void) {
    int data[COUNT], reference[COUNT], work[COUNT], inversions = 0;
    for (int i = 0; i < COUNT; i++) data[i] = (int)(next_random() % 1000u) - 500;
    for (int i = 0; i < COUNT; i++)
        for (int j = i + 1; j < COUNT; j++) inversions += data[i] > data[j];
    printf("inversions %d\n", inversions);

    memcpy(reference, data, sizeof data);
    int moves = insertion_sort(reference, COUNT);
    /* every move of insertion, bubble and gnome sort removes exactly one inversion */
    printf("insertion: sorted %d, moves as expected %d\n", is_sorted(reference, COUNT), moves == inversions);

    struct {
        const char* name;
        int (*sort)(int*, int);
    } sorts[] = {{"selection", selection_sort},
                 {"bubble", bubble_sort},
                 {"gnome", gnome_sort},
                 {"comb", comb_sort},
                 {"shell", shell_sort}};
    for (int s = 0; s < 5; s++) {
        memcpy(work, data, sizeof data);
        moves = sorts[s].sort(work, COUNT);
        printf("%s: sorted %d, same %d, moves %d\n", sorts[s].name, is_sorted(work, COUNT),
               memcmp(work, reference, sizeof work) == 0, moves);
    }
    for (int i = 0; i < COUNT; i += 9) printf("%d%c", reference[i], i + 9 < COUNT ? ' ' : '\n');
    return 0;
}
