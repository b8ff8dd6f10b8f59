/* State machine that strips comments from C text and counts its parts: nested switch, enum states, string scanning. */
#include <stdio.h>
#include <string.h>

enum state { CODE, SLASH, LINE_COMMENT, BLOCK_COMMENT, STAR, STRING, STRING_ESCAPE, CHARACTER, CHARACTER_ESCAPE };

struct counts {
    int code, comments, strings, characters, lines;
};

static enum state step(enum state s, char c, char* out, int* n, struct counts* k) {
    switch (s) {
    case CODE:
        switch (c) {
        case '/': return SLASH;
        case '"':
            k->strings++;
            out[(*n)++] = c;
            return STRING;
        case '\'':
            k->characters++;
            out[(*n)++] = c;
            return CHARACTER;
        default: out[(*n)++] = c; return CODE;
        }
    case SLASH:
        if (c == '/') {
            k->comments++;
            return LINE_COMMENT;
        }
        if (c == '*') {
            k->comments++;
            return BLOCK_COMMENT;
        }
        out[(*n)++] = '/';
        return step(CODE, c, out, n, k);
    case LINE_COMMENT:
        if (c == '\n') {
            out[(*n)++] = c;
            return CODE;
        }
        return s;
    case BLOCK_COMMENT:
        if (c == '\n') out[(*n)++] = c;
        return c == '*' ? STAR : s;
    case STAR:
        if (c == '/') {
            out[(*n)++] = ' ';
            return CODE;
        }
        return c == '*' ? STAR : BLOCK_COMMENT;
    case STRING:
    case CHARACTER:
        out[(*n)++] = c;
        if (c == '\\') return s == STRING ? STRING_ESCAPE : CHARACTER_ESCAPE;
        if (c == (s == STRING ? '"' : '\'')) return CODE;
        return s;
    case STRING_ESCAPE: out[(*n)++] = c; return STRING;
    case CHARACTER_ESCAPE: out[(*n)++] = c; return CHARACTER;
    }
    return CODE;
}

static int brackets(const char* s) {
    char stack[20];
    int top = 0;
    for (; *s; s++) {
        switch (*s) {
        case '(':
        case '[':
        case '{':
            if (top == 20) return -1;
            stack[top++] = *s;
            break;
        case ')':
        case ']':
        case '}': {
            char want = *s == ')' ? '(' : *s == ']' ? '[' : '{';
            if (top == 0 || stack[--top] != want) return -1;
            break;
        }
        default: break;
        }
    }
    return top;
}

int main(void) {
    static const char* const sources[] = {
        "int a; // first\nint b; /* second */ int c;\n",
        "x = y / z; /* a * b ** / **/ w = '\"';\n",
        "s = \"no // comment /* here */\"; // but here\n",
        "p = \"a \\\" b\" /* \"not a string\" */ ; c = '\\''; d = '/';\n",
        "/* over\ntwo lines */int f(int v[3]) { return v[(1)]; }\n",
        "a = b //* tricky\n/c;\n",
        "open /* never closed\n",
        "f(]",
    };
    for (unsigned i = 0; i < sizeof sources / sizeof sources[0]; i++) {
        char out[120];
        int n = 0;
        struct counts k = {0};
        enum state s = CODE;
        for (const char* p = sources[i]; *p; p++) {
            s = step(s, *p, out, &n, &k);
            if (*p == '\n') k.lines++;
        }
        out[n] = '\0';
        for (int j = 0; j < n; j++)
            if (out[j] != ' ' && out[j] != '\n') k.code++;
        printf("%s[%d code, %d comments, %d strings, %d characters, %d lines, end %d, brackets %d]\n", out, k.code,
               k.comments, k.strings, k.characters, k.lines, (int)s, brackets(out));
    }
    return 0;
}
