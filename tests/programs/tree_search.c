/* Binary search tree: insert, delete by pointer-to-pointer, traversals recursive and with a stack, level order,
 * checks. */
#include <stdio.h>
#include <stdlib.h>

typedef struct tree {
    int key;
    struct tree *left, *right;
} TREE;

static void insert(TREE** t, int key) {
    while (*t) {
        if (key == (*t)->key) return;
        t = key < (*t)->key ? &(*t)->left : &(*t)->right;
    }
    *t = calloc(1, sizeof **t);
    (*t)->key = key;
}

static int erase(TREE** t, int key) {
    while (*t && (*t)->key != key) t = key < (*t)->key ? &(*t)->left : &(*t)->right;
    TREE* dead = *t;
    if (!dead) return 0;
    if (dead->left && dead->right) {
        TREE** next = &dead->right;
        while ((*next)->left) next = &(*next)->left;
        TREE* moved = *next;
        dead->key = moved->key;
        *next = moved->right;
        free(moved);
    } else {
        *t = dead->left ? dead->left : dead->right;
        free(dead);
    }
    return 1;
}

static int height(const TREE* t) {
    if (!t) return 0;
    int l = height(t->left), r = height(t->right);
    return 1 + (l > r ? l : r);
}

static int count(const TREE* t) { return t ? count(t->left) + 1 + count(t->right) : 0; }

static int in_order(const TREE* t, int* out) {
    const TREE* stack[32];
    int top = 0, n = 0;
    while (t || top) {
        for (; t; t = t->left) stack[top++] = t;
        t = stack[--top];
        out[n++] = t->key;
        t = t->right;
    }
    return n;
}

static void pre_order(const TREE* t) {
    if (!t) {
        printf(".");
        return;
    }
    printf("(%d", t->key);
    pre_order(t->left);
    pre_order(t->right);
    printf(")");
}

static void level_order(const TREE* t) {
    const TREE* queue[64];
    int head = 0, tail = 0;
    if (t) queue[tail++] = t;
    while (head < tail) {
        int level_end = tail;
        while (head < level_end) {
            const TREE* n = queue[head++];
            printf("%d ", n->key);
            if (n->left) queue[tail++] = n->left;
            if (n->right) queue[tail++] = n->right;
        }
        printf("/ ");
    }
    printf("\n");
}

static int valid(const TREE* t, const int* low, const int* high) {
    if (!t) return 1;
    if ((low && t->key <= *low) || (high && t->key >= *high)) return 0;
    return valid(t->left, low, &t->key) && valid(t->right, &t->key, high);
}

static const TREE* common(const TREE* t, int a, int b) {
    while (t) {
        if (a < t->key && b < t->key)
            t = t->left;
        else if (a > t->key && b > t->key)
            t = t->right;
        else
            break;
    }
    return t;
}

static TREE* mirror(TREE* t) {
    if (!t) return NULL;
    TREE* l = mirror(t->left);
    t->left = mirror(t->right);
    t->right = l;
    return t;
}

static void destroy(TREE* t) {
    if (!t) return;
    destroy(t->left);
    destroy(t->right);
    free(t);
}

int main(void) {
    TREE* t = NULL;
    int keys[32];
    for (int i = 0; i < 24; i++) insert(&t, (i * 17 + 11) % 29);
    insert(&t, 11);
    printf("count %d, height %d, valid %d\n", count(t), height(t), valid(t, NULL, NULL));
    pre_order(t);
    printf("\n");
    level_order(t);
    int n = in_order(t, keys);
    for (int i = 0; i < n; i++) printf("%d ", keys[i]);
    printf("\n");
    printf("common %d %d %d\n", common(t, 0, 9)->key, common(t, 3, 27)->key, common(t, 13, 15)->key);
    int gone = 0;
    for (int k = 0; k < 29; k += 2) {
        gone += erase(&t, k);
        if (!valid(t, NULL, NULL)) printf("broken after %d\n", k);
    }
    int again = erase(&t, t->key);
    printf("gone %d, root again %d, count %d\n", gone, again, count(t));
    level_order(t);
    mirror(t);
    n = in_order(t, keys);
    int falling = 1;
    for (int i = 1; i < n; i++) falling &= keys[i - 1] > keys[i];
    printf("mirrored %d, valid %d\n", falling, valid(t, NULL, NULL));
    destroy(t);
    return 0;
}
