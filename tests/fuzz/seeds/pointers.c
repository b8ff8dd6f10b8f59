static int one(int x) { return x + 1; }
static int two(int x) { return x * 2; }
static int (*const table[2])(int) = {one, two};
static const char* names[] = {"one", "two", 0};
static volatile int ready;
int main(void) {
    int a[6] = {1, 2, 3}, *p = a, n = 0;
    while (p != a + 6) n += table[n & 1](*p++);
    for (const char** s = names; *s; s++) n += (*s)[1];
    ready = n;
    return ready - n + (int)(p - a);
}
