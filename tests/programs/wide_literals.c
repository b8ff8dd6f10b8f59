/* Wide literals and strings of wchar_t: lengths, comparison, conversion to and from char, escapes, tables. */
#include <stddef.h>
#include <stdio.h>

static int wide_length(const wchar_t* s) {
    int n = 0;
    while (s[n]) n++;
    return n;
}

static int wide_compare(const wchar_t* a, const wchar_t* b) {
    while (*a && *a == *b) {
        a++;
        b++;
    }
    return *a < *b ? -1 : *a > *b;
}

static void narrow(const wchar_t* s, char* out) {
    do { *out++ = (char)(*s < 128 ? *s : '?'); } while (*s++);
}

static void widen(const char* s, wchar_t* out) {
    while ((*out++ = (wchar_t)(*s++ & 0x7f)) != 0)
        ;
}

static int utf8_length(const wchar_t* s) {
    int n = 0;
    for (; *s; s++) {
        unsigned c = (unsigned)*s;
        n += c < 0x80 ? 1 : c < 0x800 ? 2 : 3;
    }
    return n;
}

static void print_wide(const wchar_t* s) {
    for (; *s; s++) {
        if (*s >= L' ' && *s < 0x7f)
            putchar((int)*s);
        else
            printf("<%x>", (unsigned)*s);
    }
    putchar('\n');
}

static const wchar_t* const names[] = {L"alpha", L"beta", L"\x3b3", L"", L"epsilon"};
static wchar_t buffer[16] = L"fixed";
static const wchar_t letters[] = {L'a', L'\n', L'\x20ac', L'\0', L'z'};

int main(void) {
    for (int i = 0; i < 5; i++) printf("%d ", wide_length(names[i]));
    printf("\n");
    printf("%d %d %d\n", wide_compare(names[0], L"alpha"), wide_compare(L"abc", L"abd"), wide_compare(L"b", L""));
    char text[20];
    narrow(L"caf\xe9 10\x20ac", text);
    printf("%s\n", text);
    widen("widened", buffer);
    print_wide(buffer);
    buffer[2] = L'\x100';
    buffer[5] = 0;
    print_wide(buffer);
    print_wide(L"joined "
               L"wide "
               L"parts");
    printf("%d %d\n", utf8_length(L"abc\xe9\x20ac"), utf8_length(L""));
    printf("%d %d %d\n", (int)(sizeof letters / sizeof letters[0]), (int)(sizeof L"four" / sizeof(wchar_t)),
           letters[2] == 0x20ac);
    wchar_t local[] = L"local", *p = local;
    int vowels = 0;
    while (*p) {
        switch (*p++) {
        case L'a':
        case L'e':
        case L'i':
        case L'o':
        case L'u': vowels++;
        }
    }
    printf("%d %d\n", vowels, (int)(p - local));
    return 0;
}
