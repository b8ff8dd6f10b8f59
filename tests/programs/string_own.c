/* Hand-written string routines (length, copy, compare, search, reverse, trim, palindrome, case, replace) on char
 * pointers. */
#include <stdio.h>

static int text_length(const char* s) {
    const char* p = s;
    while (*p) ++p;
    return (int)(p - s);
}

static char* text_copy(char* to, const char* from) {
    char* start = to;
    while ((*to++ = *from++) != 0) {}
    return start;
}

static char* text_append(char* to, const char* from) {
    text_copy(to + text_length(to), from);
    return to;
}

static int text_compare(const char* a, const char* b) {
    for (; *a && *a == *b; a++, b++)
        ;
    return *a - *b;
}

static void reverse(char* s) {
    char* e = s + text_length(s);
    while (s < e) {
        char c = *s;
        *s++ = *--e;
        *e = c;
    }
}

static int lower(int c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; }
static int is_letter(int c) { return lower(c) >= 'a' && lower(c) <= 'z'; }

static int palindrome(const char* s) {
    int i = 0, j = text_length(s) - 1;
    while (i < j) {
        if (!is_letter(s[i])) {
            i++;
            continue;
        }
        if (!is_letter(s[j])) {
            j--;
            continue;
        }
        if (lower(s[i++]) != lower(s[j--])) return 0;
    }
    return 1;
}

static const char* search(const char* s, const char* what) {
    do {
        const char *p = s, *q = what;
        while (*q && *p == *q) {
            p++;
            q++;
        }
        if (!*q) return s;
    } while (*s++);
    return 0;
}

static int replace_all(const char* in, const char* what, const char* with, char* out) {
    int n = 0, skip = text_length(what);
    const char* hit;
    while ((hit = search(in, what)) != 0) {
        while (in < hit) *out++ = *in++;
        for (const char* w = with; *w;) *out++ = *w++;
        in += skip;
        n++;
    }
    text_copy(out, in);
    return n;
}

static char* trim(char* s) {
    while (*s == ' ') s++;
    char* e = s + text_length(s);
    while (e > s && e[-1] == ' ') *--e = 0;
    return s;
}

static void title_case(char* s) {
    int start = 1;
    for (; *s; s++) {
        if (is_letter(*s)) {
            *s = (char)(start ? lower(*s) - 'a' + 'A' : lower(*s));
            start = 0;
        } else {
            start = 1;
        }
    }
}

static void number_text(int v, int base, char* out) {
    char digits[33];
    int n = 0;
    unsigned u = v < 0 ? 0u - (unsigned)v : (unsigned)v;
    do { digits[n++] = "0123456789abcdefghijklmnopqrstuvwxyz"[u % (unsigned)base]; } while ((u /= (unsigned)base) != 0);
    if (v < 0) *out++ = '-';
    while (n) *out++ = digits[--n];
    *out = '\0';
}

int main(void) {
    char a[64], b[128];
    text_copy(a, "stressed ");
    text_append(a, "desserts");
    printf("%s (%d)", a, text_length(a));
    reverse(a);
    printf(" -> %s\n", a);
    static const char* const lines[] = {"A man, a plan, a canal: Panama", "Not a palindrome", "", "x",
                                        "No lemon, no melon"};
    for (int i = 0; i < 5; i++) printf("\"%s\": %s\n", lines[i], palindrome(lines[i]) ? "yes" : "no");
    printf("compare %d %d %d %d\n", text_compare("abc", "abd") < 0, text_compare("abc", "abc"),
           text_compare("b", "abc") > 0, text_compare("", "a") < 0);
    const char* hay = "mississippi";
    printf("search %d %d %d %d\n", (int)(search(hay, "issip") - hay), (int)(search(hay, "") - hay),
           search(hay, "issia") == 0, (int)(search(hay, "ppi") - hay));
    int n = replace_all("one fish two fish red fish", "fish", "crab", b);
    printf("%d: %s\n", n, b);
    n = replace_all("aaaa", "aa", "b", b);
    printf("%d: %s\n", n, b);
    n = replace_all("a-b-c", "-", "", b);
    printf("%d: %s\n", n, b);
    text_copy(a, "   spaces around   ");
    printf("[%s]", trim(a));
    text_copy(a, "     ");
    printf("[%s]\n", trim(a));
    text_copy(a, "the qUICK-brown fOX");
    title_case(a);
    puts(a);
    static const int values[] = {0, 7, -255, 65535, 2147483647, -2147483647 - 1};
    for (int i = 0; i < 6; i++) {
        static const int bases[] = {2, 10, 16, 36};
        for (int k = 0; k < 4; k++) {
            number_text(values[i], bases[k], b);
            printf("%s%c", b, k < 3 ? ' ' : '\n');
        }
    }
    return 0;
}
