/* Interpreter of the eight-instruction tape language with precomputed jumps; runs three programs against a step
 * limit. */
#include <stdio.h>
#include <string.h>

#define TAPE 64

struct result {
    char text[80];
    int length;
    long long steps;
    const char* error;
};

static const char* match_brackets(const char* p, short* jump) {
    int stack[20], top = 0;
    for (int i = 0; p[i]; i++) {
        if (p[i] == '[') {
            if (top == 20) return "too deep";
            stack[top++] = i;
        } else if (p[i] == ']') {
            if (!top) return "unmatched ]";
            int open = stack[--top];
            jump[i] = (short)open;
            jump[open] = (short)i;
        }
    }
    return top ? "unmatched [" : NULL;
}

static struct result run(const char* p, const char* input) {
    struct result r = {.length = 0};
    static short jump[400];
    unsigned short tape[TAPE];
    unsigned short* cell = tape;
    memset(jump, 0, sizeof jump);
    memset(tape, 0, sizeof tape);
    if ((r.error = match_brackets(p, jump)) != NULL) return r;
    for (const char* ip = p; *ip; ip++, r.steps++) {
        switch (*ip) {
        case '>':
            if (++cell == tape + TAPE) cell = tape;
            continue;
        case '<':
            if (cell == tape) cell = tape + TAPE;
            --cell;
            continue;
        case '+': *cell = (unsigned short)((*cell + 1) & 0xff); continue;
        case '-': *cell = (unsigned short)((*cell - 1) & 0xff); continue;
        case '.':
            if (r.length == 79) {
                r.error = "too much output";
                return r;
            }
            r.text[r.length++] = (char)(*cell & 0x7f);
            break;
        case ',': *cell = (unsigned short)(*input ? *input++ & 0xff : 0); break;
        case '[':
            if (!*cell) ip = p + jump[ip - p];
            break;
        case ']':
            if (*cell) ip = p + jump[ip - p];
            break;
        default: break;
        }
        if (r.steps > 500000) {
            r.error = "step limit";
            return r;
        }
    }
    r.text[r.length] = '\0';
    return r;
}

int main(void) {
    static const char hello[] =
        "++++++++[>++++[>++>+++>+++>+<<<<-]>+>+>->>+[<]<-]>>.>---.+++++++..+++.>>.<-.<.+++.------."
        "--------.>>+.";
    static const struct {
        const char *title, *program, *input;
    } tests[] = {
        {"hello", hello, ""},
        {"echo upper", ",[--------------------------------.,]", "interpreter"},
        {"reverse", ">,[>,]<[.<]", "stressed"},
        {"alphabet", "++++++++[>++++++++<-]>+>++++++++++++++++++++++++++[<.+>-]", ""},
        {"wrap", "-<->[<+>-]<[>++++++<-]>.", ""},
        {"open", "+[", ""},
        {"close", "+]", ""},
        {"endless", "+[>+<]", ""},
    };
    for (unsigned i = 0; i < sizeof tests / sizeof tests[0]; i++) {
        struct result r = run(tests[i].program, tests[i].input);
        printf("%s: ", tests[i].title);
        if (r.error) {
            printf("%s after %lld steps\n", r.error, r.steps);
            continue;
        }
        for (int k = 0; k < r.length; k++) {
            int c = r.text[k];
            if (c == '\n')
                printf("\\n");
            else if (c < ' ' || c == 127)
                printf("\\%o", (unsigned)c);
            else
                putchar(c);
        }
        printf(" (%lld steps)\n", r.steps);
    }
    return 0;
}
