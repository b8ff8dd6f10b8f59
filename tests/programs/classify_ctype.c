/* ctype over the basic characters: counts of each class, case mapping, tokeniser, identifier checks, Caesar and
 * ROT13. */
#include <ctype.h>
#include <stdio.h>
#include <string.h>

enum { ALPHA, DIGIT, ALNUM, SPACE, PUNCT, UPPER, LOWER, XDIGIT, PRINT, GRAPH, CNTRL, CLASSES };

static int is_class(int class, int c) {
    switch (class) {
    case ALPHA: return isalpha(c) != 0;
    case DIGIT: return isdigit(c) != 0;
    case ALNUM: return isalnum(c) != 0;
    case SPACE: return isspace(c) != 0;
    case PUNCT: return ispunct(c) != 0;
    case UPPER: return isupper(c) != 0;
    case LOWER: return islower(c) != 0;
    case XDIGIT: return isxdigit(c) != 0;
    case PRINT: return isprint(c) != 0;
    case GRAPH: return isgraph(c) != 0;
    case CNTRL: return iscntrl(c) != 0;
    }
    return -1;
}

static void rotate(char* s, int by) {
    for (; *s; s++) {
        int base = isupper(*s) ? 'A' : islower(*s) ? 'a' : 0;
        if (base) *s = (char)(base + (*s - base + by + 26) % 26);
    }
}

static int identifier(const char* s) {
    if (!isalpha(*s) && *s != '_') return 0;
    while (*++s)
        if (!isalnum(*s) && *s != '_') return 0;
    return 1;
}

static void tokens(const char* s) {
    while (*s) {
        int n = 1;
        char kind;
        if (isspace(*s)) {
            s++;
            continue;
        }
        if (isdigit(*s)) {
            kind = 'n';
            while (isdigit(s[n]) || (s[n] == '.' && isdigit(s[n + 1]))) n++;
        } else if (isalpha(*s) || *s == '_') {
            kind = 'i';
            while (isalnum(s[n]) || s[n] == '_') n++;
        } else {
            kind = 'p';
            while (ispunct(s[n]) && s[n] == *s) n++;
        }
        printf("%c<%.*s>", kind, n, s);
        s += n;
    }
    printf("\n");
}

static int compare_no_case(const char* a, const char* b) {
    while (*a && tolower(*a) == tolower(*b)) {
        a++;
        b++;
    }
    return tolower(*a) - tolower(*b);
}

static void camel(const char* in, char* out) {
    int up = 0;
    for (; *in; in++) {
        if (*in == '_') {
            up = 1;
            continue;
        }
        *out++ = (char)(up ? toupper(*in) : *in);
        up = 0;
    }
    *out = '\0';
}

int main(void) {
    int counts[CLASSES] = {0}, sums[CLASSES] = {0};
    for (int c = 0; c < 128; c++)
        for (int k = 0; k < CLASSES; k++)
            if (is_class(k, c)) {
                counts[k]++;
                sums[k] += c;
            }
    for (int k = 0; k < CLASSES; k++) printf("%d/%d ", counts[k], sums[k]);
    printf("\n");
    int consistent = 1;
    for (int c = 0; c < 128; c++) {
        consistent &= is_class(ALNUM, c) == (is_class(ALPHA, c) || is_class(DIGIT, c));
        consistent &= is_class(ALPHA, c) == (is_class(UPPER, c) || is_class(LOWER, c));
        consistent &= is_class(PRINT, c) == (is_class(GRAPH, c) || c == ' ');
        consistent &= toupper(c) == (islower(c) ? c - 'a' + 'A' : c);
        consistent &= tolower(toupper(c)) == tolower(c);
    }
    printf("consistent %d, end of file %d\n", consistent, isalpha(-1) != 0);
    char text[] = "Hello, World! abc XYZ 123";
    rotate(text, 13);
    printf("%s | ", text);
    rotate(text, 13);
    rotate(text, 3);
    printf("%s | ", text);
    rotate(text, -3);
    printf("%s\n", text);
    printf("%d %d %d %d\n", identifier("_x9"), identifier("9x"), identifier("a b"), identifier("name"));
    tokens("if (x1 >= 3.14) { y_2 += 0x1f; } // ok?");
    printf("%d %d %d\n", compare_no_case("Apple", "aPPLE"), compare_no_case("apple", "apples") < 0,
           compare_no_case("b", "A") > 0);
    camel("read_next_token_now", text);
    printf("%s %d\n", text, (int)strlen(text));
    return 0;
}
