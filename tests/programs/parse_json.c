/* A tokenizer and printer for nested data in braces and brackets: recursive parsing into an index tree, queries,
 * errors. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum kind { K_NULL, K_BOOL, K_NUMBER, K_TEXT, K_LIST, K_RECORD };

struct item {
    enum kind kind;
    const char* name; /* in a record; points into the source */
    int name_length;
    union {
        int truth;
        double number;
        struct {
            const char* start;
            int length;
        } text;
        int first; /* child */
    } u;
    int next; /* sibling */
};

static struct item items[80];
static int used;
static const char *at, *failure;

static int fail(const char* what) {
    if (!failure) failure = what;
    return -1;
}

static void blanks(void) { at += strspn(at, " \n\t"); }

static int expect(char c) {
    blanks();
    if (*at != c) return 0;
    at++;
    return 1;
}

static int parse_text(const char** start, int* length) {
    if (!expect('"')) return 0;
    *start = at;
    while (*at && *at != '"') at += *at == '\\' && at[1] ? 2 : 1;
    *length = (int)(at - *start);
    if (*at != '"') {
        fail("open string");
        return 0;
    }
    at++;
    return 1;
}

static int fresh(enum kind k) {
    memset(&items[used], 0, sizeof items[used]);
    items[used].kind = k;
    items[used].next = -1;
    return used++;
}

static int parse_value(void) {
    static const struct {
        const char* word;
        enum kind kind;
        int truth;
    } words[] = {{"null", K_NULL, 0}, {"true", K_BOOL, 1}, {"false", K_BOOL, 0}};
    blanks();
    if (*at == '{' || *at == '[') {
        int record = *at++ == '{', n = fresh(record ? K_RECORD : K_LIST), last = -1;
        char close = record ? '}' : ']';
        items[n].u.first = -1;
        if (expect(close)) return n;
        do {
            const char* name = NULL;
            int length = 0;
            if (record && (!parse_text(&name, &length) || !expect(':'))) return fail("member name expected");
            int child = parse_value();
            if (child < 0) return -1;
            items[child].name = name;
            items[child].name_length = length;
            if (last < 0)
                items[n].u.first = child;
            else
                items[last].next = child;
            last = child;
        } while (expect(','));
        return expect(close) ? n : fail("bracket expected");
    }
    if (*at == '"') {
        int n = fresh(K_TEXT);
        return parse_text(&items[n].u.text.start, &items[n].u.text.length) ? n : -1;
    }
    for (int i = 0; i < 3; i++) {
        size_t l = strlen(words[i].word);
        if (strncmp(at, words[i].word, l) == 0) {
            at += l;
            int n = fresh(words[i].kind);
            if (words[i].kind == K_BOOL) items[n].u.truth = words[i].truth;
            return n;
        }
    }
    char* end;
    double d = strtod(at, &end);
    if (end == at) return fail("value expected");
    at = end;
    int n = fresh(K_NUMBER);
    items[n].u.number = d;
    return n;
}

static void print(int n) {
    const struct item* i = &items[n];
    switch (i->kind) {
    case K_NULL: printf("null"); break;
    case K_BOOL: printf(i->u.truth ? "true" : "false"); break;
    case K_NUMBER: printf("%g", i->u.number); break;
    case K_TEXT: printf("\"%.*s\"", i->u.text.length, i->u.text.start); break;
    case K_LIST:
    case K_RECORD:
        putchar(i->kind == K_LIST ? '[' : '{');
        for (int c = i->u.first; c >= 0; c = items[c].next) {
            if (i->kind == K_RECORD) printf("%.*s:", items[c].name_length, items[c].name);
            print(c);
            if (items[c].next >= 0) putchar(',');
        }
        putchar(i->kind == K_LIST ? ']' : '}');
    }
}

static int member(int n, const char* name) {
    if (n < 0 || items[n].kind != K_RECORD) return -1;
    for (int c = items[n].u.first; c >= 0; c = items[c].next)
        if ((int)strlen(name) == items[c].name_length && strncmp(name, items[c].name, strlen(name)) == 0) return c;
    return -1;
}

static int element(int n, int i) {
    if (n < 0 || items[n].kind != K_LIST) return -1;
    n = items[n].u.first;
    while (n >= 0 && i-- > 0) n = items[n].next;
    return n;
}

static double total(int n) {
    double sum = 0;
    switch (items[n].kind) {
    case K_NUMBER: return items[n].u.number;
    case K_LIST:
    case K_RECORD:
        for (int c = items[n].u.first; c >= 0; c = items[c].next) sum += total(c);
    default: return sum;
    }
}

static int depth(int n) {
    int deepest = 0;
    if (items[n].kind < K_LIST) return 0;
    for (int c = items[n].u.first; c >= 0; c = items[c].next)
        if (depth(c) > deepest) deepest = depth(c);
    return deepest + 1;
}

int main(void) {
    static const char* const sources[] = {
        "{\"name\": \"pump\", \"limits\": [1.5, -2, 3e2], \"on\": true, \"parent\": null,\n \"parts\": "
        "[{\"id\": 7, \"tags\": []}, {\"id\": 8, \"tags\": [\"a\", \"b\\\"c\"]}]}",
        "[[[[]]], 0, [1, [2]]]",
        "  42 ",
        "\"text\"",
        "[1, 2",
        "{\"a\" 1}",
        "[1 2]",
        "{\"a\": }",
        "tru",
        "\"open",
        "[1] x"};
    for (unsigned i = 0; i < sizeof sources / sizeof *sources; i++) {
        at = sources[i];
        used = 0;
        failure = NULL;
        int root = parse_value();
        blanks();
        if (root >= 0 && *at) root = fail("text behind the value");
        if (root < 0) {
            printf("error at %d: %s\n", (int)(at - sources[i]), failure);
            continue;
        }
        print(root);
        printf(" (%d items, depth %d, total %g)\n", used, depth(root), total(root));
        int tag = element(member(element(member(root, "parts"), 1), "tags"), 1);
        if (tag >= 0)
            printf("second tag of the second part: %.*s\n", items[tag].u.text.length, items[tag].u.text.start);
    }
    return 0;
}
