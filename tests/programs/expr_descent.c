/* Recursive-descent parser and evaluator of integer expressions: precedence, unary operators, errors, mutual
 * recursion. */
#include <ctype.h>
#include <stdio.h>
#include <string.h>

static const char* text;
static const char* error;
static int error_at;
static const char* start;

static long long conditional(void);

static void fail(const char* what) {
    if (!error) {
        error = what;
        error_at = (int)(text - start);
    }
}

static int accept(const char* op) {
    while (isspace((unsigned char)*text)) text++;
    int n = (int)strlen(op);
    if (strncmp(text, op, (size_t)n) != 0) return 0;
    /* "<" must not take half of "<<" or "<=", "&" not half of "&&" */
    if (n == 1 && strchr("<>&|=!", *op) && (text[1] == *op || (text[1] == '=' && *op != '&' && *op != '|'))) return 0;
    text += n;
    return 1;
}

static long long primary(void) {
    if (accept("(")) {
        long long v = conditional();
        if (!accept(")")) fail("missing )");
        return v;
    }
    if (isdigit((unsigned char)*text)) {
        long long v = 0;
        int base = 10;
        if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
            base = 16;
            text += 2;
        }
        for (;; text++) {
            int digit;
            if (isdigit((unsigned char)*text))
                digit = *text - '0';
            else if (base == 16 && isxdigit((unsigned char)*text))
                digit = tolower((unsigned char)*text) - 'a' + 10;
            else
                break;
            v = v * base + digit;
        }
        return v;
    }
    fail(*text ? "unexpected character" : "unexpected end");
    return 0;
}

static long long unary(void) {
    if (accept("-")) return -unary();
    if (accept("+")) return unary();
    if (accept("~")) return ~unary();
    if (accept("!")) return !unary();
    return primary();
}

static long long binary(int level) {
    static const char* const ops[][5] = {
        {"||"},       {"&&"},     {"|"},          {"^"}, {"&"}, {"==", "!="}, {"<=", ">=", "<", ">"},
        {"<<", ">>"}, {"+", "-"}, {"*", "/", "%"}};
    if (level == 10) return unary();
    long long left = binary(level + 1);
    for (;;) {
        int which = 0;
        while (ops[level][which] && !accept(ops[level][which])) which++;
        if (!ops[level][which]) return left;
        long long right = binary(level + 1);
        switch (level * 8 + which) {
        case 0: left = left || right; break;
        case 8: left = left && right; break;
        case 16: left |= right; break;
        case 24: left ^= right; break;
        case 32: left &= right; break;
        case 40: left = left == right; break;
        case 41: left = left != right; break;
        case 48: left = left <= right; break;
        case 49: left = left >= right; break;
        case 50: left = left < right; break;
        case 51: left = left > right; break;
        case 56: left = (long long)((unsigned long long)left << (right & 63)); break;
        case 57: left >>= right & 63; break;
        case 64: left += right; break;
        case 65: left -= right; break;
        case 72: left *= right; break;
        case 73:
        case 74:
            if (right == 0) {
                fail("division by zero");
                return 0;
            }
            left = which == 1 ? left / right : left % right;
            break;
        }
    }
}

static long long conditional(void) {
    long long c = binary(0);
    if (!accept("?")) return c;
    long long a = conditional();
    if (!accept(":")) fail("missing :");
    long long b = conditional();
    return c ? a : b;
}

static void evaluate(const char* s) {
    start = text = s;
    error = 0;
    long long v = conditional();
    while (*text == ' ') text++;
    if (!error && *text) fail("trailing text");
    if (error)
        printf("%s => %s at %d\n", s, error, error_at);
    else
        printf("%s => %lld\n", s, v);
}

int main(void) {
    static const char* const inputs[] = {"1 + 2 * 3",
                                         "(1 + 2) * 3",
                                         "2 - 3 - 4",
                                         "100 / 7 % 5",
                                         "-5 / 2",
                                         "-5 % 2",
                                         "1 << 40",
                                         "0xff & ~0x0F",
                                         "1 < 2 == 2 > 1",
                                         "!0 + !7",
                                         "3 & 5 | 8 ^ 1",
                                         "1 ? 2 ? 3 : 4 : 5",
                                         "0 ? 1 : 0 ? 2 : 3",
                                         "0x7fffffff * 2 + 1",
                                         "--4 - -3",
                                         "(1 || 0) && (0 || 2)",
                                         "5 >= 5 && 5 <= 4",
                                         "7 / (3 - 3)",
                                         "(1 + 2",
                                         "2 +",
                                         "3 $ 4",
                                         "12 34"};
    for (unsigned i = 0; i < sizeof inputs / sizeof *inputs; i++) evaluate(inputs[i]);
    return 0;
}
