/* Singly linked lists: build, reverse in two ways, merge sort, pointer-to-pointer removal, cycle detection, split. */
#include <stdio.h>
#include <stdlib.h>

typedef struct node {
    int value;
    struct node* next;
} NODE;

static int allocated;

static NODE* cons(int v, NODE* next) {
    NODE* n = malloc(sizeof *n);
    n->value = v;
    n->next = next;
    allocated++;
    return n;
}

static NODE* from_range(int low, int high) { return low > high ? NULL : cons(low, from_range(low + 1, high)); }

static void show(const char* title, const NODE* l) {
    printf("%s:", title);
    for (; l; l = l->next) printf(" %d", l->value);
    printf("\n");
}

static NODE* reverse(NODE* l) {
    NODE* r = NULL;
    while (l) {
        NODE* n = l->next;
        l->next = r;
        r = l;
        l = n;
    }
    return r;
}

static NODE* reverse_recursive(NODE* l, NODE* done) {
    if (!l) return done;
    NODE* rest = l->next;
    l->next = done;
    return reverse_recursive(rest, l);
}

static NODE* merge(NODE* a, NODE* b) {
    NODE head, *tail = &head;
    while (a && b) {
        NODE** smaller = a->value <= b->value ? &a : &b;
        tail = tail->next = *smaller;
        *smaller = (*smaller)->next;
    }
    tail->next = a ? a : b;
    return head.next;
}

static NODE* sort(NODE* l) {
    if (!l || !l->next) return l;
    NODE *slow = l, *fast = l->next;
    while (fast && fast->next) {
        slow = slow->next;
        fast = fast->next->next;
    }
    NODE* second = slow->next;
    slow->next = NULL;
    return merge(sort(l), sort(second));
}

static int remove_if(NODE** link, int (*unwanted)(int)) {
    int n = 0;
    while (*link) {
        if (unwanted((*link)->value)) {
            NODE* dead = *link;
            *link = dead->next;
            free(dead);
            allocated--;
            n++;
        } else {
            link = &(*link)->next;
        }
    }
    return n;
}

static int is_odd(int v) { return v & 1; }
static int is_any(int v) {
    (void)v;
    return 1;
}
static int is_multiple_of_three(int v) { return v % 3 == 0; }

static void insert_sorted(NODE** link, int v) {
    while (*link && (*link)->value < v) link = &(*link)->next;
    *link = cons(v, *link);
}

static int cycle_length(const NODE* l) {
    const NODE *slow = l, *fast = l;
    while (fast && fast->next) {
        slow = slow->next;
        fast = fast->next->next;
        if (slow == fast) {
            int n = 1;
            for (fast = fast->next; fast != slow; fast = fast->next) n++;
            return n;
        }
    }
    return 0;
}

static NODE* nth(NODE* l, int n) {
    while (n-- && l) l = l->next;
    return l;
}

int main(void) {
    NODE* l = from_range(1, 10);
    show("range", l);
    l = reverse(l);
    show("reversed", l);
    l = reverse_recursive(l, NULL);
    show("back", l);
    printf("removed %d\n", remove_if(&l, is_odd));
    show("even", l);
    insert_sorted(&l, 5);
    insert_sorted(&l, 0);
    insert_sorted(&l, 99);
    show("inserted", l);
    NODE* random = NULL;
    unsigned seed = 7;
    for (int i = 0; i < 40; i++) {
        seed = (seed * 75u + 74u) % 65537u;
        random = cons((int)(seed % 100u), random);
    }
    random = sort(random);
    show("sorted", random);
    int ordered = 1, length = 0;
    for (NODE* p = random; p; p = p->next, length++)
        if (p->next && p->value > p->next->value) ordered = 0;
    printf("ordered %d, length %d\n", ordered, length);
    random = merge(random, l);
    remove_if(&random, is_multiple_of_three);
    show("merged, no threes", random);
    NODE* end = nth(random, 0);
    while (end->next) end = end->next;
    printf("cycle %d", cycle_length(random));
    end->next = nth(random, 3);
    int cycle = cycle_length(random), tail = 0;
    end->next = NULL;
    for (NODE* p = nth(random, 3); p; p = p->next) tail++;
    printf(", closed %d, expected %d\n", cycle, tail);
    remove_if(&random, is_any);
    printf("left %d\n", allocated);
    return 0;
}
