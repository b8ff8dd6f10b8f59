// Counts of small programs, worked out by hand from their trees.
//
// REQUIRES: front-end
// RUN: nxparse -DLOOP %s -o %t && nxrun --count=%t.json %t && FileCheck %s --check-prefix=LOOP --input-file=%t.json
// RUN: nxparse -DMEMORY %s -o %t && nxrun --count=%t.json %t && FileCheck %s --check-prefix=MEMORY --input-file=%t.json
// RUN: nxparse -DCALLS %s -o %t && nxrun --count=%t.json %t && FileCheck %s --check-prefix=CALLS --input-file=%t.json
// RUN: nxparse -DTESTS %s -o %t && nxrun --count=%t.json %t && FileCheck %s --check-prefix=TESTS --input-file=%t.json

#ifdef LOOP
// Read of g three times and at the end; the test runs four times and jumps once; the jump back runs three times.
// LOOP:      "loads": 4,
// LOOP-NEXT: "stores": 3,
// LOOP-NEXT: "ialu": 6,
// LOOP-NEXT: "imul": 0,
// LOOP-NEXT: "idiv": 0,
// LOOP-NEXT: "fop": 0,
// LOOP-NEXT: "cmp": 4,
// LOOP-NEXT: "conv": 0,
// LOOP-NEXT: "br_total": 7,
// LOOP-NEXT: "br_taken": 4,
// LOOP-NEXT: "calls": 0,
// LOOP-NEXT: "returns": 1,
// LOOP-NEXT: "total": 25,
// LOOP-NEXT: "cost": 31
int g = -3;
int main(void) {
    int i;
    for (i = 0; i < 3; i++) g = g + i;
    return g;
}
#elif defined MEMORY
// s[i]: load, add; widened. w[i]: load, scale, add. Copies of 3 * 32 bits and of 2 * 32 bits (the char is 16 bits wide
// and the struct 48, rounded up to 64). The quotient of two pointers' distance is no division.
// MEMORY:      "loads": 7,
// MEMORY-NEXT: "stores": 6,
// MEMORY-NEXT: "ialu": 7,
// MEMORY-NEXT: "imul": 0,
// MEMORY-NEXT: "idiv": 0,
// MEMORY-NEXT: "fop": 1,
// MEMORY-NEXT: "cmp": 0,
// MEMORY-NEXT: "conv": 2,
// MEMORY-NEXT: "br_total": 0,
// MEMORY-NEXT: "br_taken": 0,
// MEMORY-NEXT: "calls": 0,
// MEMORY-NEXT: "returns": 1,
// MEMORY-NEXT: "total": 24,
// MEMORY-NEXT: "cost": 38
struct three { int a, b, c; } p, q;
struct two { int a; char c; } r, t;
short s[4];
int w[4];
float f;
int main(void) {
    int i = 2, x, *from = w, *to = w;
    x = s[i];              // load, ialu; conv
    x = w[i];              // load, 2 ialu
    p = q;                 // 3 loads, 3 stores
    r = t;                 // 2 loads, 2 stores
    f = (float)i + 1.0f;   // conv, fop, store
    x = to - from;         // 2 ialu
    return x + i - 2;      // 2 ialu
}
#elif defined CALLS
// Scalar arguments and results are free; so is a local whose address nobody takes.
// CALLS:      "loads": 1,
// CALLS-NEXT: "stores": 2,
// CALLS-NEXT: "ialu": 3,
// CALLS-NEXT: "imul": 3,
// CALLS-NEXT: "idiv": 1,
// CALLS-NEXT: "fop": 0,
// CALLS-NEXT: "cmp": 0,
// CALLS-NEXT: "conv": 0,
// CALLS-NEXT: "br_total": 0,
// CALLS-NEXT: "br_taken": 0,
// CALLS-NEXT: "calls": 4,
// CALLS-NEXT: "returns": 5,
// CALLS-NEXT: "total": 19,
// CALLS-NEXT: "cost": 68
int square(int x) { return x * x; }
void set(int *to, int v) { *to = v; }
int main(void) {
    int a = square(2) + square(3) + square(4), b = 0; // 3 calls, 3 imul, 2 ialu; b is in memory: store
    set(&b, a);                                       // call, store
    return b / 29 - 1;                                // load, idiv, ialu
}
#else
// if (a) goto: one branch, which does not jump for 0 and does for 1. && and ||: a branch for each operand tested.
// TESTS:      "cmp": 3,
// TESTS-NEXT: "conv": 0,
// TESTS-NEXT: "br_total": 7,
// TESTS-NEXT: "br_taken": 3,
int main(void) {
    int a = 0, b = 1, x = 0;
    if (a) goto out;             // 1, goes on
    if (a && b == 1) x = 1;      // 1, jumps over the assignment
    if (a || b == 1) x += 2;     // 2: neither a nor the comparison jumps away
    x += b > 0 ? 4 : 8;          // 1, takes what stands next
    switch (x) {                 // 1, jumps to its case
    case 1: x = 9; break;
    case 6: x = x == 6; if (b) goto out; // 1, jumps
    }
    x = 7;
out:
    return x - 1;
}
#endif
