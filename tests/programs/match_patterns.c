/* Pattern matching: a small regular-expression matcher, wildcard globbing, Knuth-Morris-Pratt and Horspool search. */
#include <stdio.h>
#include <string.h>

static int match_here(const char* re, const char* s, const char** end);

static int match_one(const char* re, int c) {
    if (c == 0) return 0;
    if (*re == '[') {
        int negative = re[1] == '^', hit = 0;
        for (re += 1 + negative; *re != ']'; re++) {
            if (re[1] == '-' && re[2] != ']') {
                hit |= c >= re[0] && c <= re[2];
                re += 2;
            } else {
                hit |= c == *re;
            }
        }
        return hit != negative;
    }
    return *re == '.' || *re == c;
}

static int item_length(const char* re) {
    int n = 1;
    if (*re == '[') {
        while (re[n] != ']') n++;
        n++;
    }
    return n;
}

static int match_repeat(const char* re, int least, int most, const char* rest, const char* s, const char** end) {
    int n = 0;
    while ((most < 0 || n < most) && match_one(re, s[n])) n++;
    for (; n >= least; n--)
        if (match_here(rest, s + n, end)) return 1;
    return 0;
}

static int match_here(const char* re, const char* s, const char** end) {
    if (*re == '\0') {
        *end = s;
        return 1;
    }
    if (re[0] == '$' && re[1] == '\0') {
        *end = s;
        return *s == '\0';
    }
    int n = item_length(re);
    switch (re[n]) {
    case '*': return match_repeat(re, 0, -1, re + n + 1, s, end);
    case '+': return match_repeat(re, 1, -1, re + n + 1, s, end);
    case '?': return match_repeat(re, 0, 1, re + n + 1, s, end);
    }
    return match_one(re, *s) && match_here(re + n, s + 1, end);
}

static int match(const char* re, const char* s, int* length) {
    const char *end, *start = s;
    if (*re == '^') {
        if (!match_here(re + 1, s, &end)) return -1;
        *length = (int)(end - s);
        return 0;
    }
    do {
        if (match_here(re, s, &end)) {
            *length = (int)(end - s);
            return (int)(s - start);
        }
    } while (*s++);
    return -1;
}

static int glob(const char* p, const char* s) {
    const char *star = NULL, *resume = NULL;
    while (*s) {
        if (*p == '*') {
            star = ++p;
            resume = s;
        } else if (*p == '?' || *p == *s) {
            p++;
            s++;
        } else if (star) {
            p = star;
            s = ++resume;
        } else {
            return 0;
        }
    }
    while (*p == '*') p++;
    return !*p;
}

static int kmp(const char* text, const char* what, int* hits) {
    int fail[32], n = (int)strlen(what), k = 0, count = 0;
    fail[0] = 0;
    for (int i = 1; i < n; i++) {
        while (k && what[i] != what[k]) k = fail[k - 1];
        if (what[i] == what[k]) k++;
        fail[i] = k;
    }
    k = 0;
    for (int i = 0; text[i]; i++) {
        while (k && text[i] != what[k]) k = fail[k - 1];
        if (text[i] == what[k]) k++;
        if (k == n) {
            hits[count++] = i - n + 1;
            k = fail[k - 1];
        }
    }
    return count;
}

static int horspool(const char* text, const char* what, int* hits) {
    int shift[128], n = (int)strlen(what), m = (int)strlen(text), count = 0;
    for (int i = 0; i < 128; i++) shift[i] = n;
    for (int i = 0; i < n - 1; i++) shift[(int)what[i]] = n - 1 - i;
    for (int at = 0; at + n <= m; at += shift[(int)text[at + n - 1]])
        if (memcmp(text + at, what, (size_t)n) == 0) hits[count++] = at;
    return count;
}

int main(void) {
    static const struct {
        const char *re, *text;
    } tests[] = {{"abc", "xxabcxx"},
                 {"^abc", "xabc"},
                 {"a.c$", "abcaxc"},
                 {"ab*c", "ac abc abbbc"},
                 {"b+", "aabbbcc"},
                 {"colou?r", "my color"},
                 {"[0-9]+", "room 1408"},
                 {"[^a-z ]", "all lower X"},
                 {"^[a-z]+[0-9]*$", "abc123"},
                 {"^[a-z]+[0-9]*$", "abc123x"},
                 {"", "anything"},
                 {"x*", "aaa"},
                 {".*b.*b", "abcbab"},
                 {"[a-c-]+", "xx-ab-cd"},
                 {"a*a*a*b", "aaaaaaaaaaaa"}};
    for (unsigned i = 0; i < sizeof tests / sizeof tests[0]; i++) {
        int length = 0, at = match(tests[i].re, tests[i].text, &length);
        if (at < 0)
            printf("/%s/ not in \"%s\"\n", tests[i].re, tests[i].text);
        else
            printf("/%s/ in \"%s\" at %d: <%.*s>\n", tests[i].re, tests[i].text, at, length, tests[i].text + at);
    }
    static const char* const globs[][2] = {{"*.c", "main.c"},   {"*.c", "main.cpp"}, {"a*b*c", "aXXbYYc"},
                                           {"a*b*c", "abcab"},  {"?at", "cat"},      {"?at", "at"},
                                           {"***", ""},         {"", "x"},           {"*ab*ab", "abxaba"},
                                           {"*ab*ab", "ababab"}};
    for (int i = 0; i < 10; i++) printf("%d", glob(globs[i][0], globs[i][1]));
    printf("\n");
    static const char text[] = "abracadabra abracadabra cadabra abababa";
    static const char* const words[] = {"abra", "cadabra", "aba", "a", "zebra", "abracadabra a"};
    for (int w = 0; w < 6; w++) {
        int first[40], second[40];
        int n = kmp(text, words[w], first), m = horspool(text, words[w], second);
        int same = n == m && memcmp(first, second, (size_t)n * sizeof *first) == 0;
        printf("%s: %d %s%d, ", words[w], n, same ? "" : "differ ", n ? first[n - 1] : -1);
    }
    printf("\n");
    return 0;
}
