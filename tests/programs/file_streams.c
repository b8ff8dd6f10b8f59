/* Streams on a file without a name: text, blocks, positions, ungetc, and how scanf splits what it reads. */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct entry {
    int number;
    char tag;
    double value;
};

static void scanning(const char *text, const char *format) {
    char a[20] = "-", b[20] = "-";
    float x = -1, y = -1;
    int n = sscanf(text, format, &x, a, &y, b);
    printf("%d %g [%s] %g [%s]\n", n, x, a, y, b);
}

int main(void) {
    FILE *f = tmpfile();
    char line[50], *got;
    struct entry entries[3], back;
    int i, n, c;
    long place;
    fpos_t noted;
    if (f == NULL) return 1;
    for (i = 0; i < 5; i++) fprintf(f, "line %d of %s\n", i, "text");
    fputs("no end", f);
    place = ftell(f);
    rewind(f);
    for (i = 0; fgets(line, sizeof line, f) != NULL; i++) printf("%d %d %s", i, (int)strlen(line), line);
    printf(" at %ld, eof %d %d error %d\n", place, feof(f) != 0, getc(f), ferror(f));
    fseek(f, -3, SEEK_END);
    c = getc(f);
    ungetc('X', f);
    printf("%c%d", c, (int)ftell(f));
    c = getc(f);
    i = getc(f);
    printf("%c%c", c, i);
    printf("%d", feof(f) != 0);
    printf(" %d %d\n", fseek(f, -1, SEEK_SET) != 0, fseek(f, 0, 77) != 0);
    fseek(f, 15, SEEK_SET);
    fgetpos(f, &noted);
    n = fscanf(f, "line %d of %s", &i, line);
    printf("%d %d %s", n, i, line);
    fsetpos(f, &noted);
    printf(" %s", fgets(line, 7, f));
    fseek(f, 0, SEEK_SET);
    fputs("LINE", f); /* in the middle of the file, then reading on */
    fseek(f, 0, SEEK_CUR);
    printf(" %s", fgets(line, 4, f));
    rewind(f);
    printf(" %s", fgets(line, 7, f));
    printf(" %d\n", (int)fread(line, 1, 0, f));
    fclose(f);

    f = tmpfile();
    for (i = 0; i < 3; i++) {
        entries[i].number = 1000000 * i - 7;
        entries[i].tag = (char)('a' + i);
        entries[i].value = i / 3.0;
    }
    n = (int)fwrite(entries, sizeof entries[0], 3, f);
    fseek(f, (long)sizeof entries[0], SEEK_SET);
    n += 10 * (int)fread(&back, sizeof back, 1, f);
    printf("%d %d %c %.3f", n, back.number, back.tag, back.value);
    n = (int)fread(entries, sizeof entries[0], 5, f);
    printf(" %d %d %d\n", n, feof(f) != 0, ferror(f));
    clearerr(f);
    printf("%d ", feof(f));
    printf("%d\n", fclose(f));
    errno = 0;
    f = fopen("no/such/folder/file", "r");
    got = strerror(EDOM);
    printf("%d %d %d\n", f == NULL, errno != 0, strlen(got) > 0);

    scanning("2.5in 1e3x", "%f%s%f%s");
    scanning("-.5e-2inf 3 infinitesimal", "%f%[^ ] %f %s");
    scanning("0x1.8p1z 7", "%f%1s%f%s");
    scanning("nanny", "%f%s%f%s");
    n = sscanf("077 08 0x1F", "%i %i%*c %i", &i, &c, &back.number);
    printf("%d %d %d\n", n, i, c);
    n = sscanf("key = value # note", "%9[a-z] = %9s", line, line + 10);
    printf("%d %s %s %d\n", n, line, line + 10, sscanf("", "%d", &i));
    return 0;
}
