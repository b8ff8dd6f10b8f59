/* Quick sort (recursive and with an explicit stack), bottom-up merge sort and heap sort; stability of the merge
 * sort. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define COUNT 500

typedef struct {
    int key;
    int order;
} ITEM;

static unsigned seed = 99u;

static int next_random(int limit) {
    seed = seed * 1664525u + 1013904223u;
    return (int)((seed >> 8) % (unsigned)limit);
}

static void quick_recursive(int* v, int low, int high) {
    while (low < high) {
        int pivot = v[low + (high - low) / 2], i = low, j = high;
        while (i <= j) {
            while (v[i] < pivot) i++;
            while (v[j] > pivot) j--;
            if (i <= j) {
                int t = v[i];
                v[i++] = v[j];
                v[j--] = t;
            }
        }
        if (j - low < high - i) {
            quick_recursive(v, low, j);
            low = i;
        } else {
            quick_recursive(v, i, high);
            high = j;
        }
    }
}

static int quick_stack(int* v, int n) {
    struct {
        int low, high;
    } stack[64];
    int top = 0, deepest = 0;
    stack[top].low = 0;
    stack[top++].high = n - 1;
    while (top > 0) {
        if (top > deepest) deepest = top;
        --top;
        int low = stack[top].low, high = stack[top].high;
        if (low >= high) continue;
        int pivot = v[high], split = low;
        for (int i = low; i < high; i++) {
            if (v[i] < pivot) {
                int t = v[i];
                v[i] = v[split];
                v[split] = t;
                split++;
            }
        }
        v[high] = v[split];
        v[split] = pivot;
        stack[top].low = low;
        stack[top++].high = split - 1;
        stack[top].low = split + 1;
        stack[top++].high = high;
    }
    return deepest;
}

static void merge_sort(ITEM* v, int n) {
    ITEM *buffer = malloc((size_t)n * sizeof *buffer), *from = v, *to = buffer;
    for (int width = 1; width < n; width *= 2) {
        for (int low = 0; low < n; low += 2 * width) {
            int mid = low + width < n ? low + width : n;
            int high = low + 2 * width < n ? low + 2 * width : n;
            int i = low, j = mid;
            for (int k = low; k < high; k++) {
                if (i < mid && (j >= high || from[i].key <= from[j].key))
                    to[k] = from[i++];
                else
                    to[k] = from[j++];
            }
        }
        ITEM* t = from;
        from = to;
        to = t;
    }
    if (from != v) memcpy(v, from, (size_t)n * sizeof *v);
    free(buffer);
}

static void sift_down(int* v, int root, int n) {
    int x = v[root];
    for (;;) {
        int child = 2 * root + 1;
        if (child >= n) break;
        if (child + 1 < n && v[child + 1] > v[child]) child++;
        if (v[child] <= x) break;
        v[root] = v[child];
        root = child;
    }
    v[root] = x;
}

static void heap_sort(int* v, int n) {
    for (int i = n / 2 - 1; i >= 0; i--) sift_down(v, i, n);
    for (int end = n - 1; end > 0; end--) {
        int t = v[0];
        v[0] = v[end];
        v[end] = t;
        sift_down(v, 0, end);
    }
}

static int sorted(const int* v, int n) {
    while (n-- > 1)
        if (v[n] < v[n - 1]) return 0;
    return 1;
}

int main(void) {
    static int a[COUNT], b[COUNT], c[COUNT];
    static ITEM items[COUNT];
    long long sum = 0, check = 0;
    for (int i = 0; i < COUNT; i++) {
        a[i] = b[i] = c[i] = items[i].key = next_random(200) - 100;
        items[i].order = i;
        sum += (long long)a[i] * a[i] * a[i];
    }
    quick_recursive(a, 0, COUNT - 1);
    int depth = quick_stack(b, COUNT);
    heap_sort(c, COUNT);
    merge_sort(items, COUNT);
    for (int i = 0; i < COUNT; i++) check += (long long)a[i] * a[i] * a[i];
    printf("sum of cubes kept: %d\n", sum == check);
    printf("quick %d, stack %d (deepest %d), heap %d\n", sorted(a, COUNT), sorted(b, COUNT), depth, sorted(c, COUNT));
    int same = 1, stable = 1;
    for (int i = 0; i < COUNT; i++) {
        same &= a[i] == b[i] && b[i] == c[i] && c[i] == items[i].key;
        if (i > 0 && items[i - 1].key == items[i].key) stable &= items[i - 1].order < items[i].order;
    }
    printf("same %d, stable %d\n", same, stable);
    printf("min %d, median %d, max %d\n", a[0], a[COUNT / 2], a[COUNT - 1]);
    int one = 7;
    quick_recursive(&one, 0, 0);
    heap_sort(&one, 1);
    printf("one element: %d\n", one);
    return 0;
}
