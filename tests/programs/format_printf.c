/* printf formats: widths, signs, bases, precision, text, %g/%f/%e of exact values, sprintf chains, column reports. */
#include <stdio.h>
#include <string.h>

struct row {
    const char* name;
    int amount;
    double price;
};

static const struct row rows[] = {
    {"apples", 12, 0.25}, {"melons", 3, 2.5}, {"nuts", 1250, 0.015625}, {"a very long name", 1, 1024}, {"", 0, 0}};

static int report(char* out) {
    char* at = out;
    double total = 0;
    for (unsigned i = 0; i < sizeof rows / sizeof rows[0]; i++) {
        const struct row* r = &rows[i];
        at += sprintf(at, "%-10.10s|%5d|%9.3f|%10.2f\n", r->name, r->amount, r->price, r->amount * r->price);
        total += r->amount * r->price;
    }
    at += sprintf(at, "%*s%.*f\n", 27, "", 4, total);
    return (int)(at - out);
}

static void centred(const char* s, int width) {
    int n = (int)strlen(s), left = (width - n) / 2;
    printf("[%*s%s%*s]", left, "", s, width - n - left, "");
}

static void hex_dump(const unsigned* words, int n) {
    for (int i = 0; i < n; i += 4) {
        printf("%04x:", (unsigned)i);
        for (int j = i; j < i + 4; j++) {
            if (j < n)
                printf(" %08x", words[j]);
            else
                printf("         ");
        }
        printf("  ");
        for (int j = i; j < i + 4 && j < n; j++)
            for (int b = 24; b >= 0; b -= 8) {
                unsigned c = words[j] >> b & 0x7fu;
                putchar(c >= 32 && c < 127 ? (int)c : '.');
            }
        putchar('\n');
    }
}

static const char* with_commas(long long v, char* out) {
    char digits[32];
    int n = sprintf(digits, "%lld", v < 0 ? -v : v), k = 0;
    if (v < 0) out[k++] = '-';
    for (int i = 0; i < n; i++) {
        if (i && (n - i) % 3 == 0) out[k++] = ',';
        out[k++] = digits[i];
    }
    out[k] = '\0';
    return out;
}

int main(void) {
    printf("%d|%6d|%-6d|%06d|%+d|% d|%i\n", 42, 42, 42, 42, 42, 42, -42);
    printf("%u|%x|%X|%#x|%o|%#o|%08X\n", 3000000000u, 48879u, 48879u, 48879u, 511u, 511u, 0xcafeu);
    printf("%lld|%20lld|%-20lld|%llx|%llu\n", -1234567890123456789ll, 99ll, -99ll, 0x123456789abcdefull, 1ull << 63);
    printf("%hd|%hu|%ld|%lu\n", (short)-7, (unsigned short)65535, -123456l, 123456ul);
    printf("%c|%5c|%-5c|%%|%s|%.3s|%8.2s|\n", 'x', 'y', 'z', "string", "string", "string");
    printf("%f|%.0f|%.1f|%10.3f|%-10.2f|%+.2f|%08.2f\n", 1.5, 2.0, 0.25, 3.125, 2.75, 1.0, -3.5);
    printf("%e|%.2e|%E|%g|%g|%g|%g\n", 1500.0, 0.03125, 1.0, 100000.0, 1000000.0, 0.0001220703125, 0.5);
    printf("%g|%G|%#g|%.3g|%.10g\n", 1e-10, 1e20, 1.0, 1234.5, 0.1 + 0.0);
    printf("%.2f %.2f %.1f %.0f %.0f\n", 0.125, 0.375, 0.25, 0.5, 1.5);
    printf("%s %s\n", "", "end");
    printf("%3d|%3d|%3d|%.5d|%8.5d|%-8.5d|\n", 1, 1000, -1, 42, -42, 42);
    char out[400];
    int n = report(out);
    printf("%s%d\n", out, n == (int)strlen(out));
    centred("mid", 9);
    centred("even", 9);
    centred("full width", 10);
    printf("\n");
    static const unsigned words[] = {0x48656c6cu, 0x6f2c2077u, 0x6f726c64u, 0x21000102u, 0x7f7e2041u, 0};
    hex_dump(words, 6);
    static const long long big[] = {0, 999, 1000, -1234567, 1000000000000ll};
    for (int i = 0; i < 5; i++) printf("%s ", with_commas(big[i], out));
    printf("\n");
    n = snprintf(out, 6, "%s", "truncated");
    printf("%s %d\n", out, n);
    fprintf(stdout, "%s:%d\n", "file", 3);
    fputs("no newline added", stdout);
    putchar('\n');
    puts("newline added");
    return 0;
}
