/* wchar.h, wctype.h, inttypes.h, locale.h. */
#include <inttypes.h>
#include <locale.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>
#include <wctype.h>

int main(void) {
    wchar_t text[40], *rest, *word, list[] = L"red,green,,blue";
    char narrow[40];
    const char *from = "multi";
    mbstate_t state;
    intmax_t m = INT64_C(-9000000000000);
    wctype_t digit = wctype("digit");
    int n;
    wcscpy(text, L"alpha");
    wcsncat(wcscat(text, L"-"), L"betamax", 4);
    printf("%ls %d %d %d\n", text, (int)wcslen(text), wcscmp(text, L"alphb") < 0, wcsncmp(text, L"alpha+", 5));
    printf("%ls %ls %d %d\n", wcschr(text, L'-'), wcsstr(text, L"et"), (int)wcsspn(text, L"aphl"), wcschr(text, L'z') == 0);
    for (word = wcstok(list, L",", &rest); word != 0; word = wcstok(0, L",", &rest)) printf("<%ls>", word);
    n = swprintf(text, 40, L"%ls|%5d|%.2f|%s", L"wide", 42, 2.5, "narrow");
    printf("\n%d %ls", n, text);
    printf(" %d\n", swprintf(text, 3, L"%d", 12345) < 0);
    printf("%ld %lu %g", wcstol(L" -77x", &rest, 10), wcstoul(L"ff", 0, 16), wcstod(L"2.5e3", 0));
    printf(" <%ls>\n", rest);
    memset(&state, 0, sizeof state);
    n = (int)mbstowcs(text, "text", 40);
    printf("%d %ls %d", n, text, (int)wcstombs(narrow, L"back", sizeof narrow));
    printf(" %s %d", narrow, (int)mbsrtowcs(text, &from, 40, &state));
    printf(" %ls %d %d %d\n", text, from == 0, mblen("x", 1), mbtowc(text, "y", 1));
    wmemset(text, L'*', 5);
    text[5] = 0;
    wmemcpy(text + 1, L"abc", 2);
    printf("%ls %d %d %d", text, wmemcmp(text, L"*abd", 4) != 0, btowc('a') == L'a', wctob(L'b') == 'b');
    printf(" %d%d%d%d%d ", !!iswalpha(L'q'), !!iswupper(L'q'), !!iswctype(L'7', digit), !!iswctype(L'a', digit), !!iswspace(L' '));
    printf("%lc%lc %d\n", towupper(L'q'), towctrans(L'Q', wctrans("tolower")), wctype("none") == 0);

    printf("%" PRIdMAX " %" PRIxLEAST16 " %" PRIu32 " %" PRIi64 " %" PRIoFAST32 "\n", m, (uint_least16_t)0xABCD, UINT32_MAX,
           INT64_MIN, (uint_fast32_t)8);
    printf("%" PRIdMAX " %" PRIuMAX " ", strtoimax("-123456789012", 0, 10), strtoumax("0x123456789a", 0, 0));
    printf("%" PRIdMAX " %" PRIdMAX "\n", imaxabs(m), imaxdiv(m, 7).rem);
    {
        int16_t a;
        uint32_t b;
        int64_t c;
        n = sscanf("-5 4000000000 -6000000000", "%" SCNd16 "%" SCNu32 "%" SCNd64, &a, &b, &c);
        printf("%d %d %" PRIu32 " %" PRId64 "\n", n, a, b, c);
    }
    printf("%s %d %s [%s]\n", setlocale(LC_ALL, "C"), setlocale(LC_ALL, "xx_nowhere") == 0, localeconv()->decimal_point,
           localeconv()->thousands_sep);
    return 0;
}
