/* argc and argv: options with and without values, numbers, flags in groups, the end of options, sums over the rest. */
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct settings {
    bool verbose, reverse;
    int repeat;
    const char* name;
    char separator;
    int errors;
};

static const char* value_of(int argc, char** argv, int* i, const char* attached) {
    if (*attached) return attached;
    if (*i + 1 < argc) return argv[++*i];
    return NULL;
}

static int parse(int argc, char** argv, struct settings* s) {
    int i = 1;
    for (; i < argc; i++) {
        const char* a = argv[i];
        if (a[0] != '-' || a[1] == '\0') break;
        if (strcmp(a, "--") == 0) {
            i++;
            break;
        }
        if (strncmp(a, "--name=", 7) == 0) {
            s->name = a + 7;
            continue;
        }
        if (a[1] == '-') {
            printf("unknown option %s\n", a);
            s->errors++;
            continue;
        }
        for (const char* c = a + 1; *c; c++) {
            const char* v;
            switch (*c) {
            case 'v': s->verbose = true; continue;
            case 'r': s->reverse = !s->reverse; continue;
            case 'n':
                v = value_of(argc, argv, &i, c + 1);
                s->repeat = v ? atoi(v) : -1;
                break;
            case 's':
                v = value_of(argc, argv, &i, c + 1);
                s->separator = v ? v[0] : '?';
                break;
            default:
                printf("unknown flag %c\n", *c);
                s->errors++;
                continue;
            }
            break;
        }
    }
    return i;
}

static void print_reversed(const char* s) {
    for (int k = (int)strlen(s); k-- > 0;) putchar(s[k]);
}

int main(int argc, char* argv[]) {
    struct settings s = {.repeat = 1, .name = "nobody", .separator = ','};
    int first = parse(argc, argv, &s);
    printf("verbose %d, reverse %d, repeat %d, name %s, separator %c, errors %d\n", s.verbose, s.reverse, s.repeat,
           s.name, s.separator, s.errors);
    int numbers = 0;
    long long sum = 0;
    for (int round = 0; round < s.repeat; round++) {
        for (int i = first; i < argc; i++) {
            char* end;
            int v = (int)strtol(argv[i], &end, 10);
            if (*end == '\0' && end != argv[i]) {
                numbers++;
                sum += v;
            }
            if (s.reverse)
                print_reversed(argv[i]);
            else
                printf("%s", argv[i]);
            putchar(i + 1 < argc ? s.separator : '\n');
        }
    }
    printf("%d words, %d numbers, sum %lld\n", argc - first, numbers, sum);
    printf("ends with null %d\n", argv[argc] == NULL);
    return s.errors;
}
