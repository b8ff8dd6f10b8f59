/* Text layout: word wrap, full justification, centring, tab expansion, columns; pure character work on buffers. */
#include <stdio.h>
#include <string.h>

static const char text[] =
    "Programs must be written for people to read, and only incidentally for machines to execute. A "
    "computer language is not just a way of getting a computer to perform operations but rather it "
    "is a novel formal medium for expressing ideas about methodology.";

static int next_line(const char** at, int width, int* words) {
    const char* s = *at;
    while (*s == ' ') s++;
    *at = s;
    int length = 0, good = 0, seen = 0;
    while (s[length] && (length <= width)) {
        if (s[length] == ' ') {
            good = length;
            seen++;
        }
        length++;
    }
    if (!s[length] && length <= width) {
        good = length;
        seen++;
    }
    if (good == 0) {
        good = length < width ? length : width;
        seen = 1;
    }
    *words = seen;
    return good;
}

static int justify(const char* s, int width, int emit) {
    int lines = 0, words;
    while (*s) {
        int n = next_line(&s, width, &words);
        if (n == 0) break;
        char out[100];
        int k = 0, spare = width - n, gaps = words - 1, last = s[n] == '\0';
        for (int i = 0; i < n; i++) {
            out[k++] = s[i];
            if (s[i] == ' ' && gaps > 0 && !last) {
                int extra = (spare + gaps - 1) / gaps;
                spare -= extra;
                gaps--;
                while (extra-- > 0) out[k++] = ' ';
            }
        }
        out[k] = 0;
        if (emit) printf("|%-*s|\n", width, out);
        if (!last && words > 1 && k != width) printf("bad line\n");
        s += n;
        lines++;
    }
    return lines;
}

static void centre(const char* s, int width, char fill) {
    int n = (int)strlen(s), left = (width - n) / 2;
    for (int i = 0; i < width; i++) putchar(i < left || i >= left + n ? fill : s[i - left]);
    putchar('\n');
}

static void expand_tabs(const char* in, char* out, int stop) {
    int column = 0;
    for (; *in; in++) {
        if (*in == '\t') {
            do { *out++ = '.'; } while (++column % stop);
        } else {
            *out++ = *in;
            column = *in == '\n' ? 0 : column + 1;
        }
    }
    *out = '\0';
}

static void columns(const char* const* items, int n, int width) {
    int longest = 0;
    for (int i = 0; i < n; i++) {
        int l = (int)strlen(items[i]);
        if (l > longest) longest = l;
    }
    int across = width / (longest + 2);
    if (across < 1) across = 1;
    int down = (n + across - 1) / across;
    for (int r = 0; r < down; r++) {
        for (int c = 0; c < across; c++) {
            int i = c * down + r;
            if (i >= n) break;
            printf("%s", items[i]);
            if (i + down < n)
                for (int k = (int)strlen(items[i]); k < longest + 2; k++) putchar(' ');
        }
        putchar('\n');
    }
}

static int count_words(const char* s, int* longest) {
    int n = 0, length = 0;
    *longest = 0;
    do {
        if (*s != ' ' && *s != '\0') {
            length++;
            continue;
        }
        if (length > 0) n++;
        if (length > *longest) *longest = length;
        length = 0;
    } while (*s++);
    return n;
}

int main(void) {
    printf("%d lines\n", justify(text, 40, 1));
    for (int width = 16; width < 80; width += 16) printf("%d ", justify(text, width, 0));
    printf("\n");
    justify("tiny", 10, 1);
    justify("unbreakablylongword and more", 9, 1);
    centre("title", 21, '=');
    centre("", 5, '-');
    centre("exact", 5, '*');
    char out[80];
    expand_tabs("a\tbc\tdefgh\ti\n\tj", out, 4);
    printf("%s\n", out);
    static const char* const items[] = {"alpha", "beta", "gamma", "delta", "epsilon",
                                        "zeta",  "eta",  "theta", "iota",  "kappa"};
    columns(items, 10, 40);
    columns(items, 10, 20);
    int longest, n = count_words(text, &longest);
    printf("%d words, longest %d\n", n, longest);
    return 0;
}
