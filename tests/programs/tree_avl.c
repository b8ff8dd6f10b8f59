/* AVL tree with heights kept in short fields, rotations, range sums; nodes from a static pool by index. */
#include <stdio.h>

#define POOL 200

typedef unsigned short LINK;

static struct avl {
    int key;
    LINK left, right;
    short height, copies;
} pool[POOL];
static LINK used = 1; /* 0 is the empty tree */
static int rotations;

static int height(LINK t) { return pool[t].height; }

static void update(LINK t) {
    int l = height(pool[t].left), r = height(pool[t].right);
    pool[t].height = (short)((l > r ? l : r) + 1);
}

static LINK rotate_right(LINK t) {
    LINK l = pool[t].left;
    pool[t].left = pool[l].right;
    pool[l].right = t;
    update(t);
    update(l);
    rotations++;
    return l;
}

static LINK rotate_left(LINK t) {
    LINK r = pool[t].right;
    pool[t].right = pool[r].left;
    pool[r].left = t;
    update(t);
    update(r);
    rotations++;
    return r;
}

static LINK balance(LINK t) {
    update(t);
    int lean = height(pool[t].left) - height(pool[t].right);
    if (lean > 1) {
        LINK l = pool[t].left;
        if (height(pool[l].left) < height(pool[l].right)) pool[t].left = rotate_left(l);
        return rotate_right(t);
    }
    if (lean < -1) {
        LINK r = pool[t].right;
        if (height(pool[r].right) < height(pool[r].left)) pool[t].right = rotate_right(r);
        return rotate_left(t);
    }
    return t;
}

static LINK insert(LINK t, int key) {
    if (!t) {
        t = used++;
        pool[t] = (struct avl){.key = key, .height = 1, .copies = 1};
        return t;
    }
    if (key == pool[t].key) {
        pool[t].copies++;
        return t;
    }
    if (key < pool[t].key) {
        LINK l = insert(pool[t].left, key);
        pool[t].left = l;
    } else {
        LINK r = insert(pool[t].right, key);
        pool[t].right = r;
    }
    return balance(t);
}

static LINK erase(LINK t, int key) {
    if (!t) return 0;
    if (key < pool[t].key) {
        pool[t].left = erase(pool[t].left, key);
    } else if (key > pool[t].key) {
        pool[t].right = erase(pool[t].right, key);
    } else {
        if (!pool[t].left || !pool[t].right) return pool[t].left ? pool[t].left : pool[t].right;
        LINK s = pool[t].right;
        while (pool[s].left) s = pool[s].left;
        pool[t].key = pool[s].key;
        pool[t].copies = pool[s].copies;
        pool[t].right = erase(pool[t].right, pool[s].key);
    }
    return balance(t);
}

static long long range_sum(LINK t, int low, int high) {
    if (!t) return 0;
    long long s = 0;
    if (pool[t].key > low) s += range_sum(pool[t].left, low, high);
    if (pool[t].key >= low && pool[t].key <= high) s += (long long)pool[t].key * pool[t].copies;
    if (pool[t].key < high) s += range_sum(pool[t].right, low, high);
    return s;
}

/* height if order and balance hold everywhere, else -1 */
static int check(LINK t, int low, int high) {
    if (!t) return 0;
    if (pool[t].key < low || pool[t].key > high) return -1;
    int l = check(pool[t].left, low, pool[t].key - 1), r = check(pool[t].right, pool[t].key + 1, high);
    if (l < 0 || r < 0 || l - r > 1 || r - l > 1) return -1;
    return 1 + (l > r ? l : r);
}

int main(void) {
    LINK root = 0;
    for (int i = 0; i < 100; i++) root = insert(root, i);
    printf("ascending: height %d, checked %d, rotations %d\n", height(root), check(root, -1000, 1000), rotations);
    for (int i = 0; i < 50; i++) root = insert(root, (i * 37) % 101 * 2 - 100);
    printf("mixed: height %d, checked %d\n", height(root), check(root, -1000, 1000));
    long long all = 0, part = 0;
    for (int i = 0; i < 100; i++) {
        all += i;
        part += i >= 20 && i <= 45 ? i : 0;
    }
    for (int i = 0; i < 50; i++) {
        int v = (i * 37) % 101 * 2 - 100;
        all += v;
        part += v >= 20 && v <= 45 ? v : 0;
    }
    printf("sums %lld %lld, %lld %lld\n", range_sum(root, -1000, 1000), all, range_sum(root, 20, 45), part);
    int broken = 0;
    for (int i = 0; i < 100; i += 3) {
        root = erase(root, i);
        broken += check(root, -1000, 1000) < 0;
    }
    printf("erased: height %d, broken %d, root %d, used %d\n", height(root), broken, pool[root].key, used);
    printf("sum of 0..9 left %lld\n", range_sum(root, 0, 9));
    return 0;
}
