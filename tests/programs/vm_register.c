/* A register machine with encoded 32-bit instructions, decoded by bit fields and dispatched through a table of
 * handlers. */
#include <stdint.h>
#include <stdio.h>

typedef struct machine MACHINE;
typedef void (*HANDLER)(MACHINE*, unsigned a, unsigned b, int c);

struct machine {
    int32_t r[16];
    uint32_t pc;
    uint32_t executed;
    int halted;
    int16_t data[64];
    const uint32_t* code;
};

#define I(op, a, b, c) ((uint32_t)(op) << 26 | (uint32_t)(a) << 22 | (uint32_t)(b) << 18 | ((uint32_t)(c)&0x3ffffu))

enum {
    OP_HALT,
    OP_LI,
    OP_ADD,
    OP_ADDI,
    OP_SUB,
    OP_MUL,
    OP_LD,
    OP_ST,
    OP_BEQ,
    OP_BLT,
    OP_JAL,
    OP_JR,
    OP_SHR,
    OP_AND,
    OP_COUNT
};

static void op_halt(MACHINE* m, unsigned a, unsigned b, int c) {
    (void)a;
    (void)b;
    (void)c;
    m->halted = 1;
}
static void op_li(MACHINE* m, unsigned a, unsigned b, int c) {
    (void)b;
    m->r[a] = c;
}
static void op_add(MACHINE* m, unsigned a, unsigned b, int c) {
    m->r[a] = (int32_t)((uint32_t)m->r[b] + (uint32_t)m->r[c & 15]);
}
static void op_addi(MACHINE* m, unsigned a, unsigned b, int c) { m->r[a] = m->r[b] + c; }
static void op_sub(MACHINE* m, unsigned a, unsigned b, int c) { m->r[a] = m->r[b] - m->r[c & 15]; }
static void op_mul(MACHINE* m, unsigned a, unsigned b, int c) { m->r[a] = m->r[b] * m->r[c & 15]; }
static void op_ld(MACHINE* m, unsigned a, unsigned b, int c) { m->r[a] = m->data[m->r[b] + c]; }
static void op_st(MACHINE* m, unsigned a, unsigned b, int c) { m->data[m->r[b] + c] = (int16_t)m->r[a]; }
static void op_beq(MACHINE* m, unsigned a, unsigned b, int c) {
    if (m->r[a] == m->r[b]) m->pc += (uint32_t)c;
}
static void op_blt(MACHINE* m, unsigned a, unsigned b, int c) {
    if (m->r[a] < m->r[b]) m->pc += (uint32_t)c;
}
static void op_jal(MACHINE* m, unsigned a, unsigned b, int c) {
    (void)b;
    m->r[a] = (int32_t)m->pc;
    m->pc += (uint32_t)c;
}
static void op_jr(MACHINE* m, unsigned a, unsigned b, int c) {
    (void)b;
    (void)c;
    m->pc = (uint32_t)m->r[a];
}
static void op_shr(MACHINE* m, unsigned a, unsigned b, int c) { m->r[a] = m->r[b] >> (c & 31); }
static void op_and(MACHINE* m, unsigned a, unsigned b, int c) { m->r[a] = m->r[b] & c; }

static const HANDLER handlers[OP_COUNT] = {
    [OP_HALT] = op_halt, [OP_LI] = op_li, [OP_ADD] = op_add, [OP_ADDI] = op_addi, [OP_SUB] = op_sub,
    [OP_MUL] = op_mul,   [OP_LD] = op_ld, [OP_ST] = op_st,   [OP_BEQ] = op_beq,   [OP_BLT] = op_blt,
    [OP_JAL] = op_jal,   [OP_JR] = op_jr, [OP_SHR] = op_shr, [OP_AND] = op_and};

static int sign_extend18(uint32_t v) {
    v &= 0x3ffffu;
    return v & 0x20000u ? (int)v - 0x40000 : (int)v;
}

