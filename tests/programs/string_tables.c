/* String tables: number words, roman numerals, morse code both ways, command abbreviations, a small translation
 * table. */
#include <stdio.h>
#include <string.h>

static const char* const small[] = {"zero",     "one",     "two",     "three",     "four",     "five",    "six",
                                    "seven",    "eight",   "nine",    "ten",       "eleven",   "twelve",  "thirteen",
                                    "fourteen", "fifteen", "sixteen", "seventeen", "eighteen", "nineteen"};
static const char* const tens[] = {"",      "",      "twenty",  "thirty", "forty",
                                   "fifty", "sixty", "seventy", "eighty", "ninety"};
static const struct {
    int value;
    const char* name;
} scales[] = {{1000000000, "billion"}, {1000000, "million"}, {1000, "thousand"}, {100, "hundred"}};

static void in_words(int n, char* out) {
    if (n < 0) {
        strcat(out, "minus ");
        n = -n;
    }
    for (unsigned i = 0; i < sizeof scales / sizeof scales[0]; i++) {
        if (n < scales[i].value) continue;
        in_words(n / scales[i].value, out);
        strcat(out, " ");
        strcat(out, scales[i].name);
        n %= scales[i].value;
        if (n == 0) return;
        strcat(out, n < 100 ? " and " : " ");
    }
    if (n >= 20) {
        strcat(out, tens[n / 10]);
        if (n % 10 == 0) return;
        strcat(out, "-");
        n %= 10;
    }
    strcat(out, small[n]);
}

static const struct roman {
    short value;
    char text[3];
} romans[] = {{1000, "M"}, {900, "CM"}, {500, "D"}, {400, "CD"}, {100, "C"}, {90, "XC"}, {50, "L"},
              {40, "XL"},  {10, "X"},   {9, "IX"},  {5, "V"},    {4, "IV"},  {1, "I"}};

static void to_roman(int v, char* out) {
    for (const struct roman* r = romans; v > 0; r++)
        for (; v >= r->value; v -= r->value)
            for (const char* s = r->text; *s;) *out++ = *s++;
    *out = '\0';
}

static int from_roman(const char* s) {
    int v = 0;
    for (const struct roman* r = romans; r < romans + 13; r++) {
        int n = (int)strlen(r->text);
        while (strncmp(s, r->text, (size_t)n) == 0) {
            v += r->value;
            s += n;
        }
    }
    return *s ? -1 : v;
}

static const char morse[26][5] = {".-",   "-...", "-.-.", "-..",  ".",   "..-.", "--.",  "....", "..",
                                  ".---", "-.-",  ".-..", "--",   "-.",  "---",  ".--.", "--.-", ".-.",
                                  "...",  "-",    "..-",  "...-", ".--", "-..-", "-.--", "--.."};

static void encode(const char* s, char* out) {
    for (*out = 0; *s; s++) {
        if (*s == ' ')
            strcat(out, "/");
        else
            strcat(out, morse[*s - 'A']);
        if (s[1]) strcat(out, " ");
    }
}

static void decode(const char* s, char* out) {
    while (*s) {
        int n = (int)strcspn(s, " ");
        char letter = '?';
        if (*s == '/') letter = ' ';
        for (int i = 0; i < 26; i++)
            if ((int)strlen(morse[i]) == n && strncmp(morse[i], s, (size_t)n) == 0) letter = (char)('A' + i);
        *out++ = letter;
        s += n;
        if (*s) s++;
    }
    *out = 0;
}

static int find_command(const char* typed) {
    static const char* commands[] = {"copy", "compare", "delete", "print", "quit", "protect", NULL};
    int found = -1;
    for (int i = 0; commands[i]; i++) {
        if (strncmp(commands[i], typed, strlen(typed)) != 0) continue;
        if (strlen(commands[i]) == strlen(typed)) return i;
        if (found >= 0) return -2;
        found = i;
    }
    return found;
}

int main(void) {
    static const int numbers[] = {0, 7, 13, 20, 42, 100, 115, 999, 1000, 1001, 12345, 1000000, 2147483647, -86};
    char text[160], back[160];
    for (int i = 0; i < 14; i++) {
        text[0] = '\0';
        in_words(numbers[i], text);
        printf("%d: %s\n", numbers[i], text);
    }
    int wrong = 0;
    for (int v = 1; v < 4000; v++) {
        to_roman(v, text);
        wrong += from_roman(text) != v;
        if (v == 4 || v == 1994 || v == 3888) printf("%d %s, ", v, text);
    }
    printf("wrong %d, %d\n", wrong, from_roman("XYZ"));
    encode("SOS MESSAGE", text);
    decode(text, back);
    printf("%s = %s\n", text, back);
    decode("...... .-", back);
    printf("%s\n", back);
    static const char* const typed[] = {"q", "co", "comp", "copy", "pr", "pri", "x", ""};
    for (int i = 0; i < 8; i++) printf("%s:%d ", typed[i], find_command(typed[i]));
    printf("\n");
    return 0;
}
