/* The string library: copying, concatenation, comparison, searching, spans, tokens, memory blocks with their
 * edge cases. */
#include <stdio.h>
#include <string.h>

static int sign(int v) { return (v > 0) - (v < 0); }

static int offset(const char* base, const char* p) { return p ? (int)(p - base) : -1; }

static void copying(void) {
    char a[20], b[20];
    memset(a, '#', sizeof a);
    strncpy(a, "abc", 6);
    printf("strncpy pads: %d%d%d%d\n", a[2] == 'c', a[3] == 0, a[5] == 0, a[6] == '#');
    memset(a, '#', sizeof a);
    strncpy(a, "abcdefgh", 4);
    printf("strncpy cuts: %d%d\n", a[3] == 'd', a[4] == '#');
    strcpy(b, "start");
    strcat(b, "-");
    strncat(b, "middle", 3);
    strncat(b, "xy", 9);
    printf("%s %d\n", b, (int)strlen(b));
    memmove(b + 2, b, 9);
    b[11] = 0;
    printf("%s\n", b);
    strcpy(b, "0123456789");
    memmove(b, b + 3, 8);
    printf("%s\n", b);
}

static void comparing(void) {
    printf("strcmp %d %d %d %d\n", sign(strcmp("a", "b")), sign(strcmp("abc", "abc")), sign(strcmp("abcd", "abc")),
           sign(strcmp("", "")));
    printf("strncmp %d %d %d %d\n", sign(strncmp("abcx", "abcy", 3)), sign(strncmp("abcx", "abcy", 4)),
           sign(strncmp("ab", "abc", 9)), sign(strncmp("x", "y", 0)));
    char p[4] = {1, 0, 3, 4}, q[4] = {1, 0, 3, 5};
    printf("memcmp %d %d %d\n", sign(memcmp(p, q, 3)), sign(memcmp(p, q, 4)), sign(memcmp(q, p, 4)));
}

static void searching(void) {
    const char* s = "to be or not to be";
    printf("strchr %d %d %d\n", offset(s, strchr(s, 'o')), offset(s, strchr(s, 'z')), offset(s, strchr(s, 0)));
    printf("strrchr %d %d %d\n", offset(s, strrchr(s, 'o')), offset(s, strrchr(s, 'n')), offset(s, strrchr(s, 'q')));
    printf("strstr %d %d %d %d\n", offset(s, strstr(s, "be")), offset(s, strstr(s, "not to")), offset(s, strstr(s, "")),
           offset(s, strstr(s, "to be?")));
    printf("strspn %d %d\n", (int)strspn(s, "bot "), (int)strspn(s, "xyz"));
    printf("strcspn %d %d\n", (int)strcspn(s, "nr"), (int)strcspn(s, "#"));
    printf("strpbrk %d %d\n", offset(s, strpbrk(s, "rn")), offset(s, strpbrk(s, "XYZ")));
    char block[6] = {5, 4, 3, 2, 1, 0};
    char* hit = memchr(block, 2, 6);
    printf("memchr %d %d %d\n", offset(block, hit), memchr(block, 9, 6) == NULL, memchr(block, 1, 4) == NULL);
}

static int split(char* line, const char* separators, char** fields, int limit) {
    int n = 0;
    char* p = line;
    while (n < limit) {
        p += strspn(p, separators);
        if (!*p) break;
        fields[n++] = p;
        p += strcspn(p, separators);
        if (*p) *p++ = '\0';
    }
    return n;
}

static int is_rotation(const char* a, const char* b) {
    char twice[64];
    if (strlen(a) != strlen(b)) return 0;
    strcpy(twice, a);
    strcat(twice, a);
    return strstr(twice, b) != NULL;
}

int main(void) {
    copying();
    comparing();
    searching();
    char line[] = "  name = value ; other=thing;; last ";
    char* fields[8];
    int n = split(line, " =;", fields, 8);
    for (int i = 0; i < n; i++) printf("<%s>", fields[i]);
    printf(" %d\n", n);
    printf("rotation %d %d %d\n", is_rotation("waterbottle", "erbottlewat"), is_rotation("abc", "acb"),
           is_rotation("ab", "abc"));
    int numbers[5] = {1, 2, 3, 4, 5}, other[5];
    memcpy(other, numbers, sizeof other);
    memmove(numbers + 1, numbers, 4 * sizeof numbers[0]);
    for (int i = 0; i < 5; i++) printf("%d%d ", numbers[i], other[i]);
    memset(other, 0, sizeof other);
    printf("| %d\n", other[0] + other[4]);
    char empty[1] = "";
    printf("empty %d %d %s.\n", (int)strlen(empty), strcmp(empty, ""), strcpy(empty, ""));
    return 0;
}