static void execute(MACHINE* m, const uint32_t* code) {
    m->code = code;
    m->pc = 0;
    m->executed = 0;
    m->halted = 0;
    while (!m->halted && m->executed < 10000u) {
        uint32_t w = m->code[m->pc++];
        unsigned op = w >> 26;
        m->executed++;
        if (op >= OP_COUNT) {
            printf("illegal instruction %08x\n", (unsigned)w);
            return;
        }
        handlers[op](m, w >> 22 & 15u, w >> 18 & 15u, sign_extend18(w));
    }
}

/* insertion sort of data[0..r1-1] */
static const uint32_t sort_code[] = {
    I(OP_LI, 15, 0, 0),  I(OP_LI, 2, 0, 1),    I(OP_BLT, 2, 1, 1),  I(OP_HALT, 0, 0, 0),
    I(OP_LD, 3, 2, 0),   I(OP_ADDI, 4, 2, 0),  I(OP_BEQ, 4, 15, 6), I(OP_LD, 5, 4, -1),
    I(OP_BLT, 3, 5, 1),  I(OP_BEQ, 15, 15, 3), I(OP_ST, 5, 4, 0),   I(OP_ADDI, 4, 4, -1),
    I(OP_BEQ, 0, 0, -7), I(OP_ST, 3, 4, 0),    I(OP_ADDI, 2, 2, 1), I(OP_BEQ, 0, 0, -14)};

/* r0 = product of r1 and r2 by shift and add, through a subroutine */
static const uint32_t multiply_code[] = {I(OP_JAL, 14, 0, 1), I(OP_HALT, 0, 0, 0), I(OP_LI, 0, 0, 0),
                                         I(OP_LI, 15, 0, 0),  I(OP_BEQ, 2, 15, 6), I(OP_AND, 3, 2, 1),
                                         I(OP_BEQ, 3, 15, 1), I(OP_ADD, 0, 0, 1),  I(OP_ADD, 1, 1, 1),
                                         I(OP_SHR, 2, 2, 1),  I(OP_BEQ, 0, 0, -7), I(OP_JR, 14, 0, 0)};

/* r0 = sum of squares of data[0..r1-1], counted down */
static const uint32_t squares_code[] = {I(OP_LI, 0, 0, 0),    I(OP_LI, 15, 0, 0),  I(OP_BEQ, 1, 15, 5),
                                        I(OP_ADDI, 1, 1, -1), I(OP_LD, 4, 1, 0),   I(OP_MUL, 4, 4, 4),
                                        I(OP_ADD, 0, 0, 4),   I(OP_BEQ, 0, 0, -6), I(OP_HALT, 0, 0, 0)};

static const uint32_t bad_code[] = {I(OP_LI, 1, 0, 5), 0xffffffffu};

int main(void) {
    MACHINE m = {.r = {0}};
    int bad = 0;
    for (int a = 0; a < 300; a += 37) {
        for (int b = 0; b < 300; b += 41) {
            m.r[1] = a;
            m.r[2] = b;
            execute(&m, multiply_code);
            bad += m.r[0] != a * b;
        }
    }
    printf("products wrong: %d, last took %u\n", bad, (unsigned)m.executed);
    int sum = 0;
    for (int i = 0; i < 20; i++) {
        m.data[i] = (int16_t)(i * 7 % 20 - 9);
        sum += m.data[i] * m.data[i];
    }
    m.r[1] = 20;
    execute(&m, squares_code);
    printf("squares %d, expected %d, %u instructions\n", (int)m.r[0], sum, (unsigned)m.executed);
    m.r[1] = 20;
    execute(&m, sort_code);
    for (int i = 0; i < 20; i++) printf("%d ", m.data[i]);
    printf("in %u instructions\n", (unsigned)m.executed);
    m.r[1] = 1;
    execute(&m, sort_code);
    printf("one element: halted %d after %u\n", m.halted, (unsigned)m.executed);
    execute(&m, bad_code);
    printf("halted %d, r1 %d\n", m.halted, (int)m.r[1]);
    static const uint32_t negative[] = {I(OP_LI, 7, 0, -131072), I(OP_ADDI, 8, 7, 131071), I(OP_SUB, 9, 7, 8),
                                        I(OP_HALT, 0, 0, 0)};
    execute(&m, negative);
    printf("%d %d %d\n", (int)m.r[7], (int)m.r[8], (int)m.r[9]);
    return 0;
}
