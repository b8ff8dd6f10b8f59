/* A stack machine: opcode switch with fall-through, call stack, jumps patched by a tiny assembler; runs three
 * programs. */
#include <stdio.h>
#include <string.h>

enum op {
    HALT,
    PUSH,
    POP,
    DUP,
    SWAP,
    OVER,
    ADD,
    SUB,
    MUL,
    DIV,
    MOD,
    LT,
    EQ,
    NOT,
    JMP,
    JZ,
    CALL,
    RET,
    LOAD,
    STORE,
    PRINT
};

static const char* const names[] = {"halt", "push", "pop", "dup", "swap", "over", "add", "sub",  "mul",   "div",  "mod",
                                    "lt",   "eq",   "not", "jmp", "jz",   "call", "ret", "load", "store", "print"};

typedef struct {
    int code[200];
    int size;
} PROGRAM;

static int has_operand(int op) {
    return op == PUSH || op == JMP || op == JZ || op == CALL || op == LOAD || op == STORE;
}

/* words separated by blanks; "name:" is a label, "=name" its address */
static int assemble(const char* source, PROGRAM* p) {
    struct {
        char name[12];
        int at;
    } labels[16], uses[32];
    int label_count = 0, use_count = 0;
    p->size = 0;
    while (*source) {
        char word[16];
        int n = 0;
        while (*source == ' ') source++;
        while (*source && *source != ' ') word[n++] = *source++;
        if (n == 0) break;
        word[n] = 0;
        if (word[n - 1] == ':') {
            word[n - 1] = 0;
            strcpy(labels[label_count].name, word);
            labels[label_count++].at = p->size;
        } else if (word[0] == '=') {
            strcpy(uses[use_count].name, word + 1);
            uses[use_count++].at = p->size++;
        } else if ((word[0] >= '0' && word[0] <= '9') || word[0] == '-') {
            int v = 0, negative = word[0] == '-';
            for (char* s = word + negative; *s; s++) v = v * 10 + (*s - '0');
            p->code[p->size++] = negative ? -v : v;
        } else {
            int op = 0;
            while (op <= PRINT && strcmp(names[op], word) != 0) op++;
            if (op > PRINT) return 0;
            p->code[p->size++] = op;
        }
    }
    for (int u = 0; u < use_count; u++) {
        int l = 0;
        while (l < label_count && strcmp(labels[l].name, uses[u].name) != 0) l++;
        if (l == label_count) return 0;
        p->code[uses[u].at] = labels[l].at;
    }
    return 1;
}

static int run(const PROGRAM* p, int* steps) {
    int stack[64], calls[64], memory[8] = {0};
    int sp = 0, cp = 0, pc = 0;
    for (*steps = 0;; ++*steps) {
        int op = p->code[pc++], operand = has_operand(op) ? p->code[pc++] : 0, t;
        switch (op) {
        case HALT: return sp ? stack[sp - 1] : 0;
        case OVER:
            stack[sp] = stack[sp - 2];
            sp++;
            break;
        case DUP: operand = stack[sp - 1]; /* fall through */
        case PUSH: stack[sp++] = operand; break;
        case POP: sp--; break;
        case SWAP:
            t = stack[sp - 1];
            stack[sp - 1] = stack[sp - 2];
            stack[sp - 2] = t;
            break;
        case SUB: stack[sp - 1] = -stack[sp - 1]; /* fall through */
        case ADD:
            sp--;
            stack[sp - 1] += stack[sp];
            break;
        case MUL:
            sp--;
            stack[sp - 1] *= stack[sp];
            break;
        case DIV:
        case MOD:
            sp--;
            if (stack[sp] == 0) return -999;
            if (op == DIV)
                stack[sp - 1] /= stack[sp];
            else
                stack[sp - 1] %= stack[sp];
            break;
        case LT:
            sp--;
            stack[sp - 1] = stack[sp - 1] < stack[sp];
            break;
        case EQ:
            sp--;
            stack[sp - 1] = stack[sp - 1] == stack[sp];
            break;
        case NOT: stack[sp - 1] = !stack[sp - 1]; break;
        case CALL: calls[cp++] = pc; /* fall through */
        case JMP: pc = operand; break;
        case JZ:
            if (stack[--sp] == 0) pc = operand;
            break;
        case RET: pc = calls[--cp]; break;
        case LOAD: stack[sp++] = memory[operand]; break;
        case STORE: memory[operand] = stack[--sp]; break;
        case PRINT: printf(" %d", stack[--sp]); break;
        default: return -1000;
        }
        if (*steps > 100000) return -1001;
    }
}

int main(void) {
    static const struct {
        const char *title, *source;
    } programs[] = {
        {"factorial",
         "push 10 call =f halt f: dup push 2 lt jz =more pop push 1 ret more: dup push 1 sub call =f mul ret"},
        {"primes", "push 2 store 0 next: push 2 store 1 try: load 1 dup mul load 0 swap lt jz =test "
                   "load 0 print jmp =step test: load 0 load 1 mod jz =step load 1 push 1 add store 1 jmp =try "
                   "step: load 0 push 1 add dup store 0 push 60 lt not jz =next load 0 halt"},
        {"gcd", "push 1071 push 462 loop: dup jz =end swap over mod jmp =loop end: pop halt"},
        {"collatz", "push 27 store 0 push 0 go: load 0 push 1 eq not jz =out push 1 add load 0 push 2 mod jz =even "
                    "load 0 push 3 mul push 1 add store 0 jmp =go even: load 0 push 2 div store 0 jmp =go out: halt"},
        {"division", "push 1 push 0 div halt"},
        {"endless", "again: jmp =again"},
        {"unknown", "push 1 frobnicate halt"},
    };
    for (unsigned i = 0; i < sizeof programs / sizeof programs[0]; i++) {
        PROGRAM p;
        printf("%s:", programs[i].title);
        if (!assemble(programs[i].source, &p)) {
            printf(" does not assemble\n");
            continue;
        }
        int steps, result = run(&p, &steps);
        printf(" => %d (%d words, %d steps)\n", result, p.size, steps);
    }
    return 0;
}
