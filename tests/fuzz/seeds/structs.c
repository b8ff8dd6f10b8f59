struct pair { short a; int b; };
union either { int i; float f; struct pair p; };
struct bits { unsigned low : 3; int : 0; signed mid : 7; unsigned : 2; unsigned high : 5; };
static struct pair swap(struct pair p) {
    struct pair q = {(short)p.b, p.a};
    return q;
}
static struct bits flags = {5, -3, 17};
int main(void) {
    union either e = {.p = {3, 4}};
    struct pair all[3] = {[1] = {1, 2}, e.p};
    all[0] = swap(all[1]);
    flags.mid += all[0].a;
    flags.high ^= flags.low;
    return flags.mid + (int)flags.high + all[2].b;
}
