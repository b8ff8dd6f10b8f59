/* Table-driven number recogniser: a const transition matrix over character classes with actions as function
 * pointers. */
#include <stdio.h>

enum cls { C_DIGIT, C_SIGN, C_POINT, C_EXP, C_SPACE, C_END, C_OTHER, CLASSES };
enum state { BEGIN, SIGNED, WHOLE, POINT, FRACTION, EXPONENT, EXP_SIGN, EXP_DIGITS, TAIL, DONE, FAILED, STATES };

typedef struct {
    int negative, exp_negative;
    long long mantissa;
    int scale, exponent, digits;
} NUMBER;

typedef void (*ACTION)(NUMBER*, char);

static void do_nothing(NUMBER* n, char c) {
    (void)n;
    (void)c;
}
static void take_sign(NUMBER* n, char c) { n->negative = c == '-'; }
static void take_digit(NUMBER* n, char c) {
    n->mantissa = n->mantissa * 10 + (c - '0');
    n->digits++;
}
static void take_fraction(NUMBER* n, char c) {
    take_digit(n, c);
    n->scale++;
}
static void take_exp_sign(NUMBER* n, char c) { n->exp_negative = c == '-'; }
static void take_exp_digit(NUMBER* n, char c) { n->exponent = n->exponent * 10 + (c - '0'); }

static const struct {
    enum state next;
    ACTION act;
} machine[STATES][CLASSES] = {
#define GO(s, a)                                                                                                       \
    { s, a }
#define NO GO(FAILED, do_nothing)
    [BEGIN] = {GO(WHOLE, take_digit), GO(SIGNED, take_sign), GO(POINT, do_nothing), NO, GO(BEGIN, do_nothing), NO, NO},
    [SIGNED] = {GO(WHOLE, take_digit), NO, GO(POINT, do_nothing), NO, NO, NO, NO},
    [WHOLE] = {GO(WHOLE, take_digit), NO, GO(FRACTION, do_nothing), GO(EXPONENT, do_nothing), GO(TAIL, do_nothing),
               GO(DONE, do_nothing), NO},
    [POINT] = {GO(FRACTION, take_fraction), NO, NO, NO, NO, NO, NO},
    [FRACTION] = {GO(FRACTION, take_fraction), NO, NO, GO(EXPONENT, do_nothing), GO(TAIL, do_nothing),
                  GO(DONE, do_nothing), NO},
    [EXPONENT] = {GO(EXP_DIGITS, take_exp_digit), GO(EXP_SIGN, take_exp_sign), NO, NO, NO, NO, NO},
    [EXP_SIGN] = {GO(EXP_DIGITS, take_exp_digit), NO, NO, NO, NO, NO, NO},
    [EXP_DIGITS] = {GO(EXP_DIGITS, take_exp_digit), NO, NO, NO, GO(TAIL, do_nothing), GO(DONE, do_nothing), NO},
    [TAIL] = {NO, NO, NO, NO, GO(TAIL, do_nothing), GO(DONE, do_nothing), NO},
};

static enum cls classify(char c) {
    switch (c) {
    case '0':
    case '1':
    case '2':
    case '3':
    case '4':
    case '5':
    case '6':
    case '7':
    case '8':
    case '9': return C_DIGIT;
    case '+':
    case '-': return C_SIGN;
    case '.': return C_POINT;
    case 'e':
    case 'E': return C_EXP;
    case ' ':
    case '\t': return C_SPACE;
    case '\0': return C_END;
    }
    return C_OTHER;
}

static enum state recognise(const char* s, NUMBER* n, int* at) {
    enum state now = BEGIN;
    int i = 0;
    *n = (NUMBER){0};
    do {
        enum cls k = classify(s[i]);
        machine[now][k].act(n, s[i]);
        now = machine[now][k].next;
        i++;
    } while (now != DONE && now != FAILED);
    *at = i - 1;
    return now;
}

int main(void) {
    static const char* const inputs[] = {
        "42", "-17",   "+3.25", ".5", "6.",  "1e3", "-2.50E-2 ", "  7  ",          "",
        "-",  "1.2.3", "e5",    "4e", "4e+", "1 2", "12a",       "00123456789012", "."};
    int visits[2] = {0, 0};
    for (unsigned i = 0; i < sizeof inputs / sizeof inputs[0]; i++) {
        NUMBER n;
        int at;
        enum state end = recognise(inputs[i], &n, &at);
        visits[end == DONE]++;
        if (end == DONE) {
            int power = (n.exp_negative ? -n.exponent : n.exponent) - n.scale;
            double value = n.negative ? -(double)n.mantissa : (double)n.mantissa;
            for (; power > 0; power--) value *= 10;
            for (; power < 0; power++) value /= 10;
            printf("\"%s\": %lld, scale %d, digits %d, value %g\n", inputs[i], n.mantissa, n.scale, n.digits, value);
        } else {
            printf("\"%s\": refused at %d\n", inputs[i], at);
        }
    }
    printf("%d good, %d bad\n", visits[1], visits[0]);
    return 0;
}
