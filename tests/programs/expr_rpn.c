/* Shunting-yard translation to postfix, evaluation through a table of function pointers, and a tree printed back. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef int (*BINARY)(int, int);

static int op_add(int a, int b) { return a + b; }
static int op_sub(int a, int b) { return a - b; }
static int op_mul(int a, int b) { return a * b; }
static int op_div(int a, int b) { return b ? a / b : 0; }
static int op_pow(int a, int b) {
    int r = 1;
    while (b-- > 0) r *= a;
    return r;
}

static const struct operator_info {
    char symbol;
    int precedence;
    int right;
    BINARY apply;
} operators[] = {
    {'+', 1, 0, op_add}, {'-', 1, 0, op_sub}, {'*', 2, 0, op_mul}, {'/', 2, 0, op_div}, {'^', 3, 1, op_pow},
};

static const struct operator_info* find_operator(char c) {
    for (unsigned i = 0; i < sizeof operators / sizeof operators[0]; i++)
        if (operators[i].symbol == c) return &operators[i];
    return NULL;
}

typedef struct {
    char text[80];
    int n;
} OUTPUT;

static void emit(OUTPUT* o, char c) {
    o->text[o->n++] = c;
    o->text[o->n] = '\0';
}

static OUTPUT to_postfix(const char* s) {
    OUTPUT out = {"", 0};
    char stack[40];
    int top = 0;
    for (; *s; s++) {
        const struct operator_info* op;
        if (*s >= '0' && *s <= '9') {
            emit(&out, *s);
        } else if (*s == '(') {
            stack[top++] = *s;
        } else if (*s == ')') {
            while (stack[top - 1] != '(') emit(&out, stack[--top]);
            top--;
        } else if ((op = find_operator(*s)) != NULL) {
            while (top > 0 && stack[top - 1] != '(') {
                const struct operator_info* other = find_operator(stack[top - 1]);
                if (other->precedence > op->precedence || (other->precedence == op->precedence && !op->right))
                    emit(&out, stack[--top]);
                else
                    break;
            }
            stack[top++] = *s;
        }
    }
    while (top > 0) emit(&out, stack[--top]);
    return out;
}

static int evaluate(const OUTPUT* o) {
    int stack[40], top = 0;
    for (int i = 0; i < o->n; i++) {
        const struct operator_info* op = find_operator(o->text[i]);
        if (op) {
            top--;
            stack[top - 1] = op->apply(stack[top - 1], stack[top]);
        } else {
            stack[top++] = o->text[i] - '0';
        }
    }
    return stack[0];
}

typedef struct tree {
    char symbol;
    struct tree *left, *right;
} TREE;

static TREE* build(const OUTPUT* o, int* position) {
    TREE* t = calloc(1, sizeof *t);
    t->symbol = o->text[--*position];
    if (find_operator(t->symbol)) {
        t->right = build(o, position);
        t->left = build(o, position);
    }
    return t;
}

static void print_infix(const TREE* t, int outer) {
    const struct operator_info* op = find_operator(t->symbol);
    if (!op) {
        putchar(t->symbol);
        return;
    }
    int brackets = op->precedence < outer;
    if (brackets) putchar('[');
    print_infix(t->left, op->precedence + op->right);
    putchar(t->symbol);
    print_infix(t->right, op->precedence + !op->right);
    if (brackets) putchar(']');
}

static int depth_and_free(TREE* t) {
    if (!t) return 0;
    int l = depth_and_free(t->left), r = depth_and_free(t->right);
    free(t);
    return 1 + (l > r ? l : r);
}

int main(void) {
    static const char* const inputs[] = {"1+2*3",     "(1+2)*3",       "9-4-3",         "9-(4-3)",        "2^3^2",
                                         "(2^3)^2",   "8/4/2",         "8/(4/2)",       "1+2+3+4+5",      "((((7))))",
                                         "2*(3+4)*5", "(1+2)*(3+4)-5", "9/(5-5)+1*2^4", "(((1+2)))*3-(4)"};
    for (int i = 0; i < (int)(sizeof inputs / sizeof inputs[0]); i++) {
        OUTPUT o = to_postfix(inputs[i]);
        int value = evaluate(&o), position = o.n;
        TREE* t = build(&o, &position);
        printf("%s | %s = %d | ", inputs[i], o.text, value);
        print_infix(t, 0);
        printf(" | depth %d%s\n", depth_and_free(t), position == 0 ? "" : " left over");
    }
    return 0;
}
