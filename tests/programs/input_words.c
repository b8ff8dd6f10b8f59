/* Reading standard input with getchar to the end: lines, words, letters, longest line, a histogram, balanced quotes. */
#include <ctype.h>
#include <stdio.h>
#include <string.h>

struct counts {
    int lines, words, characters, digits, longest, blank_lines;
};

static int letters[26];
static char longest_line[100];

static void count(struct counts* k) {
    char line[100];
    int c, n = 0, in_word = 0, seen = 0;
    while ((c = getchar()) != EOF) {
        k->characters++;
        if (isalpha(c)) letters[tolower(c) - 'a']++;
        if (isdigit(c)) k->digits++;
        if (isspace(c)) {
            in_word = 0;
        } else {
            seen = 1;
            if (!in_word) k->words++;
            in_word = 1;
        }
        if (c != '\n') {
            if (n < 99) line[n++] = (char)c;
            continue;
        }
        line[n] = '\0';
        k->lines++;
        if (!seen) k->blank_lines++;
        if (n > k->longest) {
            k->longest = n;
            strcpy(longest_line, line);
        }
        n = 0;
        seen = 0;
    }
}

static void histogram(void) {
    int most = 0, order[26];
    for (int i = 0; i < 26; i++) {
        order[i] = i;
        if (letters[i] > most) most = letters[i];
    }
    for (int i = 1; i < 26; i++)
        for (int j = i; j > 0 && letters[order[j]] > letters[order[j - 1]]; j--) {
            int t = order[j];
            order[j] = order[j - 1];
            order[j - 1] = t;
        }
    for (int i = 0; i < 5; i++) {
        printf("%c %2d ", 'a' + order[i], letters[order[i]]);
        for (int k = 0; k < letters[order[i]] * 20 / most; k++) putchar('#');
        putchar('\n');
    }
}

int main(void) {
    struct counts k = {0};
    count(&k);
    printf("%d lines (%d blank), %d words, %d characters, %d digits\n", k.lines, k.blank_lines, k.words, k.characters,
           k.digits);
    printf("longest %d: %s\n", k.longest, longest_line);
    histogram();
    int total = 0;
    for (int i = 0; i < 26; i++) total += letters[i];
    printf("%d letters, after the end %d\n", total, getchar() == EOF);
    return 0;
}
