/* Trie of words with children arrays, prefix counts, longest common prefix, wildcard matching and ordered listing. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct trie {
    struct trie* child[26];
    int words;   /* words that end here */
    int through; /* words that pass or end here */
} TRIE;

static int nodes;

static TRIE* fresh(void) {
    nodes++;
    return calloc(1, sizeof(TRIE));
}

static void add(TRIE* t, const char* word) {
    t->through++;
    for (; *word; word++) {
        TRIE** next = &t->child[*word - 'a'];
        if (!*next) *next = fresh();
        t = *next;
        t->through++;
    }
    t->words++;
}

static const TRIE* descend(const TRIE* t, const char* prefix) {
    while (t && *prefix) t = t->child[*prefix++ - 'a'];
    return t;
}

static int matches(const TRIE* t, const char* pattern) {
    if (!t) return 0;
    switch (*pattern) {
    case '\0': return t->words;
    case '?': {
        int sum = 0;
        for (int i = 0; i < 26; i++) sum += matches(t->child[i], pattern + 1);
        return sum;
    }
    case '*': {
        int sum = matches(t, pattern + 1);
        for (int i = 0; i < 26; i++) sum += matches(t->child[i], pattern);
        return sum;
    }
    default: return matches(t->child[*pattern - 'a'], pattern + 1);
    }
}

static void list(const TRIE* t, char* buffer, int depth) {
    if (t->words) {
        buffer[depth] = '\0';
        printf("%s", buffer);
        if (t->words > 1) printf("*%d", t->words);
        putchar(' ');
    }
    for (int i = 0; i < 26; i++) {
        if (!t->child[i]) continue;
        buffer[depth] = (char)('a' + i);
        list(t->child[i], buffer, depth + 1);
    }
}

static int common_prefix(const TRIE* t, char* out) {
    int n = 0;
    for (;;) {
        int only = -1;
        for (int i = 0; i < 26; i++)
            if (t->child[i]) only = only == -1 ? i : -2;
        if (only < 0 || t->words) break;
        out[n++] = (char)('a' + only);
        t = t->child[only];
    }
    out[n] = 0;
    return n;
}

static void release(TRIE* t) {
    for (int i = 0; i < 26; i++)
        if (t->child[i]) release(t->child[i]);
    free(t);
    nodes--;
}

int main(void) {
    static const char* const words[] = {"inter", "internal", "internet", "internals", "interval", "interview",
                                        "into",  "in",       "interval", "integer",   "intent",   "index"};
    TRIE* t = fresh();
    int letters = 0;
    for (unsigned i = 0; i < sizeof words / sizeof *words; i++) {
        add(t, words[i]);
        letters += (int)strlen(words[i]);
    }
    printf("%d letters in %d nodes\n", letters, nodes);
    static const char* const prefixes[] = {"", "in", "inter", "interv", "internal", "intro", "z"};
    for (int i = 0; i < 7; i++) {
        const TRIE* at = descend(t, prefixes[i]);
        printf("%s: %d through, %d end\n", prefixes[i], at ? at->through : 0, at ? at->words : 0);
    }
    static const char* const patterns[] = {"int?", "inter*", "*e*", "in??????", "*", "*val", "?n*t", "x*"};
    for (int i = 0; i < 8; i++) printf("%s %d, ", patterns[i], matches(t, patterns[i]));
    printf("\n");
    char buffer[20];
    list(t, buffer, 0);
    printf("\n");
    printf("common \"%s\" ", (common_prefix(t, buffer), buffer));
    printf("%d\n", common_prefix(descend(t, "intern"), buffer));
    release(t);
    printf("nodes left %d\n", nodes);
    return 0;
}
